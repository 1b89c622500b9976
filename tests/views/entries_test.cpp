// Entries of a view, what becomes of them when rows below go, and what is said about it; worked out by hand. The model
// (tests/model) holds the same by random programs.
#include <gtest/gtest.h>

#include <optional>

#include "tests/testing/announcements.h"
#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

TEST(ViewTags, FollowTheRules) {
    const struct {
        const char* shows;
        void (*act)(ODBViewRep& v);
        const char* left;
        const char* sent;
    } kCases[] = {
        {"0 2 1 0", [](auto& v) { v.tagDuplicatesOrdered(0); }, "0 2* 1 0", ""},
        {"1* 0 4 2* 0", [](auto& v) { v.tagDuplicates(0); }, "1 0 4 2* 0*", ""},
        {"1 0", [](auto& v) { v.tagDuplicates(9); }, "1 0*", ""},  // of a field that is not there: all equal
        {"1 0 2 3*", [](auto& v) { v.tag_all_different(0); }, "1* 0* 2 3*", ""},
        {"1* 9*", [](auto& v) { v.tagBaseFromTags(), v.displayAllRecordsWithBaseTagStatus(); }, "0 1* 2 3* 4", "-0,1"},
        {"0", [](auto& v) { v.setupViewTagsFromKeldbTagField(); }, "0* 1 2 3* 4", "-0"},
        {"0* 1* 2 3* 4", [](auto& v) { v.removeTagged(); }, "2 4", "-0,1 -1"},
        {"1* 0 2*", [](auto& v) { v.deleteTagged(); }, "0", "-0 ! -1 !"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.shows);
        keldb table = table_of("Name:a Tag:a | a,1 | *b, | a,0 | *d,7 | ,x");
        ODBViewRep view(&table);  // nobody holds it, and it lives on
        show(view, c.shows);
        Announcements sent(view);
        c.act(view);
        EXPECT_EQ(rows(view), c.left);
        EXPECT_EQ(sent.take(), c.sent);
    }
}

TEST(ViewEntries, OfASetOfIdentifiersAndOfNothing) {
    keldb table = table_of("Name:a Cookie:a | a,M0 | b,M1 | c,M2 | d,M3"), other = lettered_table(2);
    const ODBView view(&table), whole = view_showing(table, "0 1"), elsewhere = view_showing(other, "1");
    CookieSet ids;
    for (const char* id : {"M3", "M0", "x", "M3"}) ids.add(Cookie(id, false));
    EXPECT_EQ(view->displayRecordsAt(ids, 0), 2);
    for (const ODBView& from : {ODBView(), elsewhere, subview_showing(whole, "1")})
        EXPECT_EQ(view->displayAllFromAt(from, 0), 0);
    EXPECT_FALSE(view->displayMatchAt("Name", nullptr, 0) || view->displayMatchAt(nullptr, "a", 0));
    EXPECT_EQ(rows(*view), "0 3");
}

TEST(ViewPropagation, RepairsAndAnnouncesDeletionsBelow) {
    const struct {
        const char* shows;  // of a table of ten rows
        const char* above;  // positions in that view
        unsigned first, count;
        const char* left;  // of both
        const char* sent;
    } kDeletions[] = {
        {"0 2* 4 6", "3 1* 0", 2, 2, "0 2 4 / 2 0", "-1 ! / -1 !"},      // row 2 is shown, row 3 is not
        {"5 1", "1 0", 0, 1, "4 0 / 1 0", " / "},                        // nothing shown is lost: in silence
        {"3 3", "0 1 1", 3, 1, " / ", "-0 -0 ! / -0 ! -0 -0 !"},         // a row shown twice is lost twice
        {"7 8 9* 3*", "2 3*", 7, 3, "3* / 0*", "-0 -0 -0 ! / -0 !"},     // the view's order does not matter
        {"6 5 4", "0 1 2", 4, 2, "4 / 0", "-2 -1 ! / -2 ! -1 !"},        // as if they went one by one
        {"1 9 2", "2 2* 0", 0, 10, " / ", "-0 -1 -0 ! / -2 ! -0 -0 !"},  // in the order of the base
        {"0 9 12", "2 5 1", 9, 1, "0 11 / 1 4", "-1 ! / -2 !"},          // those without a record move as well
    };
    for (const auto& d : kDeletions) {
        for (const bool heard : {true, false}) {  // unheard, all goes at once
            SCOPED_TRACE(std::string(d.shows) + " / " + d.above);
            keldb table = lettered_table(10);
            const ODBView view = view_showing(table, d.shows), above = subview_showing(view, d.above);
            std::optional<Announcements> sent, sent_above;
            if (heard) sent.emplace(*view), sent_above.emplace(*above);
            table.delete_records(d.first, d.count);
            EXPECT_EQ(rows(*view) + " / " + rows(*above), d.left);
            EXPECT_EQ(heard ? sent->take() + " / " + sent_above->take() : d.sent, d.sent);
        }
    }
}

TEST(ViewPropagation, RemovalBelowReachesWhatStandsAbove) {
    keldb table = lettered_table(10);
    const ODBView view = view_showing(table, "9 8 7 6"), above = subview_showing(view, "3 2 1 0");
    Announcements sent(*view), sent_above(*above), sent_by_table(table);
    view->remove(1, 2);
    EXPECT_EQ(rows(*view) + " / " + rows(*above), "9 6 / 1 0");
    EXPECT_EQ(sent.take() + " / " + sent_above.take(), "-1,2 / -2 -1 !");
}

TEST(ViewPropagation, TakesAMessageFromElsewhere) {  // number by number, for this view alone
    const char* const kMessages[][3] = {
        {"2 3 ", "0 2 4", "-1 !"}, {"", "0 2 4 6", ""},       {"9 ", "0 2 4 6", ""},
        {"0 2", "2 4", "-0 -0 !"}, {"4 2 ", "0 1 4", "-2 !"}, {"x 6", "1 3", "-0 -2 !"},
    };
    for (const auto& [text, left, said] : kMessages) {
        keldb table = lettered_table(10);
        const ODBView view = view_showing(table, "0 2 4 6");
        Announcements sent(*view);
        EXPECT_EQ(view->recordsDeletedNotify(NotifyMsg(String(text), nullptr)), 0);
        EXPECT_EQ(rows(*view) + " / " + sent.take(), std::string(left) + " / " + said);
    }
}

}  // namespace
