// Fields that change under records, copies of tables, assignment, and records taken from other tables.
#include <gtest/gtest.h>

#include "keldb/search/record_order.h"
#include "tests/testing/announcements.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::Announcements;
using testing_kit::table_of;
using testing_kit::text_of;

struct Inside : keldb {
    static bool in_range_pair(const keldb& table, unsigned field) {
        return (table.*&Inside::isSpecialLabelField)(field);
    }
};

// +name:t adds a field, -name takes one out.
struct Schema {
    const char* table;
    const char* step;
    const char* left;
};
const Schema kSchemas[] = {
    {"a:a b:a | 1,2 | *,", "+End~time:t", "a:a b:a End~time:t | 1,2, | *,,"},
    {"a:a b:a | 1,2", "+B:t", "a:a b:a | 1,2"},
    {"a:a b:a | 1,2", "-A", "b:a | 2"},
    {"a:a b:a | 1,2", "-c", "a:a b:a | 1,2"},
    {"a:a | 1", "-a", " |"},
    {"a:a | 1", "+:a", "a:a :a | 1,"},
};

TEST(TableSchema, ChangesUnderRecords) {
    for (const Schema& row : kSchemas) {
        SCOPED_TRACE(std::string(row.table) + row.step);
        keldb table = table_of(row.table);
        const Announcements silence(table);
        if (row.step[0] == '+') {
            const DBFieldDesc field = testing_kit::fields_of(row.step + 1)[0];
            const int known = table.get_fieldnum(field.name);
            const unsigned count = table.get_num_fields();
            EXPECT_EQ(table.addField(field), known < 0 ? count : static_cast<unsigned>(known));
        } else {
            table.removeField(row.step + 1);
        }
        table.setFieldWidth(0, 9);
        EXPECT_EQ(text_of(table), row.left);
        EXPECT_EQ(table.get_changed(), 0);
        EXPECT_TRUE(table.ok());
    }
}

// A source with all that a copy must leave behind.
void prepare(keldb& source, int* keys) {
    source.add_param("Name", "clip");
    source.add_param("keldb", "Rev 9");
    source.set_filename(L"/nowhere");
    source.set_fieldtype(99, DBFieldTypes::none);
    source.set_sortfields(keys);
    source.set_sort_offset(3);
    const dbrecord wanted(source[0]);
    source.set_query(const_cast<dbrecord*>(&wanted));
    source[0].set_changed(1);
}

const char* const kSource = "Name:a Start~time:t Cookie:a | b,10,M1 | *a,09,M2 | *c,,M3";

TEST(TableCopies, TakeLayoutParametersAndShownRecords) {
    int keys[] = {1, -1};
    for (const bool tags_only : {false, true}) {
        keldb source = table_of(kSource);
        prepare(source, keys);
        source.set_show_tags_only(tags_only);
        DBFieldDesc ignored[] = {{"x", DBFieldTypes::text}, {}};
        keldb with(source), without(source, 0), by_fields(source, ignored);
        const std::string fields = "Name:a Start~time:t Cookie:a";
        const std::string rows = std::string(tags_only ? "" : " | b,10,M1") + " | a,09,M2 | c,,M3";
        EXPECT_EQ(text_of(with), fields + rows);
        EXPECT_EQ(text_of(by_fields), fields + rows);
        EXPECT_EQ(text_of(without), fields);
        EXPECT_TRUE(Inside::in_range_pair(by_fields, 1));
        for (keldb* copy : {&with, &without, &by_fields}) {
            SCOPED_TRACE(copy == &with ? "with" : copy == &without ? "without" : "by fields");
            const bool parameters = copy != &by_fields;
            EXPECT_EQ(copy->get_num_params(), parameters ? 2U : 0U);
            EXPECT_EQ(copy->get_changed(), parameters ? 1 : 0);
            EXPECT_STREQ(copy->get_param_val("KELDB"), parameters ? "Rev 1" : nullptr);
            EXPECT_EQ(copy->get_valid(), 1);
            EXPECT_EQ(copy->is_error() + copy->get_show_tags_only() + copy->get_num_tags(), 0);
            EXPECT_EQ(copy->get_filename(), WString());
            EXPECT_EQ(copy->match_record(0), -1);  // no query
            EXPECT_EQ(copy->getSortFieldIdx(), 0);
            copy->sortPrepare(1, 0);
            EXPECT_EQ(kel::sort_state().offset + kel::sort_state().keys[0], 0);
            for (unsigned i = 0; i < copy->get_num_records(); ++i) EXPECT_EQ((*copy)[i].get_changed(), 0);
            EXPECT_TRUE(copy->ok());
            copy->set_fieldname(0, "other");
            copy->add_records(1);
        }
        EXPECT_EQ(source.get_num_records(), tags_only ? 2U : 3U);
        EXPECT_EQ(source.get_fieldnum("Name"), 0);
    }
}

TEST(TableAssignment, TakesEverythingAndSharesNothingButTheCallersKeys) {
    int keys[] = {2, -1};
    keldb target = table_of("x:a | 1");
    Announcements kept(target);
    {
        keldb source = table_of(kSource);
        prepare(source, keys);
        source.set_show_tags_only(1);
        source.beginUpdate();
        source.addToUpdate(Cookie("M1", false));
        Announcements not_copied(source);
        target = source;
        EXPECT_EQ(text_of(target), text_of(source));
        source.set_field(0, 0, "changed later");
        source.set_fieldname(0, "changed too");
    }
    EXPECT_EQ(text_of(target), "Name:a Start~time:t Cookie:a | *a,09,M2 | *c,,M3");
    EXPECT_STREQ(target.get_param_val("name"), "clip");
    EXPECT_EQ(target.get_filename(), WString(L"/nowhere"));
    EXPECT_TRUE(target.is_error() && target.get_changed() && target.get_fieldnum("name") == 0);
    EXPECT_EQ(target.match_record(0), 0);
    EXPECT_EQ(target.getRowIndexByID(Cookie("M3", false)), 1);
    target.endUpdate();
    EXPECT_EQ(kept.take(), "!M1");
    target.set_show_tags_only(0);
    EXPECT_EQ(target[0].get_changed() * 2 + target[1].get_changed(), 2);
    target.sort(-1, 0);  // by the caller's list
    EXPECT_EQ(text_of(target), "Name:a Start~time:t Cookie:a | *c,,M3 | *a,09,M2 | b,10,M1");
    EXPECT_TRUE(target.ok());
}

TEST(TableAssignment, OfOwnKeysAndOfItself) {
    keldb target;
    {
        keldb source = table_of(kSource);
        source.set_sortfield(1);
        target = source;
    }
    target.sort(1, 0);  // the source's own list is gone
    EXPECT_EQ(text_of(target), "Name:a Start~time:t Cookie:a | *a,09,M2 | b,10,M1 | *c,,M3");
    target.set_show_tags_only(1);
    const std::string before = text_of(target);
    target = static_cast<const keldb&>(target);
    EXPECT_EQ(text_of(target), before);
    target = keldb();
    EXPECT_EQ(text_of(target), "");
    EXPECT_EQ(target.get_valid(), 0);
    EXPECT_TRUE(target.ok());
}

TEST(TableMerging, AppendsByFieldNameAndConvertsTimecodes) {
    const struct {
        const char* table;
        const char* other;
        int result;
        const char* left;
    } rows[] = {
        {"tc:t notes:a", "name:a tc:T | n,10000005 | m,10000005;", 1, "tc:t notes:a | 10:00:00:05, | 10:00:00;05,"},
        {"TC:T", "tc:t | 10:00:00:05 | 10:00:00;05 | soon |", 1, "TC:T | 10000005 | 10000005; | soon |"},
        {"tc:t", "tc:a | 10000005", 1, "tc:t | 10000005"},
        {"tc:T", "tc:T | 10:00:00:05", 1, "tc:T | 10:00:00:05"},
        {"a:a | *1", "b:a | 2", 0, "a:a | *1"},
        {"a:a | *1", "a:a", 1, "a:a | *1"},
        {":a a:a", ":a a:a | x,y", 1, ":a a:a | ,y"},  // a field without a name has no counterpart
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.table);
        keldb table = table_of(row.table), other = table_of(row.other);
        EXPECT_EQ(table.merge_all_matching(&other), row.result);
        EXPECT_EQ(text_of(table), row.left);
        EXPECT_TRUE(table.ok());
    }
    keldb table = table_of("a:a b:a | *1,x | 2,y");
    EXPECT_EQ(table.merge_all_matching(&table), 1);
    EXPECT_EQ(text_of(table), "a:a b:a | *1,x | 2,y | 1,x | 2,y");
    EXPECT_EQ(table.merge_all_matching(nullptr), 0);
    keldb shown = table_of("a:a | *1 | 2"), wider = table_of("a:a z:a");
    shown.set_show_tags_only(1);
    EXPECT_EQ(shown.merge_all_matching(&table), 1);
    EXPECT_EQ(shown.get_num_records(), 1U);
    EXPECT_EQ(wider.merge_all_matching(&shown), 1);  // what the other one shows
    EXPECT_EQ(text_of(wider), "a:a z:a | 1,");
}

}  // namespace
