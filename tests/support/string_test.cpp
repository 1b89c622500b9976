// A String behaves as the text it holds, whatever its length, however it is shared and wherever an argument lies.

#include "keldb/support/string.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "keldb/support/conversions.h"
#include "tests/testing/allocation_faults.h"

namespace {

using testing_kit::live_blocks;
using testing_kit::sweep_allocations;

// Lengths around the 15 bytes that lie inline, zero and high bytes among them.
std::string some_text(std::mt19937& random) {
    constexpr std::size_t kLengths[] = {0, 1, 7, 14, 15, 16, 17, 40, 200};
    std::string text(kLengths[random() % std::size(kLengths)], ' ');
    for (char& c : text) {
        c = "aZ0 \0\x80\xFF"[random() % 7];
    }
    return text;
}

// Every text has a twin in std::string; after each step both must say the same.
TEST(String, IsTheTextItHolds) {
    const long blocks = live_blocks();
    {
        std::mt19937 random(1);
        constexpr std::size_t kTexts = 6;
        std::vector<String> texts(kTexts);
        std::vector<std::string> twins(kTexts);
        for (int step = 0; step < 200'000; ++step) {
            const std::size_t a = random() % kTexts;
            const std::size_t b = random() % kTexts;
            const std::size_t from = random() % (twins[b].size() + 1);
            const std::size_t length = random() % (twins[b].size() - from + 1);
            const int operation = static_cast<int>(random() % 8);
            switch (operation) {
            case 0:
                twins[a] = some_text(random), texts[a] = String(std::string_view(twins[a]));
                break;
            case 1:
                texts[a] = texts[b], twins[a] = std::string(twins[b]);
                break;
            case 2:
                texts[a].swap(texts[b]), twins[a].swap(twins[b]);
                break;
            case 3:
                texts[a] = String(texts[b]) + texts[a].view(), twins[a] = twins[b] + twins[a];
                break;
            case 4:
                texts[a] += texts[b].view().substr(from, length), twins[a] += std::string(twins[b], from, length);
                break;
            case 5:
                texts[a] += 'x', twins[a] += 'x';
                break;
            case 6:
                texts[a] += step, texts[a] += 4294967295U, twins[a] += std::to_string(step) + "4294967295";
                break;
            case 7:
                texts[a] = texts[b].c_str(), twins[a] = twins[b].substr(0, twins[b].find('\0'));
                break;
            }
            if (twins[a].size() > 5'000) {
                texts[a] = String(), twins[a].clear();
            }
            ASSERT_EQ(texts[a].view(), twins[a]) << "operation " << operation;
            ASSERT_EQ(texts[b].view(), twins[b]) << "operation " << operation;
            ASSERT_EQ(texts[a].c_str()[twins[a].size()], 0);
            ASSERT_EQ(texts[a] == texts[b], twins[a] == twins[b]);
            ASSERT_EQ(texts[a] < texts[b], twins[a] < twins[b]);
        }
    }
    EXPECT_EQ(live_blocks(), blocks);
}

TEST(String, NullReadsAsEmpty) {
    String text(nullptr);
    text += nullptr;
    EXPECT_TRUE(text.empty());
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_TRUE(text == static_cast<const char*>(nullptr));
}

TEST(String, CopiesOfALongTextAreOneBlock) {
    const long blocks = live_blocks();
    const String text(std::string(1'000, 'x').c_str());
    const std::vector<String> copies(50, text);
    EXPECT_LE(live_blocks() - blocks, 2);  // the text and the vector
    EXPECT_EQ(copies.back().c_str(), text.c_str());
}

TEST(String, GrowsInLinearTime) {
    String text;
    int moves = 0;
    for (int i = 0; i < 100'000; ++i) {
        const char* before = text.c_str();
        text += 'x';
        moves += text.c_str() != before;
    }
    EXPECT_LT(moves, 40);
}

TEST(String, ThreadsMayShareAText) {
    const long blocks = live_blocks();
    {
        const String text(std::string(100, 's').c_str());
        std::atomic<int> ready{0};
        const auto copy = [&ready, text] {
            for (++ready; ready < 2;) {
            }
            for (int i = 0; i < 300'000; ++i) {
                const String mine(text);
                ASSERT_EQ(mine.size(), 100U);
            }
        };
        std::thread other(copy);
        copy();
        other.join();
        String sole(text);
        sole += 'x';
        EXPECT_EQ(text.size(), 100U);
    }
    EXPECT_EQ(live_blocks(), blocks);
}

TEST(String, FailedGrowthLeavesTheText) {
    const std::string forty(40, 'x');
    String text(forty.c_str());
    const auto unchanged = [&] { return text == forty.c_str() || text == (forty + forty).c_str() ? "" : "changed"; };
    EXPECT_EQ(sweep_allocations([&] { text = String(forty.c_str()), text += text; }, unchanged), "");
}

TEST(Conversions, UnsignedNumbers) {
    constexpr unsigned kFallback = 7;
    const struct {
        const char* text;
        unsigned value;
    } kCases[] = {
        {"0", 0},          {"4294967295", 4294967295U},
        {"4294967296", 7}, {" 12\t\r\n", 12},
        {"", 7},           {" ", 7},
        {"-1", 7},         {"+1", 7},
        {"1 2", 7},        {"12x", 7},
        {"0x10", 7},       {"\x80", 7},
        {"000012", 12},    {"99999999999999999999", 7},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(UIntFromString(c.text, kFallback), c.value) << c.text;
    }
    EXPECT_EQ(StringFromInteger(-2147483647 - 1), "-2147483648");
}

TEST(Conversions, Booleans) {
    const struct {
        const char* text;
        int value;  // -1 for neither
    } kCases[] = {{"true", 1}, {"T", 1}, {"Yes", 1}, {"y", 1},  {"1", 1},   {"FALSE", 0},  {"f", 0},    {"no", 0},
                  {"N", 0},    {"0", 0}, {"", -1},   {"2", -1}, {"on", -1}, {"true ", -1}, {"\xD9", -1}};
    for (const auto& c : kCases) {
        for (const bool before : {false, true}) {
            bool value = before;
            EXPECT_EQ(BoolFromString(c.text, value), c.value >= 0) << c.text;
            EXPECT_EQ(value, c.value >= 0 ? c.value == 1 : before) << c.text;
        }
    }
    EXPECT_EQ(BoolAsString(true), "true");
    EXPECT_EQ(BoolAsString(false), "false");
}

TEST(Conversions, VisibleCharactersAndCase) {
    EXPECT_TRUE(isEssentiallyEmpty(""));
    EXPECT_TRUE(isEssentiallyEmpty(std::string_view(" \t\r\n\v\f\0\x1F\x7F", 9)));
    EXPECT_FALSE(isEssentiallyEmpty("  . "));
    EXPECT_FALSE(isEssentiallyEmpty("\xA0"));
    String text("\xC4 MiXed [Case] of more than fifteen");
    const String shared(text);
    toLower(text);
    EXPECT_EQ(text, "\xC4 mixed [case] of more than fifteen");
    EXPECT_EQ(shared, "\xC4 MiXed [Case] of more than fifteen");
}

}  // namespace
