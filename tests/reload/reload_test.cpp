// The library goes with the last that uses it, and the next load reads the environment anew.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(StartupSettings, AreReadAgainAtTheNextLoad) {
    for (const char* setting : {"0", "1", "0"}) {
        ::setenv("KELDB_REMOVE_FIELDNAME_AMPERSANDS", setting, 1);
        void* const plugin = ::dlopen(KELDB_TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL);
        ASSERT_TRUE(plugin) << ::dlerror();
        using Answer = bool (*)();
        const auto removes_ampersands = reinterpret_cast<Answer>(::dlsym(plugin, "removes_ampersands"));
        EXPECT_EQ(removes_ampersands && removes_ampersands(), *setting == '1');
        EXPECT_EQ(::dlclose(plugin), 0);
    }
}

}  // namespace
