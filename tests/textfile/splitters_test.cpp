// Splitting a line of a table file into values, and one of a comma-separated file into pieces; quoting; and the steps
// of sixteen bytes that they take.
#include "keldb/textfile/byte_steps.h"
#include "keldb/textfile/csv_splitter.h"
#include "keldb/textfile/line_splitter.h"
#include "keldb/textfile/value_quoting.h"
#include "tests/testing/kit.h"

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
    const auto bytes = exact_copy(line);
    kel::split_line({bytes.get(), line.size()}, values);
    Texts found;
    for (std::size_t i = 0; i < values.size(); ++i) found.emplace_back(values.text(i));
    return found;
}

TEST(LineSplitter, AgreesWithTheNaiveRulesOnEveryShortLine) {
    std::vector<std::string_view> pieces;
    for (std::size_t length = 0; length <= 7; ++length) {
        every_text("\"\\n, a\t", length, [&](const std::string& line) {
            ASSERT_EQ(split(line), naive_split(line)) << '[' << line << ']';
            const auto bytes = exact_copy(line);
            kel::split_csv_line({bytes.get(), line.size()}, pieces);
            ASSERT_EQ(Texts(pieces.begin(), pieces.end()), naive_csv_split(line)) << '[' << line << ']';
        });
    }
}

// `behind` may be read, but is no part of the value.
std::string quoted(const std::string& value, const std::string& behind) {
    const auto bytes = exact_copy(value + behind);
    const auto to = std::make_unique<char[]>(kel::quoted_room(value.size()) + kel::kQuotingSpill);
    return std::string(to.get(), kel::put_quoted(to.get(), {bytes.get(), value.size()}, value.size() + behind.size()));
}

std::string naive_quoted(const std::string& value) {
    std::string text = "\"";
    for (const char c : value) text += c == '"' ? "\"\"" : c == '\n' ? "\\n" : c == '\r' ? "" : std::string(1, c);
    return text + '"';
}

// Short pieces around the width of what the splitter looks at in one step, and values around the longest.
TEST(LineSplitter, AgreesWithTheNaiveRulesAcrossLengths) {
    for (const char* care : {"", "\"\"", "\"", "\\n", "\\", ",", " ", "\n", "\x80", "\r"}) {
        for (const std::size_t length : {0U, 5U, 6U, 7U, 8U, 9U, 15U, 16U, 17U, 30U, 33U, 4093U, 4094U, 4095U, 4096U}) {
            for (const std::size_t place : {std::size_t{0}, length / 2, length}) {
                const std::string text = std::string(length, 'x').insert(place, care);
                for (const std::string behind :
                     {"", "\n", "a text of thirty bytes, and two\"", "\"and none in thirty-two behind that"})
                    ASSERT_EQ(quoted(text, behind), naive_quoted(text)) << care << ' ' << length << ' ' << place;
                for (const std::string& line : {'"' + text + "\",\"b\"", '"' + text + '"', text + ",b", '"' + text}) {
                    ASSERT_EQ(split(line), naive_split(line)) << care << ' ' << length << ' ' << place;
                }
            }
        }
    }
}

TEST(ByteSteps, BothKindsCopyAndFindTheFirstWantedByte) {
    for (const char c : std::string("\"\n\r!#a,\0\x8A\xA2\x0B", 11)) {
        for (std::size_t place = 0; place < kel::kStepBytes * kel::kStepBytes; ++place) {
            std::string text(kel::kStepBytes, 'x'), copy(kel::kStepBytes, ' ');
            text[place % kel::kStepBytes] = '"';
            text[place / kel::kStepBytes] = c;
            const std::size_t first = std::min(text.find_first_of("\"\n\r"), kel::kStepBytes);
            const auto agrees = [&](const auto& step) {
                step.copy_to(copy.data());
                return copy == text && step.template first_of<'"', '\n', '\r'>() == first &&
                       step.template has_any<'!', '#'>() == (c == '!' || c == '#');
            };
            ASSERT_TRUE(agrees(kel::PlainStep(text.data())) && agrees(kel::ByteStep(text.data()))) << text;
        }
    }
}

}  // namespace
