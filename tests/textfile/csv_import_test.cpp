// Comma-separated files: splitting a line, and what a table gets from a file.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "keldb/textfile/csv_splitter.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/table_text.h"
#include "tests/testing/texts.h"

namespace {

using Pieces = std::vector<std::string>;
using testing_kit::load_bytes;
using testing_kit::text_of;

// The steps of the rule, one after the other.
Pieces naive_pieces(const std::string& line) {
    std::vector<std::size_t> commas;
    bool inside = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"' && !(i > 0 && line[i - 1] == '\\')) inside = !inside;
        if (line[i] == ',' && !inside) commas.push_back(i);
    }
    if (commas.empty()) return {line};
    Pieces pieces;
    if (commas[0] != 0 || line.size() == 1) pieces.push_back(line.substr(0, commas[0]));
    for (std::size_t k = 0; k + 1 < commas.size(); ++k) {
        pieces.push_back(line.substr(commas[k] + 1, commas[k + 1] - commas[k] - 1));
    }
    if (commas.back() + 1 != line.size()) pieces.push_back(line.substr(commas.back() + 1));
    return pieces;
}

TEST(CsvSplitter, AgreesWithTheNaiveRulesOnEveryShortLine) {
    std::vector<std::string_view> pieces;
    for (std::size_t length = 0; length <= 7; ++length) {
        testing_kit::every_text("\"\\n, a\t", length, [&](const std::string& line) {
            const auto bytes = testing_kit::exact_copy(line);
            kel::split_csv_line({bytes.get(), line.size()}, pieces);
            ASSERT_EQ(Pieces(pieces.begin(), pieces.end()), naive_pieces(line)) << '[' << line << ']';
        });
    }
}

struct Import {
    const char* bytes;
    const char* table;
    const char* report;  // each finding as LINE: words
};

const Import kImports[] = {
    {"", "", ""},
    {"Name,Start\nx,y\n", "Name:A Start:A | x,y", ""},
    {"Name,a&b,Start\nx,,y\nx\n\n", "Name:A a&b:A Start:A | x,,y | x,, | ,,", ""},
    {"a,b\n1,2,3,4\n", "a:A b:A | 1,2", "2: 2 values beyond the last field are dropped\n"},
    {"a,b\n,2\n,\nx,\n", "a:A b:A | 2, | , | x,",
     "2: the line begins with a comma: its empty first value is dropped and the others move up by one field\n"},
    {"a,b\n x ,\"y\"\n", "a:A b:A |  x ,\"y\"", "2: value 2: the double quotes are kept as a part of the text\n"},
    {"a,b\nx,\"y\nz\",w\n", "a:A b:A | x,\"y | z\",w,",
     "2: value 2: the double quotes are kept as a part of the text\n"
     "2: the line ends inside quotes: the value ends here and the next line becomes a record of its own\n"
     "3: value 1: the double quotes are kept as a part of the text\n"
     "3: the line ends inside quotes: the value ends here and the next line becomes a record of its own\n"},
};

TEST(CsvImport, FillsTheTableAndReportsWhatItKeepsAndDrops) {
    for (const Import& import : kImports) {
        keldb table;
        LoadReport report;
        load_bytes(table, import.bytes, true, &report);
        EXPECT_EQ(text_of(table), import.table) << import.bytes;
        std::string words;
        for (const LoadFinding& finding : report.findings) {
            words += std::to_string(finding.line) + ": " + describe(finding).c_str() + '\n';
        }
        EXPECT_EQ(words, import.report) << import.bytes;
        EXPECT_TRUE(report.complete()) << import.bytes;
        EXPECT_EQ(table.get_valid(), 1) << import.bytes;
        EXPECT_TRUE(table.ok()) << import.bytes;
    }
}

TEST(CsvImport, MarksWhatGotAValueAsChanged) {
    keldb table;
    load_bytes(table, "a,b\n,\nx,y\n", true);
    EXPECT_EQ(table.get_changed(), 1);
    EXPECT_EQ(table[0].get_changed(), 0);
    EXPECT_EQ(table[1].get_changed(), 1);
    load_bytes(table, "a,b\n,\n", true);
    EXPECT_EQ(table.get_changed(), 0);
}

TEST(CsvImport, KeepsTheFirst65535Columns) {
    keldb table;
    load_bytes(table, "a" + std::string(70000, ',') + "b\nx\n", true);
    EXPECT_EQ(table.get_num_fields(), 65535U);
    EXPECT_EQ(table[0].get_num_fields(), 65535U);
    EXPECT_TRUE(table.ok());
}

}  // namespace
