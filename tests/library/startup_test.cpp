// What loading the library does: it reads two settings from the environment, once.
#include <gmock/gmock.h>

#include "keldb/library/version.h"
#include "tests/testing/kit.h"

namespace {

// The program starts itself with other settings, to run this test alone.
TEST(StartupSettings, ComeFromTheEnvironment) {
    const char* const expected = std::getenv("KELDB_TEST_EXPECTED");
    EXPECT_EQ(std::to_string(kel::dbv_reel_field_editable) + ' ' + std::to_string(kel::remove_fieldname_ampersands),
              expected ? expected : "1 1");
    if (expected) return;
    const struct {
        const char *reel, *ampersands, *settings;
        int status;  // 1 so that the zeros mean something
    } kStarts[] = {
        {"0", "", "0 1", 0}, {"99999999999", "-99999999999", "2147483647 -2147483648", 0}, {"0", "0", "1 1", 1}};
    for (const auto& start : kStarts) {
        const int status = in_child([&] {
            ::setenv("KELDB_DBV_REEL_FIELD_EDITABLE", start.reel, 1);
            ::setenv("KELDB_REMOVE_FIELDNAME_AMPERSANDS", start.ampersands, 1);
            ::setenv("KELDB_TEST_EXPECTED", start.settings, 1);
            ::close(STDOUT_FILENO);
            return ::execl("/proc/self/exe", "keldb", "--gtest_filter=StartupSettings.*", nullptr);
        });
        EXPECT_EQ(status, start.status) << start.settings;
    }
}

TEST(Version, IsFourNumbers) {
    EXPECT_THAT(keldbDllVersionStr(), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+"));
}

}  // namespace
