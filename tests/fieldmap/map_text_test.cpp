// The numbers that any stored text of a field map stands for.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "keldb/fieldmap/map_text.h"
#include "tests/testing/texts.h"

namespace {

using namespace std::string_view_literals;

std::string joined(const std::vector<int>& numbers) {
    std::string text;
    for (const int number : numbers) text += (text.empty() ? "" : " ") + std::to_string(number);
    return text;
}

struct Reading {
    std::string_view text;
    const char* numbers;
};

const Reading kReadings[] = {
    {"3 -1 2", "3 -1 2"},
    {"0 1", "1"},
    {"-0 1 00 2", "1 2"},
    // Three characters at most make a number; all digits and '-' behind it are passed over.
    {"999 1000", "999 100"},
    {"1234 5", "123 5"},
    {"-99 -100 -1234", "-99 -10 -12"},
    {"99999999999999999999 2", "999 2"},
    {"3- 1", "3 1"},
    {"00-5 2", "2"},
    // White space in front of a number counts among its three characters, and only one blank is passed over: the number
    // behind is then read again.
    {" 1", "1 1"},
    {"1   2", "1 2 2 2"},
    // A sign '+' and white space other than a blank are read as part of a number and never passed over.
    {"1 +2 3", "1 2"},
    {"\t7 1", "7"},
    {"\n-7 1", "-7"},
    {"1 \v\f2 3", "1 2"},
    // No number.
    {",1", ""},
    {"--1", ""},
    {"1,2", "1"},
    {"1 \xA0 2", "1"},
    {"1 \0 2"sv, "1"},
};

TEST(MapText, ReadsAsFarAsNumbersStand) {
    for (const Reading& reading : kReadings) {
        const auto exact = testing_kit::exact_copy(reading.text);
        EXPECT_EQ(joined(kel::read_map({exact.get(), reading.text.size()})), reading.numbers) << '"' << reading.text;
    }
}

TEST(MapText, ReadsLongTextsToTheirEnd) {
    constexpr std::size_t kTokens = 500'000;
    std::string text;
    for (std::size_t i = 0; i < kTokens; ++i) text += "-7 ";
    EXPECT_EQ(kel::read_map(text), std::vector<int>(kTokens, -7));
    EXPECT_EQ(joined(kel::read_map(std::string(1'000'000, '8') + " 2")), "888 2");
    EXPECT_EQ(joined(kel::read_map(std::string(1'000'000, ' ') + "2")), "");
}

// The same reading by scanf itself, character position by character position.
std::vector<int> read_slowly(const std::string& text) {
    std::vector<int> numbers;
    std::size_t p = 0;
    int number = 0;
    while (p < text.size() && std::sscanf(text.substr(p, 3).c_str(), "%d", &number) == 1) {
        if (number != 0) numbers.push_back(number);
        const std::size_t before = p;
        while (p < text.size() && "0123456789-"sv.find(text[p]) != std::string_view::npos) ++p;
        if (p < text.size() && text[p] == ' ') ++p;
        if (p == before) break;
    }
    return numbers;
}

TEST(MapText, ReadsEveryShortTextAsScanfDoes) {
    std::size_t texts = 0;
    const auto compare = [&](const std::string& text) {
        ++texts;
        ASSERT_EQ(kel::read_map(text), read_slowly(text)) << '"' << text << '"';
    };
    for (std::size_t length = 0; length <= 6; ++length) testing_kit::every_text("012-+ ,x", length, compare);
    for (std::size_t length = 0; length <= 5; ++length) testing_kit::every_text("9- \t\n\v\f\r", length, compare);
    EXPECT_EQ(texts, 299593U + 37449U);
}

}  // namespace
