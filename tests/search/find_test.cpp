// Finding rows, the life of the map of identifiers, and tagging by query and by value.
#include <gtest/gtest.h>

#include "tests/testing/table_text.h"

namespace {

using testing_kit::table_of;
using testing_kit::text_of;

TEST(FindFirst, ComparesBytesWholeOrTheFirstFew) {
    const struct {
        const char* field;
        const char* value;
        int length;
        int row;
    } rows[] = {
        {"Name", "abc", 2, 1},  {"NAME", "abc", 0, 2},  {"name", "abx", 2, 1},  {"Name", "ABC", 0, 0},
        {"Name", "Abc", 0, -1}, {"Name", "", 0, 3},     {"Name", "", 1, 3},     {"Name", "abcdefgh", 4, 4},
        {"Name", "abc", 9, 2},  {"Name", "abc", -1, 2}, {"Name", "zz", -1, -1}, {"Other", "abc", 0, -1},
        {"", "abc", 0, -1},     {"COOKIE", "M3", 0, 3}, {"cookie", "M", 1, 0},  {"cookie", "M9", 0, -1},
    };
    keldb table = table_of("Name:a Cookie:a | ABC,M1 | ab,M2 | *abc, | ,M3 | abcd,M3");
    for (const bool tags_only : {false, true}) {
        table.set_show_tags_only(tags_only);  // the scan looks at every record all the same
        for (const auto& row : rows) {
            EXPECT_EQ(table.findFirst(row.field, row.value, row.length), row.row) << row.field << "=" << row.value;
        }
    }
    EXPECT_EQ(table_of("Name:a").findFirst("Name", "", 0), -1);
}

// Where an identifier is found after each step. The map is built in full from empty only.
TEST(RowByIdentifier, FollowsTheLifeOfItsMap) {
    const Cookie one("M1", false), two("M2", false), three("M3", false);
    keldb table = table_of("Name:a Cookie:a | c,M1 | b,M2 | a,M2");
    const auto rows = [&] {
        std::string found;
        for (const Cookie& id : {one, two, three}) found += std::to_string(table.getRowIndexByID(id)) + ' ';
        return std::string(testing_kit::trimmed(found));
    };
    EXPECT_EQ(rows(), "0 1 -1");  // of two the first
    table.add_records(1);
    table.setField(3, 1, "M3");
    EXPECT_EQ(rows(), "0 1 -1");  // appended rows come in with the next build
    EXPECT_EQ(table.findFirst("cookie", "M3", 0), 3);
    table.insert_records(0, 1);
    EXPECT_EQ(rows(), "1 2 4");
    table.delete_records(1, 1);
    EXPECT_EQ(rows(), "-1 1 3");
    table.set_field(2, three);  // the row last given
    EXPECT_EQ(rows(), "-1 1 2");
    table.sort(-1, 0);
    EXPECT_EQ(text_of(table), "Name:a Cookie:a | b,M2 | a,M3 | , | ,M3");
    table.set_field(3, one);  // a single entry: nothing else is known
    EXPECT_EQ(rows(), "3 -1 -1");
    EXPECT_EQ(table.findFirst("Cookie", "M2", 0), 0);
    table.setField(3, 1, "M3");  // the row does not carry it any more: built again
    EXPECT_EQ(rows(), "-1 0 1");
    table.set_tag(3, 1);
    table.set_show_tags_only(1);
    EXPECT_EQ(rows(), "-1 -1 0");  // rows as they are shown
    table.set_show_tags_only(0);
    EXPECT_EQ(rows(), "-1 0 1");
    table.delete_records(0, 0);  // empties the map and nothing else
    table.set_field(2, one);
    EXPECT_EQ(rows(), "2 -1 -1");
    EXPECT_EQ(table_of("Name:a | M1").getRowIndexByID(one), -1);
}

TEST(TagMatching, SetsOrAddsTags) {
    keldb table = table_of("n:a | *x | ab | *b | c");
    EXPECT_EQ(table.tag_matching_records(0), 0);  // no query: nothing happens
    EXPECT_EQ(text_of(table), "n:a | *x | ab | *b | c");
    dbrecord query(1);
    query.set_field(0, "b", false);
    table.set_query(&query);
    EXPECT_EQ(table.tag_matching_records(1), 2);
    EXPECT_EQ(text_of(table), "n:a | *x | *ab | *b | c");
    EXPECT_EQ(table.tag_matching_records(0), 2);
    EXPECT_EQ(text_of(table), "n:a | x | *ab | *b | c");
    query.set_field(0, "a", false);
    table.set_query(&query);
    table.set_show_tags_only(1);
    EXPECT_EQ(table.tag_matching_records(0), 1);  // of the visible rows
    table.set_show_tags_only(0);
    EXPECT_EQ(text_of(table), "n:a | x | *ab | b | c");
    EXPECT_EQ(table_of("n:a").tag_matching_records(0), 0);
}

TEST(TagAllDifferent, TagsOneOfEachValueInOrder) {
    const char* const rows[][2] = {
        {"v:a | x | y | x | | y", "v:a | *x | x | *y | y | *"},
        {"v:a | | |", "v:a |  |  |"},
        {"v:a | *b | A | *a", "v:a | *A | a | *b"},
        {"v:a | take 10 | take 2 | take 02", "v:a | *take 02 | *take 2 | *take 10"},
        {"v:a", "v:a"},
    };
    for (const auto& [before, after] : rows) {
        keldb table = table_of(before);
        table.set_show_tags_only(1);
        const int tagged = table.tag_all_different(0);
        EXPECT_EQ(text_of(table), after);
        EXPECT_EQ(tagged, table.get_num_tags());
        EXPECT_EQ(table.get_show_tags_only() + table.getSortFieldIdx(), 0);
    }
}

// The value before is remembered by 255 bytes: longer equal ones are not seen as equal.
TEST(TagAllDifferent, KnowsValuesOf255BytesApart) {
    for (const std::size_t size : {254U, 255U, 256U, 257U}) {
        keldb table = table_of("v:a | | |");
        const std::string value(size, 'x');
        for (unsigned row = 0; row < 3; ++row) table.setField(row, 0, String(value));
        EXPECT_EQ(table.tag_all_different(0), size <= 255 ? 1 : 3) << size;
    }
}

}  // namespace
