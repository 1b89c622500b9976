// What the three saves write and return, and what they change in the table.

#include <gtest/gtest.h>

#include <string>

#include "tests/testing/plain_table.h"
#include "tests/testing/table_text.h"
#include "tests/testing/temp_dir.h"

namespace {

using testing_kit::file_bytes;
using testing_kit::table_of;
using testing_kit::text_of;

const std::string kParameters = "\"KELDB:Rev 1\"\n\"owner:ed\"\n";
const std::string kTop = "\"KELDB\"\n\"32\",\"11\"\n\"text\",\"timecode\"\n";
const std::string kNames = "\"Name\",\"Start\"\n";
const std::string kFirst = "\"Reel \"\"7\"\"\",\"10:00:00:00\"\n";
const std::string kSecond = "\"two\\nlines\",\"\"\n";

class Writer : public testing::Test {
protected:
    Writer() {
        table.add_param("owner", "ed");
        table.setField(0, 0, "Reel \"7\"");
        table.setField(1, 0, "two\nlines");
        table.set_filename(testing_kit::wide(path));
    }
    testing_kit::TempDir folder;
    const std::string path = folder.path("log.txt");
    keldb table = table_of("Name:a Start:t | ,10:00:00:00 | ,");
};

TEST_F(Writer, SavesTheWholeTable) {
    EXPECT_EQ(table.save_text(), 2);
    EXPECT_EQ(file_bytes(path), kParameters + kTop + kNames + kFirst + kSecond);
    EXPECT_EQ(table[0].get_changed(), 0);
    EXPECT_EQ(table.get_changed(), 1);
}

TEST_F(Writer, SavesWithoutTheHeader) {
    EXPECT_EQ(table.save_text_without_header(), 2);
    EXPECT_EQ(file_bytes(path), kParameters + kNames + kFirst + kSecond);
}

TEST_F(Writer, SavesTheTaggedRecords) {
    table.set_tag(0, 2);
    EXPECT_EQ(table.save_tags(), 1);
    EXPECT_EQ(file_bytes(path), kParameters + kTop + kNames + kFirst);
}

TEST_F(Writer, ReturnsZeroWhenTheFileCannotBeWritten) {
    table.set_filename(testing_kit::wide(folder.path("missing/log.txt")));
    EXPECT_EQ(table.save_text(), 0);
    EXPECT_EQ(table.save_text_without_header(), 0);
    EXPECT_EQ(table.save_tags(), 0);
}

TEST_F(Writer, ReturnsZeroForATableWithoutRecords) {
    keldb empty = table_of("Name:a");
    empty.set_filename(testing_kit::wide(path));
    EXPECT_EQ(empty.save_text(), 0);
    EXPECT_EQ(file_bytes(path), "\"KELDB\"\n\"32\"\n\"text\"\n\"Name\"\n");
}

// Every record gets its own tag, also those that are not shown.
TEST_F(Writer, StoresTagsInATagField) {
    for (const bool header : {true, false}) {
        keldb tagged = table_of("Name:a TAG:n | one,7 | *two, | *three,x");
        tagged.set_filename(testing_kit::wide(path));
        tagged.set_show_tags_only(1);
        EXPECT_EQ(header ? tagged.save_text() : tagged.save_text_without_header(), 3);
        tagged.set_show_tags_only(0);
        EXPECT_EQ(text_of(tagged), "Name:a TAG:n | one,0 | *two,1 | *three,1");
        EXPECT_EQ(tagged.get_changed(), 1);
        EXPECT_TRUE(file_bytes(path).ends_with("\"one\",\"0\"\n\"two\",\"1\"\n\"three\",\"1\"\n"));
    }
    keldb tagged = table_of("Name:a Tag:n | one,7 | *two,");
    tagged.set_filename(testing_kit::wide(path));
    EXPECT_EQ(tagged.save_tags(), 1);
    EXPECT_EQ(text_of(tagged), "Name:a Tag:n | one,7 | *two,");
}

TEST(WriterLines, QuoteWhatWouldBreakThem) {
    struct Row {
        const char* value;
        const char* line;
    };
    for (const Row& row :
         {Row{"", "\"\""}, Row{"a,b\\", "\"a,b\\\""}, Row{"\r\n", "\"\\n\""}, Row{"\"\"", "\"\"\"\"\"\""},
          Row{"twelve\"bytes", "\"twelve\"\"bytes\""}, Row{"a\rb\\nc\n", "\"ab\\nc\\n\""}}) {
        dbrecord record(1);
        record.set_field(0, row.value, false);
        TextFile file;
        EXPECT_EQ(record.write(file), 1);
        EXPECT_EQ(file.bytes(), row.line + std::string("\n"));
    }
    TextFile file;
    dbrecord(0).write(file);
    EXPECT_EQ(file.bytes(), "\n");
}

TEST(WriterHeader, WritesNamesOfAnyLengthAndOddTypesAsTheirCode) {
    const std::string name(70000, 'n');
    keldb table({{String(name), DBFieldTypes::character}, {String(""), static_cast<DBFieldTypes::eType>('x')}});
    TextFile file;
    table.save_column_header(file, false);
    EXPECT_EQ(file.bytes(), "\"KELDB\"\n\"4\",\"4\"\n\"c\",\"x\"\n\"" + name + "\",\"\"\n");
}

}  // namespace
