// When a base loses rows, a view keeps naming the same records and says what it dropped. The model test (tests/model)
// holds the same by random programs; these rows were worked out by hand.
#include <gtest/gtest.h>

#include "tests/testing/announcements.h"
#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

// A view of a table of ten rows, and a view on it; what both show and say after the table lost some rows.
struct Deletion {
    const char* shows;
    const char* above;  // positions in that view
    unsigned first, count;
    const char* left;
    const char* sent;
    const char* left_above;
    const char* sent_above;
};

const Deletion kDeletions[] = {
    {"0 2* 4 6", "3 1* 0", 2, 2, "0 2 4", "-1 !", "2 0", "-1 !"},      // row 2 is shown, row 3 is not
    {"5 1", "1 0", 0, 1, "4 0", "", "1 0", ""},                        // nothing shown is lost: in silence
    {"3 3", "0 1 1", 3, 1, "", "-0 -0 !", "", "-0 ! -0 -0 !"},         // a row shown twice is lost twice
    {"7 8 9* 3*", "2 3*", 7, 3, "3*", "-0 -0 -0 !", "0*", "-0 !"},     // the order of the view does not matter
    {"6 5 4", "0 1 2", 4, 2, "4", "-2 -1 !", "0", "-2 ! -1 !"},        // each number as if they went one by one
    {"1 9 2", "2 2* 0", 0, 10, "", "-0 -1 -0 !", "", "-2 ! -0 -0 !"},  // rows go in the order of the base
    {"0 9 12", "2 5 1", 9, 1, "0 11", "-1 !", "1 4", "-2 !"},          // entries without a record move as well
};

TEST(ViewPropagation, RepairsAndAnnouncesDeletionsBelow) {
    for (const Deletion& d : kDeletions) {
        SCOPED_TRACE(std::string(d.shows) + " / " + d.above);
        keldb table = lettered_table(10);
        const ODBView view = view_showing(table, d.shows), above = subview_showing(view, d.above);
        Announcements sent(*view), sent_above(*above);
        table.delete_records(d.first, d.count);
        EXPECT_EQ(rows(*view), d.left);
        EXPECT_EQ(sent.take(), d.sent);
        EXPECT_EQ(rows(*above), d.left_above);
        EXPECT_EQ(sent_above.take(), d.sent_above);
    }
}

TEST(ViewPropagation, SilentDeletionsEndAlike) {  // nobody foreign listens: all in one go
    for (const Deletion& d : kDeletions) {
        keldb table = lettered_table(10);
        const ODBView view = view_showing(table, d.shows), above = subview_showing(view, d.above);
        table.delete_records(d.first, d.count);
        EXPECT_EQ(rows(*view) + " / " + rows(*above), std::string(d.left) + " / " + d.left_above);
    }
}

TEST(ViewPropagation, RemovalBelowReachesWhatStandsAbove) {
    keldb table = lettered_table(10);
    const ODBView view = view_showing(table, "9 8 7 6"), above = subview_showing(view, "3 2 1 0");
    Announcements sent(*view), sent_above(*above), sent_by_table(table);
    view->remove(1, 2);
    EXPECT_EQ(rows(*view), "9 6");
    EXPECT_EQ(sent.take(), "-1,2");
    EXPECT_EQ(rows(*above), "1 0");
    EXPECT_EQ(sent_above.take(), "-2 -1 !");
    EXPECT_EQ(table.get_num_records(), 10U);
}

TEST(ViewPropagation, AnAttachedElsewhereViewNoLongerFollows) {
    keldb table = lettered_table(4), other = lettered_table(4);
    const ODBView view = view_showing(table, "0 1"), above = subview_showing(view, "0 1");
    above->odb(&other);
    EXPECT_FALSE(above->isSubview());
    show(*above, "0 1");
    table.delete_records(0, 4);
    view->displayAllRecords();
    EXPECT_EQ(rows(*above), "0 1");
    other.delete_records(0, 1);
    EXPECT_EQ(rows(*above), "0");
}

// A message handed to the handler is applied number by number, and by this view alone.
struct Message {
    const char* text;
    const char* left;
    const char* sent;
};
const Message kMessages[] = {
    {"2 3 ", "0 2 4", "-1 !"}, {"", "0 2 4 6", ""},       {"9 ", "0 2 4 6", ""},
    {"0 2", "2 4", "-0 -0 !"}, {"4 2 ", "0 1 4", "-2 !"}, {"x 6", "1 3", "-0 -2 !"},
};

TEST(ViewPropagation, TakesAMessageFromElsewhere) {
    for (const Message& m : kMessages) {
        SCOPED_TRACE(m.text);
        keldb table = lettered_table(10);
        const ODBView view = view_showing(table, "0 2 4 6");
        Announcements sent(*view);
        EXPECT_EQ(view->recordsDeletedNotify(NotifyMsg(String(m.text), nullptr)), 0);
        EXPECT_EQ(rows(*view), m.left);
        EXPECT_EQ(sent.take(), m.sent);
    }
}

}  // namespace
