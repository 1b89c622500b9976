// Splitting a line of a table file into values.

#include "keldb/textfile/line_splitter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keldb/support/ascii.h"
#include "tests/testing/texts.h"

namespace {

using Values = std::vector<std::string>;
using testing_kit::exact_copy;

// The rules one character at a time, with no short cut.
Values naive_split(const std::string& line) {
    Values values;
    const auto at = [&line](std::size_t i) { return i < line.size() ? line[i] : '\0'; };
    for (std::size_t i = 0; i < line.size();) {
        if (kel::is_control(line[i])) {
            ++i;
            continue;
        }
        bool quoted = line[i] == '"';
        if (quoted) ++i;
        while (i < line.size() && kel::is_space(line[i])) ++i;
        std::string value;
        for (; i < line.size(); ++i) {
            const bool pair = line[i] == '"' && at(i + 1) == '"', escape = line[i] == '\\' && at(i + 1) == 'n';
            if (line[i] == '"' && !pair) {
                quoted = false;
                continue;
            }
            if ((line[i] == ',' && !quoted) || value.size() == 4095) break;
            value += escape ? '\n' : line[i];
            if (pair || escape) ++i;
        }
        while (!value.empty() && kel::is_space(value.back())) value.pop_back();
        values.push_back(value);
        if (i < line.size()) ++i;
    }
    return values;
}

Values split(const std::string& line, kel::ValueBuilder& values) {
    const auto bytes = exact_copy(line);
    kel::split_line({bytes.get(), line.size()}, values);
    Values found;
    for (std::size_t i = 0; i < values.size(); ++i) found.emplace_back(values.text(i));
    return found;
}

TEST(LineSplitter, AgreesWithTheNaiveRulesOnEveryShortLine) {
    kel::ValueBuilder values;
    for (std::size_t length = 0; length <= 7; ++length) {
        testing_kit::every_text("\"\\n, a\t", length, [&](const std::string& line) {
            ASSERT_EQ(split(line, values), naive_split(line)) << '[' << line << ']';
        });
    }
}

// Short pieces around the width of what the splitter looks at in one step, and values around the longest.
TEST(LineSplitter, AgreesWithTheNaiveRulesAcrossLengths) {
    kel::ValueBuilder values;
    for (const char* care : {"", "\"\"", "\"", "\\n", "\\", ",", " ", "\n", "\x80"}) {
        for (const std::size_t length : {0U, 5U, 6U, 7U, 8U, 9U, 15U, 16U, 17U, 4093U, 4094U, 4095U, 4096U, 4097U}) {
            for (const std::size_t place : {std::size_t{0}, length / 2, length}) {
                std::string text(length, 'x');
                text.insert(place, care);
                for (const std::string& line : {'"' + text + "\",\"b\"", '"' + text + '"', text + ",b", '"' + text}) {
                    ASSERT_EQ(split(line, values), naive_split(line)) << care << ' ' << length << ' ' << place;
                }
            }
        }
    }
}

struct Case {
    const char* line;
    Values values;
    const char* odd;  // the first letter of each oddity met, in order of their enumeration
};

const Case kCases[] = {
    {R"("Reel ""7""","10:00:00:00")", {"Reel \"7\"", "10:00:00:00"}, ""},
    {R"("two\nlines","")", {"two\nlines", ""}, ""},
    {R"("a" , "b,c")", {"a", "b", "c"}, "s"},
    {R"("  padded  ",x)", {"padded", "x"}, "b"},
    {R"(" a"  ,b)", {"a", "b"}, "b"},
    {R"("a"  , b )", {"a", "b"}, ""},
    {R"("a"x"b",c)", {"axb", "c"}, "s"},
    {R"(a"b)", {"ab"}, "s"},
    {R"("a,b)", {"a,b"}, "o"},
    {"\x01\x7F\"a\",\tb,", {"a", "b"}, "c"},
    {",", {""}, ""},
    {"a,b", {"a", "b"}, ""},
};

std::string oddities(const std::string& line) {
    kel::ValueBuilder values;
    kel::LineOddities odd;
    const bool met = kel::split_line(line, values, &odd);
    std::string letters;
    for (std::size_t i = 0; i < kel::kLineOddities; ++i) {
        if (odd.met[i].count != 0) letters += "vbsoct"[i];
    }
    EXPECT_EQ(met, !letters.empty()) << line;
    return letters;
}

TEST(LineSplitter, SplitsAndTellsWhatIsOdd) {
    kel::ValueBuilder values;
    for (const Case& c : kCases) {
        EXPECT_EQ(split(c.line, values), c.values) << c.line;
        EXPECT_EQ(oddities(c.line), c.odd) << c.line;
    }
    EXPECT_EQ(oddities('"' + std::string(4095, 'x') + "\",b"), "");
    EXPECT_EQ(oddities('"' + std::string(4096, 'x') + "\",b"), "vo");
    EXPECT_EQ(oddities(std::string(65535, ',')), "");
    EXPECT_EQ(oddities(std::string(65536, ',')), "t");
}

}  // namespace
