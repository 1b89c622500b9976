// What loading the library does: it reads two settings from the environment, once.
#include <gtest/gtest.h>

#include <cstdlib>

#include "keldb/library/startup_settings.h"
#include "keldb/library/version.h"
#include "keldb/support/settings.h"
#include "tests/testing/child.h"

namespace {

// The two settings as the process was started, in one text; the program below starts this very test again.
TEST(StartupSettings, AreReadAtLoad) {
    const char* const expected = std::getenv("KELDB_TEST_EXPECTED");
    EXPECT_EQ(std::to_string(kel::dbv_reel_field_editable) + ' ' + std::to_string(kel::remove_fieldname_ampersands),
              expected ? expected : "1 1");
}

// 0 when a new process, with both variables set so (null: not set), finds these settings; 1 when it finds others.
int started_with(const char* reel, const char* ampersands, const char* expected) {
    return testing_kit::in_child([&] {
        ::unsetenv("KELDB_DBV_REEL_FIELD_EDITABLE");
        ::unsetenv("KELDB_REMOVE_FIELDNAME_AMPERSANDS");
        if (reel) ::setenv("KELDB_DBV_REEL_FIELD_EDITABLE", reel, 1);
        if (ampersands) ::setenv("KELDB_REMOVE_FIELDNAME_AMPERSANDS", ampersands, 1);
        ::setenv("KELDB_TEST_EXPECTED", expected, 1);
        ::close(STDOUT_FILENO);
        ::execl("/proc/self/exe", "keldb", "--gtest_filter=StartupSettings.AreReadAtLoad", nullptr);
        return 255;
    });
}

TEST(StartupSettings, ComeFromTheEnvironment) {
    EXPECT_EQ(started_with(nullptr, nullptr, "1 1"), 0);
    EXPECT_EQ(started_with("0", "-1", "0 -1"), 0);
    EXPECT_EQ(started_with("junk", "", "1 1"), 0);
    EXPECT_EQ(started_with(" 7 of 9", "99999999999", "7 2147483647"), 0);
    EXPECT_EQ(started_with("-99999999999", "0", "-2147483648 0"), 0);
    EXPECT_EQ(started_with("0", "0", "1 1"), 1);  // so that the zeros above mean something
}

TEST(Version, IsOneStaticTextOfFourNumbers) {
    int parts[4] = {-1, -1, -1, -1};
    char rest = '#';
    EXPECT_EQ(std::sscanf(keldbDllVersionStr(), "%d.%d.%d.%d%c", &parts[0], &parts[1], &parts[2], &parts[3], &rest), 4);
    EXPECT_EQ(keldbDllVersionStr(), keldbDllVersionStr());
}

}  // namespace
