// Loading table files: the worked example, every way a load can end, and appending records.

#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "keldb/support/log.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/table_text.h"
#include "tests/testing/temp_dir.h"

namespace {

using testing_kit::kAllRecords;
using testing_kit::load_bytes;
using testing_kit::text_of;
using testing_kit::wide;
using testing_kit::write_file;

constexpr const char* kExample =
    "\"KELDB:Rev 1\"\n\"owner:ed\"\n\"KELDB\"\n\"32\",\"11\"\n\"text\",\"timecode\"\n\"Name\",\"Start\"\n"
    "\"Reel \"\"7\"\"\",\"10:00:00:00\"\n\"two\\nlines\",\"\"\n";

// Collects what is logged while it lives.
struct Log {
    Log() {
        setLogSink([](const char* message, void* to) { *static_cast<std::string*>(to) += message; }, &text);
    }
    ~Log() { setLogSink(nullptr, nullptr); }
    std::string text;
};

std::string error_of(const keldb& table) {
    dberror e;
    if (table.read_error_info(e) == 0) return "";
    return std::to_string(e.kind) + ' ' + std::to_string(e.index) + ' ' + std::to_string(e.extra1) + ' ' +
           std::to_string(e.extra2);
}

std::string parameters_of(const keldb& table) {
    std::string text;
    for (int i = 0; i < static_cast<int>(table.get_num_params()); ++i) {
        text += std::string(i ? ";" : "") + table.get_nth_param_name(i) + '=' + table.get_nth_param_val(i);
    }
    return text;
}

TEST(Loader, ReadsTheWorkedExample) {
    keldb table;
    load_bytes(table, kExample);
    EXPECT_EQ(text_of(table), "Name:a Start:t | Reel \"7\",10:00:00:00 | two\\nlines,");
    EXPECT_EQ(parameters_of(table), "KELDB=Rev 1;owner=ed");
    EXPECT_EQ(table.get_valid(), 1);
    EXPECT_EQ(table.get_revision(), 1);
    EXPECT_EQ(error_of(table), "");
    EXPECT_EQ(table.get_changed(), 0);
    EXPECT_EQ(table[0].get_changed(), 0);
}

constexpr const char* kFilled = "keldb::add_text: returning because not all fields filled\n";
const std::string kHead = "\"KELDB:Rev 1\"\n\"KELDB\"\n\"4\",\"4\"\n\"text\",\"text\"\n\"a\",\"b\"\n";

// Each row: a file, whether it is valid, its records, its error information, what is logged, and what a report says.
struct Load {
    const char* what;
    std::string bytes;
    bool valid;
    std::string records;
    std::string error;
    std::string logged;
    std::string report;
};

std::string with_parameters(int count, const char* marker) {
    std::string bytes = "\"KELDB:Rev 1\"\n";
    for (int i = 1; i < count; ++i) bytes += "\"p" + std::to_string(i) + ":v\"\n";
    return bytes + marker;
}

std::vector<Load> loads() {
    const std::string bad = "2 3 0 0", rest = "\"4\",\"4\"\n\"text\",\"text\"\n\"a\",\"b\"\n";
    return {
        {"empty", "", false, "", "", "", "0: no \"KELDB:\" parameter line at the start: the file is not read\n"},
        {"blank first line", " \n" + kHead, false, "", "", "",
         "1: no \"KELDB:\" parameter line at the start: the file is not read\n"},
        {"no parameter line", "\"KELDB\"\n" + rest, false, "", "", "",
         "1: no \"KELDB:\" parameter line at the start: the file is not read\n"},
        {"another revision", "\"keldb: rev 3\"\n\"KELDB\"\n" + rest, true, "", "",
         "keldb::read_text:  Warning: keldb is revision 3, current level is 1\n",
         "1: revision 3 of the file format where this library knows revision 1: read as revision 1\n"},
        {"ends in its parameters", "\"KELDB:Rev 1\"\n\"p:v\"\n", false, "", "", "",
         "2: no \"KELDB\" marker line after the parameter lines: the file is not read\n"},
        {"parameter without a colon", "\"KELDB:Rev 1\"\n\"p\"\n" + kHead.substr(14), false, "", "", "",
         "2: no \"KELDB\" marker line after the parameter lines: the file is not read\n"},
        {"name row without a marker", "\"KELDB:Rev 1\"\n\"a\",\"b\"\n\"1\",\"2\"\n", false, "", "", "",
         "2: no \"KELDB\" marker line after the parameter lines: the file is not read\n"},
        {"41 parameters", with_parameters(41, "\"KELDB\"\n") + rest, true, "", "", "",
         "41: more than 40 parameters: this one is dropped\n"},
        {"odd parameter lines", "\"KELDB:Rev 1\"\n\":x\"\n\" p : v:w \",\"more\"\nkeldb,x\n" + rest, true, "", "", "",
         "2: a parameter without a name: it is dropped\n"
         "3: value 1: blanks at the ends of the quoted text are dropped\n"
         "3: a parameter line holds one value: 1 further value is dropped\n"},
        {"ends at the marker", "\"KELDB:Rev 1\"\n\"KELDB\"\n", false, "", "", "",
         "2: the file ends before its header rows are complete: it is not read\n"},
        {"ends at the widths", kHead.substr(0, 30), false, "", "3 3 0 0", "",
         "3: the file ends before its header rows are complete: it is not read\n"},
        {"ends at a blank width row", "\"KELDB:Rev 1\"\n\"KELDB\"\n\n", false, "", "", "",
         "3: the file ends before its header rows are complete: it is not read\n"},
        {"short type row", "\"KELDB:Rev 1\"\n\"KELDB\"\n\"4\",\"4\"\n\"text\"\n\"a\",\"b\"\n", false, "", "3 3 0 0", "",
         "4: 1 item in a header row where the width row has 2: the file is not read\n"},
        {"long name row", "\"KELDB:Rev 1\"\n\"KELDB\"\n\"4\"\n\"text\"\n\"a\",\"b\"\n", false, "", "3 4 0 0", "",
         "5: 2 items in a header row where the width row has 1: the file is not read\n"},
        {"unknown type", "\"KELDB:Rev 1\"\n\"KELDB\"\n\"4\",\"4\"\n\"xyz\",\"x\"\n\"a&b\",\"b\"\n\"1\",\"2\"\n", true,
         " | 1,2", bad, "",
         "4: field 1: the type \"xyz\" is unknown: the field becomes text\n"
         "5: field 1: the ampersands of the name \"a&b\" are dropped\n"},
        {"too few values", kHead + "\"1\",\"2\"\n\"3\"\n\"4\",\"5\"\n", true, " | 1,2", "1 1 0 0", kFilled,
         "7: 1 value where the table has 2 fields: the load ends here\n8: this line was not read\n"},
        {"too many values", kHead + "1,2,3\n", true, "", "1 0 0 0", kFilled,
         "6: 3 values where the table has 2 fields: the load ends here\n"},
        {"blank line", kHead + "1,2\n \t\n3,4\n5,6\n\n", true, " | 1,2", "", "",
         "7: a line without visible characters: the load ends here\n8: this and 1 further line were not read\n"},
        {"blank lines at the end", kHead + "1,2\n\n \n", true, " | 1,2", "", "", ""},
        {"a record called KELDB", kHead + "\"KELDB\",\"2\"\n\"3\",\"4\"\n", true, " | KELDB,2 | 3,4", "", "", ""},
        {"a repeated header", kHead + "1,2\n\"KELDB\"\n" + rest, true, " | 1,2", "1 1 0 0", kFilled,
         "7: 1 value where the table has 2 fields: the load ends here\n8: this and 2 further lines were not read\n"},
        {"a value too long", kHead + '"' + std::string(4097, 'x') + "\",b\n", true, "", "1 0 0 0", kFilled,
         "6: value 1: longer than 4095 bytes: cut there, one byte is lost and the rest is read as further values\n"
         "6: value 2: a double quote in the middle is dropped\n"
         "6: 3 values where the table has 2 fields: the load ends here\n"},
        {"odd values", kHead + "\" a\",\"b\n", true, " | a,b", "", "",
         "6: value 1: blanks at the ends of the quoted text are dropped\n"
         "6: value 2: no closing double quote: all that follows in the line belongs to the value\n"},
        {"CR LF, byte-order mark, no last line end",
         "\xEF\xBB\xBF\"KELDB:Rev 1\"\r\n\"KELDB\"\r\n4\r\na\r\nn\r\n1\r\n2", true, " | 1 | 2", "", "", ""},
    };
}

TEST(Loader, EndsInADefinedStateOnEveryFault) {
    for (const Load& load : loads()) {
        SCOPED_TRACE(load.what);
        Log log;
        keldb table;
        LoadReport report;
        load_bytes(table, load.bytes, false, &report);
        EXPECT_EQ(table.get_valid() != 0, load.valid);
        const std::string text = text_of(table);
        EXPECT_EQ(text.substr(std::min(text.find(" |"), text.size())), load.records);
        EXPECT_EQ(error_of(table), load.error);
        EXPECT_EQ(log.text, load.logged);
        std::string words;
        for (const LoadFinding& found : report.findings) {
            words += std::to_string(found.line) + ": " + describe(found).c_str() + '\n';
        }
        EXPECT_EQ(words, load.report);
        EXPECT_EQ(testing_kit::load_fault(load.bytes, false), "");
    }
}

TEST(Loader, TakesParametersApartAtTheFirstColon) {
    keldb table;
    load_bytes(table, "\"KELDB:  Rev 1\"\n:x\n\" p : v:w \",more\n\"P :\"\nkeldb,x\n4\na\nn\n");
    EXPECT_EQ(parameters_of(table), "KELDB=Rev 1;p =v:w;P =");
}

TEST(Loader, KeepsTheFirst40Parameters) {
    keldb table;
    load_bytes(table, with_parameters(42, "\"KELDB\"\n\"4\"\n\"text\"\n\"a\"\n"));
    EXPECT_EQ(table.get_num_params(), 40U);
    EXPECT_STREQ(table.get_nth_param_name(39), "p39");
}

class LoadedFile : public testing::Test {
protected:
    // Loads a file of that name and bytes into `table`.
    void load(const char* name, std::string_view bytes, int most = kAllRecords) {
        write_file(folder.path(name), bytes);
        table.set_filename(wide(folder.path(name)));
        table.loadFromFile(most, false, &report);
    }
    testing_kit::TempDir folder;
    Log log;
    keldb table;
    LoadReport report;
};

TEST_F(LoadedFile, IsReadUpToTheMostRecordsAskedFor) {
    for (const int most : {-1, 0, 1}) {
        load("log.txt", kExample, most);
        EXPECT_EQ(table.get_num_records(), most == 1 ? 1U : 0U);
        EXPECT_EQ(table.get_valid(), 1);
        EXPECT_EQ(report.end, LoadReport::End::enough);
        EXPECT_EQ(report.lines_read, most == 1 ? 7U : 6U);
    }
    load("log.txt", kExample, 2);
    EXPECT_TRUE(report.complete());
    EXPECT_EQ(report.first_record_line, 7U);
}

TEST_F(LoadedFile, IsCommaSeparatedOnlyWithALowerCaseEnding) {
    load("list.csv", "Name,\"Reel, A\",Start\nx,,y\n");
    EXPECT_EQ(text_of(table), "Name:A \"Reel,~A\":A Start:A | x,,y");
    load("LIST.CSV", kExample);
    EXPECT_EQ(table.get_num_records(), 2U);
}

TEST_F(LoadedFile, ReplacesWhatTheTableHeld) {
    load("log.txt", kHead + "1,2\n3\n");
    table.set_tag(0, 1);
    table.set_show_tags_only(1);
    load("log.txt", kExample);
    EXPECT_EQ(text_of(table), "Name:a Start:t | Reel \"7\",10:00:00:00 | two\\nlines,");
    EXPECT_EQ(error_of(table), "");
    EXPECT_LE(std::time(nullptr) - table.get_last_mod_time(), 1);
    for (const std::string& path : {folder.path("missing"), folder.path()}) {
        table.set_filename(wide(path));
        table.loadFromFile(kAllRecords, false, &report);
        EXPECT_EQ(table.get_valid(), 0);
        EXPECT_EQ(table.get_num_records(), 0U);
        EXPECT_EQ(report.end, LoadReport::End::unreadable);
    }
}

TEST_F(LoadedFile, OfAnyLineCountGrowsTheTable) {
    std::string bytes = kHead;
    for (int i = 0; i < 1001; ++i) bytes += "x," + std::to_string(i) + '\n';
    load("log.txt", bytes);
    EXPECT_EQ(table.get_num_records(), 1001U);
    EXPECT_EQ(table.getField(1000, 1), "1000");
    EXPECT_TRUE(table.ok());
}

// Appending: the file, how many to skip and read, the number appended, the records after it, the error, what is logged.
struct Append {
    const char* bytes;
    int skip, most, appended;
    const char* records;
    const char* error;
    const char* logged;
};

const Append kAppends[] = {
    {"a,b\n1,2\n3,4\n", 1, 9, 2, " | x,y | 1,2 | 3,4", "", ""},
    {"a,b\n1,2\n3,4\n", 0, 2, 2, " | x,y | a,b | 1,2", "", ""},
    {"a,b\n1,2\n", 1, 0, 0, " | x,y", "", ""},
    {"a,b\n", 1, 9, 0, " | x,y", "", "keldb::add_text: returning because no more lines\n"},
    {"\"p:v\"\n1,2\n", 1, 9, 0, " | x,y", "1 0 0 0", "keldb::add_text: returning because not all fields filled\n"},
    {"a,b\n1\n", 1, 9, 0, " | x,y", "1 0 0 0", "keldb::add_text: returning because not all fields filled\n"},
    {"1,2\n3\n4,5\n", 0, 9, 1, " | x,y | 1,2", "1 1 0 0", "keldb::add_text: returning because not all fields filled\n"},
    {"1,2\n\n4,5\n", 0, 9, 1, " | x,y | 1,2", "", ""},
    {"KELDB,2\n1,2\n", 0, 9, 2, " | x,y | KELDB,2 | 1,2", "", ""},
};

TEST(Loader, AppendsRecords) {
    for (const Append& append : kAppends) {
        SCOPED_TRACE(append.bytes);
        Log log;
        keldb table = testing_kit::table_of("a:a b:a | x,y");
        TextFile file = TextFile::fromBytes(append.bytes);
        EXPECT_EQ(table.add_text(file, append.skip, append.most), append.appended);
        EXPECT_EQ(text_of(table), std::string("a:a b:a") + append.records);
        EXPECT_EQ(error_of(table), append.error);
        EXPECT_EQ(log.text, append.logged);
        EXPECT_EQ(table.get_changed(), append.most == 0 ? 0 : 1);
        EXPECT_TRUE(table.ok());
    }
}

TEST(Loader, AppendsOnlyBelowTheCapacityAndStampsTheTable) {
    keldb table;
    table.addField({"a", DBFieldTypes::text});
    TextFile file = TextFile::fromBytes("1\n2\n");
    EXPECT_EQ(table.add_text(file, 0, 9), 0);
    table.add_records(1);
    EXPECT_EQ(table.get_last_mod_time(), 0);
    EXPECT_EQ(table.add_text(file, 0, 9), 2);
    EXPECT_GT(table.get_last_mod_time(), 0);
}

TEST_F(LoadedFile, AppendsToATableThatHasItsFields) {
    keldb three = testing_kit::table_of("a:a b:a c:a");
    three.setField(static_cast<unsigned>(three.add_records(2)), 0, "x");
    three.set_filename(wide(folder.path("records.txt")));
    three.save_text_without_header();
    EXPECT_EQ(three.load_text(kAllRecords), 2);
    EXPECT_EQ(text_of(three), "a:a b:a c:a | x,, | ,, | x,, | ,,");
    three.set_filename(wide(folder.path("missing")));
    EXPECT_EQ(three.load_text(kAllRecords), 0);
}

TEST(Record, ReadsOneLine) {
    keldb table;
    table.add_records(1);
    TextFile file = TextFile::fromBytes("1,2,3\n \n");
    dbrecord& record = table[0];
    EXPECT_GT(record.read(file), 0);
    EXPECT_EQ(text_of(record), "1,2,3");
    EXPECT_EQ(record.get_changed(), 1);
    EXPECT_EQ(table.get_changed(), 1);
    EXPECT_GT(table.get_last_mod_time(), 0);
    table.clear_changed();
    for (int line = 0; line < 2; ++line) {  // a blank one, and the end
        EXPECT_EQ(record.read(file), 0);
        EXPECT_EQ(record.get_num_fields(), 0);
        EXPECT_EQ(record.get_changed(), 0);
    }
}

}  // namespace
