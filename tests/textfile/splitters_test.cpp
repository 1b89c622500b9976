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

std::string naive_quoted(const std::string& value) {
    std::string text = "\"";
    for (const char c : value) text += c == '"' ? "\"\"" : c == '\n' ? "\\n" : c == '\r' ? "" : std::string(1, c);
    return text + '"';
}

// Of a text in a block of exactly its size, or with bytes behind it that may be read.
void expect_the_naive_rules(const std::string& text) {
    const auto bytes = exact_copy(text);
    static kel::ValueBuilder values;
    kel::split_line({bytes.get(), text.size()}, values);
    Texts found;
    for (std::size_t i = 0; i < values.size(); ++i) found.emplace_back(values.text(i));
    ASSERT_EQ(found, naive_split(text)) << '[' << text << ']';
    std::vector<std::string_view> csv_pieces;
    kel::split_csv_line({bytes.get(), text.size()}, csv_pieces);
    ASSERT_EQ(Texts(csv_pieces.begin(), csv_pieces.end()), naive_csv_split(text)) << '[' << text << ']';
    const std::string expected = naive_quoted(text);
    for (const std::string& behind : {std::string(), std::string(32, 'b'), '"' + std::string(32, 'b')}) {
        const auto readable = exact_copy(text + behind);
        const auto to = std::make_unique<char[]>(kel::quoted_room(text.size()) + kel::kQuotingSpill);
        char* const end = kel::put_quoted(to.get(), {readable.get(), text.size()}, text.size() + behind.size());
        ASSERT_EQ(std::string(to.get(), end), expected) << behind;
    }
}

TEST(LineSplitter, AgreesWithTheNaiveRulesOnEveryShortLine) {
    for (std::size_t length = 0; length <= 6; ++length) every_text("\"\\n, \n\r", length, expect_the_naive_rules);
}

// Around the width of what is looked at in one step, and around the longest value.
TEST(LineSplitter, AgreesWithTheNaiveRulesAcrossLengths) {
    const std::vector<std::string> kCare = {"\"\"", "\"", "\\n", "\\", ",", " ", "\n", "\r"};
    Random random(3);
    for (int round = 0; round < 8'000; ++round) {
        std::string text(random.one_in(8) ? 4093 + random.below(4) : random.below(35), '\x80');
        for (unsigned n = random.below(4); n > 0; --n) text.insert(text.size() * random.below(3) / 2, random.of(kCare));
        for (const std::string& line : {text, '"' + text + '"', '"' + text + "\",\"b\""}) expect_the_naive_rules(line);
    }
}

TEST(ByteSteps, BothKindsCopyAndFindTheFirstWantedByte) {
    const std::string kOthers("\"\n\r!#a,\0\x8A\xA2\x0B", 11);
    Random random(4);
    for (int round = 0; round < 30'000; ++round) {
        std::string text(kel::kStepBytes, 'x'), copy = text;
        for (int i = 0; i < 2; ++i) text[random.below(text.size())] = kOthers[random.below(kOthers.size())];
        const auto agrees = [&](const auto& step) {
            step.copy_to(copy.data());
            return copy == text && step.template has_any<'!', '#'>() == (text.find_first_of("!#") != text.npos) &&
                   step.template first_of<'"', '\n', '\r'>() == std::min(text.find_first_of("\"\n\r"), text.size());
        };
        ASSERT_TRUE(agrees(kel::PlainStep(text.data())) && agrees(kel::ByteStep(text.data()))) << text;
    }
}

}  // namespace
