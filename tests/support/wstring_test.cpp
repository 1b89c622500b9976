// Any bytes can be a file name, and come back from a WString as they were.

#include "keldb/support/wstring.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <random>
#include <string>

#include "keldb/support/paths.h"
#include "keldb/support/platform.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/texts.h"

namespace {

using namespace std::string_literals;

std::string there_and_back(const std::string& bytes) {
    return std::string(toUTF8(fromUTF8(String(std::string_view(bytes)))).view());
}

TEST(FileNames, AnyBytesComeBack) {
    std::string alphabet(256, ' ');
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        alphabet[i] = static_cast<char>(i);
    }
    const auto comes_back = [](const std::string& bytes) { ASSERT_EQ(there_and_back(bytes), bytes); };
    testing_kit::every_text(alphabet, 1, comes_back);
    testing_kit::every_text(alphabet, 2, comes_back);
    // Bytes at the edges of the well-formed ranges.
    testing_kit::every_text("a\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xFF", 4, comes_back);
}

TEST(FileNames, CodePoints) {
    const struct {
        std::string bytes;
        std::wstring wide;
    } kCases[] = {
        {"", L""},
        {"a\0b"s, L"a\0b"s},
        {"\xC3\xA9", L"\u00E9"},
        {"\xE2\x82\xAC", L"\u20AC"},
        {"\xF0\x9F\x8E\xAC", L"\U0001F3AC"},
        {"\xF4\x8F\xBF\xBF", std::wstring(1, static_cast<wchar_t>(0x10FFFF))},
        {"\xC0\x80", L"\xDCC0\xDC80"},                      // an overlong zero
        {"\xE0\x80\x80", L"\xDCE0\xDC80\xDC80"},            // another
        {"\xED\xB2\x80", L"\xDCED\xDCB2\xDC80"},            // a surrogate as UTF-8
        {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80"},  // beyond the last code point
        {"\xE2\x82", L"\xDCE2\xDC82"},                      // cut short
        {"caf\xE9.rak", L"caf\xDCE9.rak"},                  // Latin-1
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(fromUTF8(String(std::string_view(c.bytes))).text(), c.wide) << c.bytes;
    }
    EXPECT_EQ(toUTF8(WString(std::wstring(1, static_cast<wchar_t>(0x7FFFFFFF)))), "\xEF\xBF\xBD");
    EXPECT_TRUE(WStringFromAscii(nullptr).empty());
    EXPECT_TRUE(WString(L"a.RAK").endsWith(L".RAK"));
    EXPECT_FALSE(WString(L"a.rak").endsWith(L".RAK"));
    EXPECT_FALSE(WString(L"rak").endsWith(L".rak"));
}

TEST(FileNames, BaseNames) {
    const struct {
        const wchar_t* path;
        const wchar_t* base;
    } kCases[] = {{L"", L""},
                  {L"Clips.rak", L"Clips"},
                  {L"/a.b/Clips.v2.rak", L"Clips.v2"},
                  {L"a/.hidden", L".hidden"},
                  {L"a/.hidden.rak", L".hidden"},
                  {L"a.b/c", L"c"},
                  {L"a/", L""},
                  {L"Clips.", L"Clips"}};
    for (const auto& c : kCases) {
        EXPECT_EQ(stripPathAndExt(c.path).text(), c.base) << toUTF8(c.path).c_str();
    }
}

TEST(FileNames, ReachTheSystemUnchanged) {
    const testing_kit::TempDir folder;
    const std::string name = folder.path("caf\xE9 \xC3\xA9");
    const WString wide = testing_kit::wide(name);
    EXPECT_FALSE(fileExists(wide));
    testing_kit::write_file(name, "x");
    EXPECT_TRUE(fileExists(wide));
    EXPECT_TRUE(fileExists(testing_kit::wide(folder.path())));
    EXPECT_FALSE(fileExists(L""));

    testing_kit::write_file(folder.path("old"), "old");
    EXPECT_TRUE(OS().move(wide, testing_kit::wide(folder.path("old")), 0));  // replaces
    EXPECT_EQ(testing_kit::file_bytes(folder.path("old")), "x");
    EXPECT_FALSE(OS().move(wide, testing_kit::wide(folder.path("new")), 0));
    EXPECT_FALSE(OS().remove(wide));

    // A zero byte in a name must not make it another name.
    const WString cut = testing_kit::wide(folder.path("old\0.tmp"s));
    EXPECT_FALSE(fileExists(cut));
    EXPECT_FALSE(OS().remove(cut));
    EXPECT_FALSE(OS().move(cut, wide, 0));
    EXPECT_TRUE(OS().remove(testing_kit::wide(folder.path("old"))));
    EXPECT_TRUE(testing_kit::names_in(folder.path()).empty());

    ASSERT_EQ(::symlink("nowhere", folder.path("dangling").c_str()), 0);
    EXPECT_FALSE(fileExists(testing_kit::wide(folder.path("dangling"))));
}

}  // namespace
