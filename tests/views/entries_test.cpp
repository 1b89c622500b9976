// Showing rows in a view, and taking them out: one row for each rule, as rows of text (views_text.h).
#include <gtest/gtest.h>

#include <functional>

#include "tests/testing/announcements.h"
#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

std::string show_result(long result) { return std::to_string(result); }
CookieVec ids(std::initializer_list<const char*> texts) {
    CookieVec list;
    for (const char* text : texts) list.add(Cookie(text, false));
    return list;
}

// On a view of a table with the records of kTable, tags of the table on rows 1 and 3.
constexpr const char* kTable = "Name:a Cookie:a Tag:a | a,M0,1 | *b,M1, | a,M2,0 | *d,M3,7 | ,M1,x";

struct Case {
    const char* what;
    const char* shows;
    std::function<std::string(ODBViewRep&)> act;  // its result as text
    const char* result;
    const char* left;
    const char* sent;
    const char* table;  // the names in the table afterwards
};

constexpr const char* kWhole = "a b a d ";

const Case kCases[] = {
    {"rows in the middle, tags stay where they were", "0* 1*",
     [](ODBViewRep& v) { return show_result(v.displayRecordsAt(10, 3, 1)); }, "3", "0* 10 11 12 1*", "", kWhole},
    {"a place beyond the end is the end", "0", [](ODBViewRep& v) { return show_result(v.displayRecordsAt(1, 1, 99)); },
     "1", "0 1", "", kWhole},
    {"a place below 0 is the front", "0", [](ODBViewRep& v) { return show_result(v.displayRecordsAt(1, 1, -9)); }, "1",
     "1 0", "", kWhole},
    {"no rows", "0", [](ODBViewRep& v) { return show_result(v.displayRecordsAt(1, -1, 0)); }, "0", "0", "", kWhole},
    {"all: the old ones are announced", "3* 1", [](ODBViewRep& v) { return v.displayAllRecords(), ""; }, "",
     "0 1 2 3 4", "-0,1", kWhole},
    {"all, on an empty view", "", [](ODBViewRep& v) { return v.displayAllRecords(), ""; }, "", "0 1 2 3 4", "", kWhole},
    {"what the base has tagged", "0*", [](ODBViewRep& v) { return v.displayTaggedRecordsAt(0), ""; }, "", "1 3 0*", "",
     kWhole},
    {"a match: the first row", "4", [](ODBViewRep& v) { return show_result(v.displayMatchAt("NAME", "a", 1)); }, "1",
     "4 0", "", kWhole},
    {"no match, by another case", "4", [](ODBViewRep& v) { return show_result(v.displayMatchAt("Name", "A", 1)); }, "0",
     "4", "", kWhole},
    {"identifiers, in their order, unknown ones left out", "4",
     [](ODBViewRep& v) {
         return show_result(v.displayRecordsAt(ids({"M3", "x", "M1", "M3"}), 0));
     },
     "3", "3 1 3 4", "", kWhole},
    {"a set of identifiers, in the order of the set", "",
     [](ODBViewRep& v) {
         CookieSet set;
         for (const char* id : {"M3", "M0", "M3"}) set.add(Cookie(id, false));
         return show_result(v.displayRecordsAt(set, 0));
     },
     "2", "0 3", "", kWhole},
    {"from another view: what is not shown yet, once", "2* 0",
     [](ODBViewRep& v) { return show_result(v.displayAllFromAt(view_showing(*v.odb(), "4 2 9 4 1"), 1)); }, "2",
     "2* 4 1 0", "", kWhole},
    {"from a view on a view: nothing", "2",
     [](ODBViewRep& v) {
         const ODBView other = view_showing(*v.odb(), "4 1");
         return show_result(v.displayAllFromAt(subview_showing(other, "0"), 1));
     },
     "0", "2", "", kWhole},
    {"from a view on another table: nothing", "2",
     [](ODBViewRep& v) {
         keldb other = table_of(kTable);
         return show_result(v.displayAllFromAt(view_showing(other, "1"), 0));
     },
     "0", "2", "", kWhole},
    {"from no view", "2", [](ODBViewRep& v) { return show_result(v.displayAllFromAt(ODBView(), 0)); }, "0", "2", "",
     kWhole},
    {"clear is silent", "2 1", [](ODBViewRep& v) { return v.clear(), ""; }, "", "", "", kWhole},
    {"tags from the field Tag", "0", [](ODBViewRep& v) { return v.setupViewTagsFromKeldbTagField(), ""; }, "",
     "0* 1 2 3* 4", "-0", kWhole},
    {"tags from the base", "", [](ODBViewRep& v) { return v.displayAllRecordsWithBaseTagStatus(), ""; }, "",
     "0 1* 2 3* 4", "", kWhole},

    {"remove nothing, inside", "3* 1", [](ODBViewRep& v) { return v.remove(0, 0), ""; }, "", "3* 1", "?", kWhole},
    {"remove outside", "3* 1", [](ODBViewRep& v) { return v.remove(2, 1), v.remove(-1, 1), ""; }, "", "3* 1", "",
     kWhole},
    {"remove more than there is", "3* 1", [](ODBViewRep& v) { return v.remove(1, 9), ""; }, "", "3*", "-1", kWhole},
    {"remove tagged: run by run", "0* 1* 2 3* 4", [](ODBViewRep& v) { return show_result(v.removeTagged()); }, "3",
     "2 4", "-0,1 -1", kWhole},
    {"remove untagged, all", "0 1", [](ODBViewRep& v) { return show_result(v.removeNonTagged()); }, "2", "", "-0,1",
     kWhole},

    {"delete: one deletion for each run", "0 1 3 2", [](ODBViewRep& v) { return v.deleteRecords(0, 4), ""; }, "", "",
     "-0 -0 ! -0 ! -0 !", ""},
    {"delete a row shown twice", "1 1* 2", [](ODBViewRep& v) { return v.deleteRecords(0, 1), ""; }, "", "1", "-0 -0 !",
     "a a d "},
    {"delete what was chosen, and no more", "1 1 2", [](ODBViewRep& v) { return v.deleteRecords(0, 2), ""; }, "", "1",
     "-0 -0 !", "a a d "},
    {"delete past an entry without a record", "9 2", [](ODBViewRep& v) { return v.deleteRecords(0, 2), ""; }, "", "8",
     "-1 !", "a b d "},
    {"delete beyond the end", "0 3", [](ODBViewRep& v) { return v.deleteRecords(1, 10), ""; }, "", "0", "-1 !",
     "a b a "},
    {"delete tagged: neighbours in the base, not in the view", "1* 0 2*",
     [](ODBViewRep& v) { return show_result(v.deleteTagged()); }, "2", "0", "-0 ! -1 !", "a d "},

    {"insert before an entry", "0 1* 2", [](ODBViewRep& v) { return v.insertBlankRecords(1, 2), ""; }, "", "0 1 2 3* 4",
     "", "a   b a d "},
    {"insert at the end", "3", [](ODBViewRep& v) { return v.insertBlankRecords(9, 1), ""; }, "", "3 5", "",
     "a b a d  "},
    {"insert before an entry without a record", "9", [](ODBViewRep& v) { return v.insertBlankRecords(0, 1), ""; }, "",
     "5 10", "", "a b a d  "},
};

TEST(ViewEntries, AreShownAndTakenOutAsTheRulesSay) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        keldb table = table_of(kTable);
        const ODBView view = view_showing(table, c.shows);
        Announcements sent(*view);
        EXPECT_EQ(c.act(*view), c.result);
        EXPECT_EQ(rows(*view), c.left);
        EXPECT_EQ(sent.take(), c.sent);
        const ODBView whole(&table);
        whole->displayAllRecords();
        EXPECT_EQ(names(*whole), c.table);
    }
}

// A subview's match and identifiers name positions of its base view; entries leave the view at the bottom.
TEST(ViewEntries, OfASubviewArePositionsInItsBaseView) {
    keldb table = table_of(kTable);
    const ODBView view = view_showing(table, "3 2 1"), above = subview_showing(view, "");
    EXPECT_TRUE(above->displayMatchAt("Name", "a", 0));
    EXPECT_EQ(above->displayRecordsAt(ids({"M1", "M0"}), 9), 1);
    EXPECT_EQ(rows(*above), "1 2");
    EXPECT_EQ(names(*above), "a b");
    above->set_tag(1, 1);
    EXPECT_EQ(above->removeTagged(), 1);
    EXPECT_EQ(rows(*view), "3 2");
    above->deleteRecords(0, 1);
    EXPECT_EQ(names(*view), "d");
    EXPECT_EQ(table.get_num_records(), 4U);
}

TEST(ViewEntries, TableThatShowsTagsOnlyRefusesInsertions) {
    keldb table = table_of(kTable);
    table.set_show_tags_only(1);
    const ODBView view(&table);
    view->displayAllRecords();
    view->insertBlankRecords(0, 2);
    EXPECT_EQ(view->add_records(2), -1);
    view->deleteRecords(0, 2);
    EXPECT_EQ(names(*view), "b d");
    table.set_show_tags_only(0);
    EXPECT_EQ(table.get_num_records(), 5U);
}

// --- Tags ---

struct TagCase {
    const char* what;
    const char* shows;
    std::function<std::string(ODBViewRep&)> act;
    const char* result;
    const char* left;
};
const TagCase kTagCases[] = {
    {"duplicates of the entry before, ordered", "0 2 1 0",
     [](ODBViewRep& v) { return show_result(v.tagDuplicatesOrdered(0)); }, "1", "0 2* 1 0"},
    {"duplicates in any order; others are untagged", "1* 0 4 2* 0",
     [](ODBViewRep& v) { return show_result(v.tagDuplicates(0)); }, "2", "1 0 4 2* 0*"},
    {"one of each", "1 0 2 3*", [](ODBViewRep& v) { return show_result(v.tag_all_different(0)); }, "3", "1* 0* 2 3*"},
    {"by a field that is not there: all equal", "1 0", [](ODBViewRep& v) { return show_result(v.tagDuplicates(9)); },
     "1", "1 0*"},
    {"of one entry", "1*", [](ODBViewRep& v) { return show_result(v.tagDuplicates(0)); }, "0", "1"},
    {"to the base", "1 0* 9*", [](ODBViewRep& v) { return v.tagBaseFromTags(), show_result(v.odb()->get_num_tags()); },
     "2", "1 0* 9*"},
    {"inverted", "1 0*", [](ODBViewRep& v) { return v.invertAllTags(), show_result(v.countTags()); }, "1", "1* 0"},
};

TEST(ViewTags, FollowTheRules) {
    for (const TagCase& c : kTagCases) {
        SCOPED_TRACE(c.what);
        keldb table = table_of(kTable);
        const ODBView view = view_showing(table, c.shows);
        EXPECT_EQ(c.act(*view), c.result);
        EXPECT_EQ(rows(*view), c.left);
        EXPECT_EQ(view->refs(), 1U);
    }
}

TEST(ViewTags, BaseTagsNeedTheFieldTag) {
    keldb table = table_of("Name:a | *a | b");
    const ODBView view(&table);
    view->displayAllRecordsWithBaseTagStatus();
    EXPECT_EQ(rows(*view), "0 1");
}

TEST(ViewTags, SubviewShowsWhatIsTaggedNow) {
    keldb table = lettered_table(5);
    const ODBView view = view_showing(table, "4 2* 0"), above(view, true);
    view->tagAll(true);
    EXPECT_EQ(rows(*above), "1");
    EXPECT_EQ(names(*above), "c");
    EXPECT_EQ(above->baseIndex(0), 2);
}

}  // namespace
