// A String behaves as the text it holds, however it is shared and wherever an argument lies; any bytes can be a file
// name.
#include "keldb/support/string.h"

#include <thread>

#include "keldb/support/paths.h"
#include "keldb/support/platform.h"
#include "tests/testing/allocation_faults.h"
#include "tests/testing/kit.h"

namespace {

using namespace std::string_literals;

// Every text has a twin in std::string; after each step both must say the same.
TEST(String, IsTheTextItHolds) {
    Random random(1);
    constexpr std::size_t kTexts = 6;
    std::vector<String> texts(kTexts);
    std::vector<std::string> twins(kTexts);
    std::size_t a = 0, b = 0, from = 0, length = 0;
    const char* const null = nullptr;
    const std::function<void()> kSteps[] = {
        [&] { twins[a] = random.of(odd_texts()), texts[a] = String(std::string_view(twins[a])); },
        [&] { texts[a] = texts[b], twins[a] = std::string(twins[b]); },
        [&] { texts[a].swap(texts[b]), twins[a].swap(twins[b]); },
        [&] { texts[a] = String(texts[b]) + texts[a].view(), twins[a] = twins[b] + twins[a]; },
        [&] { texts[a] += texts[b].view().substr(from, length), twins[a] += std::string(twins[b], from, length); },
        [&] { texts[a] += 'x', twins[a] += 'x', texts[a] += null; },
        [&] { texts[a] += INT_MIN, texts[a] += UINT_MAX, twins[a] += "-21474836484294967295"; },
        [&] { texts[a] = texts[b].c_str(), twins[a] = twins[b].substr(0, twins[b].find('\0')); },
        [&] { texts[a] = null, twins[a].clear(); },
    };
    for (int step = 0; step < 200'000; ++step) {
        a = random.below(kTexts), b = random.below(kTexts);
        from = random.below(twins[b].size() + 1), length = random.below(twins[b].size() - from + 1);
        const std::size_t kind = twins[a].size() > 5'000 ? 8 : random.below(std::size(kSteps));
        kSteps[kind]();
        ASSERT_TRUE(texts[a].view() == twins[a] && texts[b].view() == twins[b]) << "step of kind " << kind;
        ASSERT_EQ(texts[a].c_str()[twins[a].size()], 0);
        ASSERT_EQ(texts[a] == texts[b], twins[a] == twins[b]);
        ASSERT_EQ(texts[a] < texts[b], twins[a] < twins[b]);
        ASSERT_EQ(texts[a] == null, twins[a].empty());
    }
}

TEST(String, SharesItsTextBetweenThreads) {
    const long blocks = live_blocks();
    {
        const String text(std::string(100, 's').c_str());
        const auto copy = [text] {
            for (int i = 0; i < 1'000'000; ++i) ASSERT_EQ(String(text).c_str(), text.c_str());
        };
        std::thread other(copy);
        copy();
        other.join();
    }
    EXPECT_EQ(live_blocks(), blocks);  // the count came out even
}

TEST(FileNames, AnyBytesComeBack) {
    // Bytes at the edges of the well-formed ranges.
    every_text("a\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xFF", 4,
               [](const std::string& bytes) { ASSERT_EQ(toUTF8(wide(bytes)).view(), bytes); });
}

TEST(FileNames, CodePoints) {
    const std::pair<std::string, std::wstring> kCases[] = {
        {"a\0b"s, L"a\0b"s},
        {"\xC2\xA0\xDF\xBF", L"\u00A0\u07FF"},
        {"\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF", L"\u0800\u20AC\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0010FFFF"},
        {"\xC0\x80", L"\xDCC0\xDC80"},                      // an overlong zero
        {"\xED\xB2\x80", L"\xDCED\xDCB2\xDC80"},            // a surrogate as UTF-8
        {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80"},  // beyond the last code point
        {"\xE2\x82", L"\xDCE2\xDC82"},                      // cut short
        {"caf\xE9.rak", L"caf\xDCE9.rak"},                  // Latin-1
    };
    for (const auto& [bytes, text] : kCases) EXPECT_EQ(wide(bytes).text(), text) << bytes;
    EXPECT_EQ(toUTF8(WString(std::wstring(1, static_cast<wchar_t>(0x7FFFFFFF)))), "\xEF\xBF\xBD");
}

TEST(FileNames, ReachTheSystemUnchanged) {
    const TempDir folder;
    const std::string bytes = folder.path("caf\xE9 \xC3\xA9");
    const WString name = wide(bytes), old = wide(folder.path("old"));
    write_file(bytes, "x");
    write_file(folder.path("old"), "old");
    EXPECT_TRUE(fileExists(name) && OS().move(name, old, 0));  // replaces
    EXPECT_EQ(file_bytes(folder.path("old")), "x");
    EXPECT_FALSE(fileExists(name) || OS().move(name, old, 0) || OS().remove(name));
    // A zero byte in a name must not make it another name.
    const WString cut = wide(folder.path("old\0.tmp"s));
    EXPECT_FALSE(fileExists(cut) || OS().remove(cut) || OS().move(cut, name, 0) || OS().move(old, cut, 0));
    EXPECT_TRUE(OS().remove(old) && !fileExists(old));
}

}  // namespace
