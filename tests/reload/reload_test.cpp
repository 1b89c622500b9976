// What loading the library does: it reads two settings from the environment. It goes with the last that uses it, and
// the next load reads them anew.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(StartupSettings, AreReadAtEachLoad) {
    const struct {
        const char *reel, *ampersands;
        int settings;
    } kLoads[] = {{"x", "", 11}, {"0", "-1", 1}, {"99999999999", "0", 10}, {"0", "0", 0}, {"1", "1", 11}};
    for (const auto& load : kLoads) {
        ::setenv("KELDB_DBV_REEL_FIELD_EDITABLE", load.reel, 1);
        ::setenv("KELDB_REMOVE_FIELDNAME_AMPERSANDS", load.ampersands, 1);
        void* const plugin = ::dlopen(KELDB_TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL);
        ASSERT_TRUE(plugin) << ::dlerror();
        using Settings = int (*)();
        const auto settings = reinterpret_cast<Settings>(::dlsym(plugin, "settings"));
        EXPECT_EQ(settings ? settings() : -1, load.settings) << load.reel << ", " << load.ampersands;
        EXPECT_EQ(::dlclose(plugin), 0);
    }
}

}  // namespace
