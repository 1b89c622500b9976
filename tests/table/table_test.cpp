// A table's fields, rows, tags and announcements. Tables are written as tests/testing/table_text.h says.
#include <gtest/gtest.h>

#include <climits>
#include <ctime>

#include "keldb/library/startup_settings.h"
#include "keldb/support/config_block.h"
#include "tests/testing/announcements.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::Announcements;
using testing_kit::table_of;
using testing_kit::text_of;

// --- Lifecycle and fields ---

TEST(TableLifecycle, FromDescriptorsToFreed) {
    const keldb none;
    EXPECT_EQ(none.get_valid(), 0);
    EXPECT_EQ(none.get_revision(), 1);
    const DBFieldDesc nothing[] = {{}, {"unseen", DBFieldTypes::text}};
    keldb empty(nothing);
    EXPECT_EQ(empty.get_num_fields(), 0U);
    EXPECT_EQ(empty.add_records(2), 0);
    EXPECT_EQ(empty.get_num_records(), 2U);
    EXPECT_EQ(keldb(static_cast<const DBFieldDesc*>(nullptr)).get_valid(), 1);

    const long long before = std::time(nullptr);
    const DBFieldDesc fields[] = {{"Na&me", DBFieldTypes::text}, {"tc", DBFieldTypes::timecode}, {}};
    keldb table(fields);
    EXPECT_EQ(text_of(table), "Name:a tc:t");
    EXPECT_GE(table.get_last_mod_time(), before);
    table.add_records(1);
    table.add_param("n", "v");
    table.set_fieldtype(0, DBFieldTypes::none);
    table.set_tag(0, 1);
    table.set_show_tags_only(1);
    table.free();
    EXPECT_EQ(text_of(table), "");
    EXPECT_EQ(table.get_num_records() + table.get_num_params(), 0U);
    EXPECT_EQ(table.get_valid() + table.is_error() + table.get_changed() + table.get_show_tags_only(), 0);
    EXPECT_EQ(table.addField({"again", DBFieldTypes::text}), 0U);
    EXPECT_EQ(table.add_records(1), 0);
    EXPECT_TRUE(table.ok());
}

TEST(TableFields, TakeAtMostWhatARecordCounts) {
    const keldb table(std::vector<DBFieldDesc>(70000, {"", DBFieldTypes::text}));
    EXPECT_EQ(table.get_num_fields(), 65535U);
    keldb full(table, 0);
    full.add_records(1);
    EXPECT_EQ(full.addField({"one more", DBFieldTypes::text}), 65535U);
    EXPECT_EQ(full.get_num_fields(), 65535U);
    EXPECT_TRUE(full.ok());
}

TEST(TableFields, LoseAmpersandsUnlessTheSettingSaysOtherwise) {
    const char* const rows[][3] = {
        {"A&B", "AB", "A&B"}, {"Sound & Vision", "Sound  Vision", "Sound & Vision"}, {"&", "", "&"}, {"x", "x", "x"}};
    for (const auto& [given, taken_out, kept] : rows) {
        for (const int setting : {1, -1, 0}) {
            kel::remove_fieldname_ampersands = setting;
            keldb table = table_of("a:a b:a");
            EXPECT_EQ(table.set_fieldname(1, given), 1);
            EXPECT_STREQ(table.get_fieldname(1), setting == 0 ? kept : taken_out);
            EXPECT_EQ(table.get_fieldnum("b"), -1);
        }
    }
    kel::remove_fieldname_ampersands = 1;
    keldb table = table_of("a:a b:a");
    EXPECT_EQ(table.set_fieldname(0, nullptr), 1);
    EXPECT_STREQ(table.get_fieldname(0), "");
    EXPECT_EQ(table.get_fieldnum(""), -1);
}

TEST(TableFields, RecordATypeThatIsNone) {
    keldb table = table_of("a:t b:a c:a");
    dberror error{9, 9, 9, 9};
    EXPECT_EQ(table.read_error_info(error), 0);
    EXPECT_EQ(error.kind, 9);
    EXPECT_EQ(table.set_fieldtype(99, DBFieldTypes::none), 0);
    EXPECT_EQ(table.is_error(), 1);
    EXPECT_EQ(table.set_fieldtype(0, DBFieldTypes::none), 1);
    EXPECT_EQ(table.read_error_info(error) + table.read_error_info(error), 2);
    EXPECT_TRUE(error.kind == 2 && error.index == 3 && error.extra1 == 0 && error.extra2 == 0);
    EXPECT_EQ(text_of(table), "a:a b:a c:a");
}

// --- Rows that go, and what is said about it ---

struct Deletion {
    unsigned start, count;
    const char* left;
    const char* announced;
};
const Deletion kDeletions[] = {
    {2, 1, "a b d e", "-2"}, {2, 100, "a b", "-2,3,4"}, {2, UINT_MAX, "a b", "-2,3,4"}, {0, 5, "", "-0,1,2,3,4"},
    {3, 2, "a b c", "-3,4"}, {5, 1, "a b c d e", ""},   {UINT_MAX, 2, "a b c d e", ""}, {1, 0, "a b c d e", ""},
};

std::string first_values(keldb& table) {
    std::string values;
    for (unsigned i = 0; i < table.get_num_records(); ++i) values += (i == 0 ? "" : " ") + std::string(table[i][0]);
    return values;
}

TEST(TableRows, AreDeletedAndAnnouncedByTheirNumbersBefore) {
    for (const Deletion& row : kDeletions) {
        SCOPED_TRACE(std::to_string(row.start) + "," + std::to_string(row.count));
        keldb table = table_of("n:a | a | b | c | d | e");
        Announcements said(table);
        table.delete_records(row.start, row.count);
        EXPECT_EQ(first_values(table), row.left);
        EXPECT_EQ(said.take(), row.announced);
        EXPECT_EQ(table.get_changed(), row.announced[0] != '\0');
    }
}

struct TaggedDeletion {
    const char* tags;  // of rows 0, 1, ...
    int result;
    const char* left;
    const char* announced;
};
const TaggedDeletion kTaggedDeletions[] = {
    {"1101", 3, "c", "-0,1 -1"}, {"0000", 0, "a b c d", ""},  {"1111", 4, "", "-0,1,2,3"},
    {"0210", 1, "a b d", "-2"},  {"1010", 2, "b d", "-0 -1"}, {"0011", 2, "a b", "-2,3"},
};

TEST(TableRows, TaggedOnesGoRunByRunForListenersAndAtOnceWithout) {
    for (const TaggedDeletion& row : kTaggedDeletions) {
        for (const bool listened : {true, false}) {
            SCOPED_TRACE(row.tags);
            keldb table = table_of("n:a | a | b | c | d");
            for (unsigned i = 0; i < 4; ++i) table.set_tag(i, row.tags[i] - '0');
            std::optional<Announcements> said;
            if (listened) said.emplace(table);
            EXPECT_EQ(table.delete_tagged_records(), row.result);
            EXPECT_EQ(first_values(table), row.left);
            EXPECT_EQ(listened ? said->take() : row.announced, row.announced);
            EXPECT_EQ(table.get_changed(), row.result > 0);
        }
    }
}

// --- Tags ---

TEST(TableTags, ShownAloneAreASnapshot) {
    keldb table = table_of("n:a | a | *b | c | *d");
    table.set_tag(3, 2);
    table.set_show_tags_only(7);
    EXPECT_EQ(table.get_show_tags_only(), 7);
    EXPECT_EQ(first_values(table), "b d");
    const int raw_of[] = {1, 3, -1}, shown_of[] = {-1, 0, -1, 1, -1};
    for (int i = 0; i < 3; ++i) EXPECT_EQ(table.get_raw_row(static_cast<unsigned>(i)), raw_of[i]);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(table.get_new_row(static_cast<unsigned>(i)), shown_of[i]);

    const Announcements silence(table);  // all of these are refused
    EXPECT_EQ(table.add_records(1), -1);
    EXPECT_EQ(table.delete_tagged_records(), -1);
    table.insert_records(0, 1);
    table.delete_records(0, 1);
    table.set_all_tags(0);  // reaches the visible ones alone, and hides nothing yet
    EXPECT_EQ(first_values(table), "b d");
    EXPECT_EQ(table.get_num_tags(), 0);
    table.invert_all_tags();  // reaches all
    table.set_tag(1, 0);      // of d
    table.set_show_tags_only(7);
    EXPECT_EQ(first_values(table), "a b c");
    table.set_all_tags(0);
    table.set_show_tags_only(1);
    EXPECT_EQ(table.get_num_records(), 0U);
    EXPECT_EQ(table.get_record(0), nullptr);
    EXPECT_EQ(table.get_new_row(0), -1);
    table.set_show_tags_only(0);
    EXPECT_EQ(text_of(table), "n:a | a | b | c | d");
    EXPECT_EQ(table.get_raw_row(3) + table.get_new_row(2), 5);
}

// --- Update brackets ---

// b and e open and close a bracket, u0 hands row 0's labels over, any other word queues that identifier.
TEST(TableUpdates, AnnounceTheIdentifiersOfTheOutermostBracket) {
    struct Row {
        const char* table;
        const char* script;
        const char* announced;
    };
    const char* const log = "name:a notes:a Cookie:a | n,x,M1 | n,y,I7 | n,z, | n,w,Interview 1";
    const Row rows[] = {
        {log, "b A b B e", ""},
        {log, "b A b B e e", "!A,B"},
        {log, "A e", ""},
        {log, "b e", ""},
        {log, "A b e", ""},
        {log, "b u0 A A e", "!M1,A,A"},
        {log, "b u1 u2 e", ""},
        {log, "b u3 e", "!Interview 1"},
        {log, "b u9 e", ""},
        {"name:a Cookie:a | n,M1", "b u0 e", ""},  // none of the label fields is there
        {"notes:a Cookie:a | n,M1", "b u0 e", ""},
        {"name:a notes:a | n,x", "b u0 e", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.script);
        keldb table = table_of(row.table);
        Announcements said(table);
        configb block;
        for (const std::string& word : testing_kit::pieces(row.script, ' ')) {
            if (word == "b") {
                table.beginUpdate();
            } else if (word == "e") {
                table.endUpdate();
            } else if (word[0] == 'u') {
                table.update(&block, word[1] - '0');
            } else {
                table.addToUpdate(Cookie(word.c_str(), false));
            }
        }
        EXPECT_EQ(said.take(), row.announced);
    }
    keldb table = table_of(log);
    configb block;
    EXPECT_TRUE(table.update(&block, 1));
    EXPECT_FALSE(table.update(&block, -1) || table.update(&block, 4) || table.update(nullptr, 0));
}

}  // namespace
