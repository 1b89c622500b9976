// Loading table files and comma-separated ones: every way a load can end, what it says on the way, and its edges.
// A | in the text of a file stands for a line end.
#include "tests/testing/faulty_platform.h"
#include "tests/testing/kit.h"

namespace {

std::string bytes_of(std::string file) {
    std::replace(file.begin(), file.end(), '|', '\n');
    return file;
}

std::string error_of(const keldb& table) {
    dberror e;
    if (table.read_error_info(e) == 0) return "";
    EXPECT_EQ(e.extra1 + e.extra2, 0);
    return "error " + std::to_string(e.kind) + " at " + std::to_string(e.index) + '\n';
}

// Outcome: the first and last line with a record, + when there are more, the table, its parameters but the first, and
// its error information; what was logged; what the report says.
struct Load {
    std::string file, outcome;
    const char* name = "log";
    int most = kAllRecords;
};

std::string times(int count, std::string_view text) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

const std::string kRevision = "\"KELDB:Rev 1\"|", kTwo = kRevision + "\"KELDB\"|4,4|text,text|a,b|";
const std::string kLongest(4095, 'x');
const std::string kNoParameters = ": no \"KELDB:\" parameter line at the start: the file is not read\n";
const std::string kNoMarker = ": no \"KELDB\" marker line after the parameter lines: the file is not read\n";
const std::string kHeaderCut = ": the file ends before its header rows are complete: ";
const std::string kNotFilled = "keldb::add_text: returning because not all fields filled\n";
const std::string kQuotes = ": the double quotes are kept as a part of the text\n";
const std::string kOpen =
    ": the line ends inside quotes: the value ends here and the next line becomes a record of its own\n";

std::string row_of(int columns) { return 'a' + times(columns - 1, ",a"); }

std::string file_of(int columns) { return kRevision + "KELDB" + times(4, '|' + row_of(columns)); }

const std::string kWidest = row_of(65535);
const std::string kCut = ": more than 65535 values: only as many as the low 16 bits of their number say are kept\n";
const std::string kCuts = '3' + kCut + '4' + kCut + '5' + kCut + '6' + kCut;

const std::vector<Load> kLoads = {
    // clang-format off
    {"", "no table\n0" + kNoParameters}, {" |" + kTwo, "no table\n1" + kNoParameters},
    {"KELDB|4,4|a,a|a,b|", "no table\n1" + kNoParameters}, {kRevision + "p:v|", "no table; p=v\n2" + kNoMarker},
    {kRevision + "p|KELDB|4|a|n|", "no table\n2" + kNoMarker},
    {kRevision + "KELDB|", "0-2 \n2" + kHeaderCut + "the table has no fields\n"},
    {kRevision + "KELDB|||", "0-4 \n4" + kHeaderCut + "the table has no fields\n"}, {kRevision + "KELDB||||", "0-5 \n"},
    {kRevision + "KELDB|4,4|", "no table\nerror 3 at 3\n3" + kHeaderCut + "it is not read\n"},
    {kRevision + "KELDB|4|a|", "no table\nerror 3 at 4\n4" + kHeaderCut + "it is not read\n"},
    // clang-format on
    {kRevision + "KELDB|4,4|text|a,b|",
     "no table\nerror 3 at 3\n4: 1 item in a header row where the width row has 2: the file is not read\n"},
    {kRevision + "KELDB|4|text|a,b|",
     "no table\nerror 3 at 4\n5: 2 items in a header row where the width row has 1: the file is not read\n"},
    {kRevision + "KELDB|4,4|xyz,x|a&b,b|1,2|",
     "6-6 ab:a b:x | 1,2\nerror 2 at 3\n4: field 1: the type \"xyz\" is unknown: the field becomes text\n"
     "5: field 1: the ampersands of the name \"a&b\" are dropped\n"},
    {kRevision + times(40, "p:v|") + "KELDB|4|a|n|",
     "0-45 n:a" + times(39, "; p=v") + "\n41: more than 40 parameters: this one is dropped\n"},
    {"\xEF\xBB\xBF\"KELDB:Rev 1\"\r|\"KELDB\"\r|4\r|a\r|n\r|1\r|2", "6-7 n:a | 1 | 2\n"},
    {kTwo + times(1001, "1,2|") + "| |", "6-1008 a:a b:a" + times(1001, " | 1,2") + '\n'},
    {kTwo + "1,2|3,4|", "0-5+ a:a b:a\n", "log", 0},
    {kTwo + "1,2|3,4|", "6-6+ a:a b:a | 1,2\n", "log", 1},
    {kTwo + "1,2|3,4|", "6-7 a:a b:a | 1,2 | 3,4\n", "LOG.CSV", 2},
    {kTwo + "1,2| \t|3,4|5,6||",
     "6-7+ a:a b:a | 1,2\n7: a line without visible characters: the load ends here\n"
     "8: this and 1 further line were not read\n"},
    {kTwo + "1,2|KELDB|4,4|a,a|a,b|",
     "6-7+ a:a b:a | 1,2\nerror 1 at 1\n" + kNotFilled +
         "7: 1 value where the table has 2 fields: the load ends here\n8: this and 2 further lines were not read\n"},
    {kTwo + '"' + kLongest + "\",b|\"" + kLongest + "xx\",b|",
     "6-7+ a:a b:a | " + kLongest + ",b\nerror 1 at 1\n" + kNotFilled +
         "7: value 1: longer than 4095 bytes: cut there, one byte is lost and the rest is read as further values\n"
         "7: value 2: a double quote in the middle is dropped\n"
         "7: 3 values where the table has 2 fields: the load ends here\n"},
    {"keldb: rev 3|:x|\" p : v:w \",more|P :|keldb,x,y|4,4|a,a|a,b|\"  a  \",x|\" a\"  ,b|\"a\"  , b |"
     "\"a\"x,c\"d|\x01\x7F\"a\",\tb,|\"KELDB\",\"b|1|2,3|",
     "9-15+ a:a b:a | a,x | a,b | a,b | ax,cd | a,b | KELDB,b; p =v:w; P =\nerror 1 at 6\n"
     "keldb::read_text:  Warning: keldb is revision 3, current level is 1\n" +
         kNotFilled +
         "1: revision 3 of the file format where this library knows revision 1: read as revision 1\n"
         "2: a parameter without a name: it is dropped\n3: value 1: blanks at the ends of the quoted text are dropped\n"
         "3: a line before the header rows holds one value: 1 further value is dropped\n"
         "5: a line before the header rows holds one value: 2 further values are dropped\n"
         "9: value 1: blanks at the ends of the quoted text are dropped\n"
         "10: value 1: blanks at the ends of the quoted text are dropped\n"
         "12: value 1 and 1 more: a double quote in the middle is dropped\n"
         "13: value 1 and 1 more: control characters before it are dropped\n"
         "14: value 2: no closing double quote: all that follows in the line belongs to the value\n"
         "15: 1 value where the table has 2 fields: the load ends here\n16: this line was not read\n"},
    {"", "no table\n0: the file cannot be read\n", "missing/log"},
    {"", "0-0 \n", "a.csv"},
    {"n, x&y|,|x|", "2-3 n:A ~x&y:A | , | x,\n", "a.csv"},
    {"a,b|1,2,3,4|,2|x,|| x ,\"y\"|\"y|z\",w|",
     "2-8 a:A b:A | 1,2 | 2, | x, | , |  x ,\"y\" | \"y, | z\",w,\n2: 2 values beyond the last field are dropped\n"
     "3: the line begins with a comma: its empty first value is dropped and the others move up by one field\n"
     "6: value 2" +
         kQuotes + "7: value 1" + kQuotes + "7" + kOpen + "8: value 1" + kQuotes + "8" + kOpen,
     "a.csv"},
    // Counts are taken as 16-bit numbers: beyond 65535 columns only what those say is there; an import keeps the first.
    {file_of(65535), "6-6 a:a" + times(65534, " a:a") + " | " + kWidest + '\n'},
    {file_of(65536), "6-6  |\n" + kCuts},
    {file_of(65539), "6-6 a:a a:a a:a | a,a,a\n" + kCuts},
    {kWidest + ",b,c|" + kWidest,
     "2-2 a:A" + times(65534, " a:A") + " | " + kWidest + "\n1: 2 values beyond the last field are dropped\n", "a.csv"},
};

// Loads each file into the same table, which shows tagged records only, has one and sorts by another field. Of an
// import, records that got a value are marked as changed, and the table by them.
TEST(Loader, EndsInADefinedStateOnEveryFault) {
    const TempDir folder;
    keldb table;
    for (const auto& [file, outcome, name, most] : kLoads) {
        SCOPED_TRACE(file.substr(0, 200));
        const bool csv = std::string_view(name).ends_with(".csv");
        write_file(folder.path(name), bytes_of(file));
        table.set_filename(wide(folder.path(name)));
        Logged log;
        EXPECT_EQ(load_fault(bytes_of(file), csv), "");
        log.text.clear();
        LoadReport report;
        table.loadFromFile(most, false, &report);
        std::string text = "no table";
        if (table.get_valid() != 0) {
            text = std::to_string(report.first_record_line) + '-' + std::to_string(report.lines_read) +
                   (report.complete() ? " " : "+ ") + text_of(table);
        }
        for (int i = 1; i < static_cast<int>(table.get_num_params()); ++i) {
            text += std::string("; ") + table.get_nth_param_name(i) + '=' + table.get_nth_param_val(i);
        }
        text += '\n' + error_of(table) + log.text;
        for (const LoadFinding& found : report.findings) {
            text += std::to_string(found.line) + ": " + describe(found).c_str() + '\n';
        }
        EXPECT_EQ(text, outcome);
        const bool made = table.get_valid() != 0 && table.get_num_fields() != 0;
        EXPECT_TRUE(table.ok() && (!made || table.getSortFieldIdx() == 0));
        bool changed = false;
        for (unsigned i = 0; i < table.get_num_records(); ++i) {
            const bool written = csv && text_of(table[i]).find_first_not_of(',') != std::string::npos;
            EXPECT_EQ(table[i].get_changed() != 0, written);
            changed |= written;
        }
        EXPECT_EQ(table.get_changed() != 0, changed);
        table.set_tag(0, 1);
        table.set_show_tags_only(1);
        table.set_sortfield(1);
    }
}

// What is taken in stamps the table and changes it; so does a line that is only looked at.
TEST(Loader, AppendsToATableThatHasItsFields) {
    // The file, whether its first line is skipped, how many are wanted; the number appended, the records then, the
    // error and what is logged.
    const std::tuple<const char*, bool, int, std::string> kAppends[] = {
        // clang-format off
        {"a,b|1,2|3,4|", true, 9, "2: | , | 1,2 | 3,4\n"}, {"a,b|1,2|3,4|", false, 2, "2: | , | a,b | 1,2\n"},
        {"a,b|1,2|", true, 0, "0: | ,\n"}, {"1,2||4,5|", false, 9, "1: | , | 1,2\n"},
        {"a,b|", true, 9, "0: | ,\nkeldb::add_text: returning because no more lines\n"},
        {"1,2|3|4,5|", false, 9, "1: | , | 1,2\nerror 1 at 1\n" + kNotFilled},
        {"a|1,2|", true, 9, "0: | ,\nerror 1 at 0\n" + kNotFilled},
        // clang-format on
    };
    const TempDir folder;
    for (const auto& [text, skip, most, outcome] : kAppends) {
        Logged log;
        keldb table;
        for (const char* name : {"a", "b"}) table.addField({name, DBFieldTypes::text});
        TextFile file = TextFile::fromBytes(bytes_of(text));
        EXPECT_EQ(table.add_text(file, skip, most), 0);  // there is room from the first record on
        table.add_records(1);
        table.clear_changed();
        write_file(folder.path("log"), bytes_of(text));
        table.set_filename(wide(folder.path("log")));
        const int appended = skip ? table.load_text(most) : table.add_text(file, 0, most);
        EXPECT_EQ(std::to_string(appended) + ':' + text_of(table).substr(7) + '\n' + error_of(table) + log.text,
                  outcome);
        EXPECT_EQ(table.get_changed() != 0 && table.get_last_mod_time() != 0, most != 0);
        EXPECT_TRUE(table.ok());
    }
}

TEST(Loader, KeepsNothingOfAFileWhoseReadingFails) {
    const TempDir folder;
    write_file(folder.path("log"), bytes_of(kTwo + times(300'000, "1,2|")));  // read in two steps
    bool struck = true;
    for (long at = 0; struck; ++at) {
        const FaultyPlatform platform({}, at);
        const keldb table(wide(folder.path("log")), kAllRecords, false);
        struck = platform.struck();
        const std::string where = platform.struck_operation();
        EXPECT_EQ(table.get_valid(), where == "open" || where == "read" ? 0 : 1) << where;
        EXPECT_EQ(table.get_num_records(), table.get_valid() ? 300'000U : 0U) << where;
    }
}

TEST(Record, ReadsOneLine) {
    struct Derived : keldb {
        using keldb::read_params;
    } table;
    table.addField({"Cookie", DBFieldTypes::text});
    table.add_records(1);
    TextFile file = TextFile::fromBytes("M1,2,3\n \n");
    for (const char* read : {"M1,2,3", "", ""}) {  // a blank line, and the end
        table.clear_changed();
        EXPECT_EQ(table[0].read(file) != 0, *read != '\0');
        EXPECT_EQ(text_of(table[0]) + std::to_string(table[0].get_changed() + table.get_changed()),
                  read + std::string(*read ? "2" : "0"));
        EXPECT_EQ(table.getRowIndexByID(Cookie("M1", false)), *read ? 0 : -1);
        EXPECT_GT(table.get_last_mod_time(), 0);
    }
    table.read_params(file, &table[0]);  // there is no first line
    EXPECT_EQ(table[0].get_changed() + table.get_changed(), 0);
}

}  // namespace
