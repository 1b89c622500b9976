// What loading the library does: it reads two settings from the environment, once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "keldb/library/startup_settings.h"
#include "keldb/library/version.h"
#include "tests/testing/child.h"

namespace {

// The two settings as the process was started, in one text; the program below starts this very test again.
TEST(StartupSettings, AreReadAtLoad) {
    const char* const expected = std::getenv("KELDB_TEST_EXPECTED");
    EXPECT_EQ(std::to_string(kel::dbv_reel_field_editable) + ' ' + std::to_string(kel::remove_fieldname_ampersands),
              expected ? expected : "1 1");
}

// 0 when a new process, started with these variables, finds these settings; 1 when it finds others.
int started_with(const char* reel, const char* ampersands, const char* expected) {
    return testing_kit::in_child([&] {
        ::setenv("KELDB_DBV_REEL_FIELD_EDITABLE", reel, 1);
        ::setenv("KELDB_REMOVE_FIELDNAME_AMPERSANDS", ampersands, 1);
        ::setenv("KELDB_TEST_EXPECTED", expected, 1);
        ::close(STDOUT_FILENO);
        return ::execl("/proc/self/exe", "keldb", "--gtest_filter=StartupSettings.AreReadAtLoad", nullptr);
    });
}

TEST(StartupSettings, ComeFromTheEnvironment) {
    EXPECT_EQ(started_with("0", "", "0 1"), 0);
    EXPECT_EQ(started_with("99999999999", "-99999999999", "2147483647 -2147483648"), 0);
    EXPECT_EQ(started_with("0", "0", "1 1"), 1);  // so that the zeros above mean something
}

TEST(Version, IsFourNumbers) {
    EXPECT_THAT(keldbDllVersionStr(), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+"));
}

}  // namespace
