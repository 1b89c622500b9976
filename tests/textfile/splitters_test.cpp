// Splitting a line of a table file into values, and one of a comma-separated file into pieces.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keldb/support/ascii.h"
#include "keldb/textfile/csv_splitter.h"
#include "keldb/textfile/line_splitter.h"
#include "tests/testing/texts.h"

namespace {

using Texts = std::vector<std::string>;

// The rules one character at a time, with no short cut.
Texts naive_split(const std::string& line) {
    Texts values;
    const auto at = [&line](std::size_t i) { return i < line.size() ? line[i] : '\0'; };
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (kel::is_control(line[i])) continue;
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
    }
    return values;
}

Texts naive_csv_split(const std::string& line) {
    Texts pieces(1);
    bool inside = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"' && !(i > 0 && line[i - 1] == '\\')) inside = !inside;
        if (line[i] != ',' || inside) {
            pieces.back() += line[i];
        } else {
            pieces.emplace_back();
        }
    }
    // An empty piece is lost before a comma at the start, and behind one at the end; of a lone comma one stays.
    if (pieces.size() > 1 && line[0] == ',') pieces.erase(pieces.begin());
    if (pieces.size() > 1 && pieces.back().empty()) pieces.pop_back();
    return pieces;
}

Texts split(const std::string& line) {
    static kel::ValueBuilder values;
    const auto bytes = testing_kit::exact_copy(line);
    kel::split_line({bytes.get(), line.size()}, values);
    Texts found;
    for (std::size_t i = 0; i < values.size(); ++i) found.emplace_back(values.text(i));
    return found;
}

TEST(LineSplitter, AgreesWithTheNaiveRulesOnEveryShortLine) {
    std::vector<std::string_view> pieces;
    for (std::size_t length = 0; length <= 7; ++length) {
        testing_kit::every_text("\"\\n, a\t", length, [&](const std::string& line) {
            ASSERT_EQ(split(line), naive_split(line)) << '[' << line << ']';
            const auto bytes = testing_kit::exact_copy(line);
            kel::split_csv_line({bytes.get(), line.size()}, pieces);
            ASSERT_EQ(Texts(pieces.begin(), pieces.end()), naive_csv_split(line)) << '[' << line << ']';
        });
    }
}

// Short pieces around the width of what the splitter looks at in one step, and values around the longest.
TEST(LineSplitter, AgreesWithTheNaiveRulesAcrossLengths) {
    for (const char* care : {"", "\"\"", "\"", "\\n", "\\", ",", " ", "\n", "\x80"}) {
        for (const std::size_t length : {0U, 5U, 6U, 7U, 8U, 9U, 15U, 16U, 17U, 4093U, 4094U, 4095U, 4096U, 4097U}) {
            for (const std::size_t place : {std::size_t{0}, length / 2, length}) {
                const std::string text = std::string(length, 'x').insert(place, care);
                for (const std::string& line : {'"' + text + "\",\"b\"", '"' + text + '"', text + ",b", '"' + text}) {
                    ASSERT_EQ(split(line), naive_split(line)) << care << ' ' << length << ' ' << place;
                }
            }
        }
    }
}

}  // namespace
