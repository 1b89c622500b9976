// The cursor over a view, and a view written to a file or turned into a table.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "keldb/support/text_file.h"
#include "keldb/views/odb_view_cursor.h"
#include "tests/testing/announcements.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

// Steps written as letters: + forward, - back, r remove, and digits for set_index; after each the position is noted.
struct Walk {
    const char* shows;
    bool tags_only;
    const char* steps;
    const char* positions;  // the first one before any step
    const char* left;
};
const Walk kWalks[] = {
    {"4 3 2* 1", true, "++--", "2 -1 2 -1 2", "4 3 2* 1"},
    {"4 3", false, "+++--", "0 1 -1 0 -1 1", "4 3"},
    {"", false, "+-r", "-1 -1 -1 -1", ""},
    {"4", true, "+-", "-1 -1 -1", "4"},
    {"4 3 2", false, "1r", "0 1 1", "4 2"},
    {"4 3 2", false, "2r-r", "0 2 -1 1 -1", "4"},
    {"4 3* 2", true, "0+5r", "1 0 1 -1 -1", "4 3* 2"},
};

TEST(ViewCursor, Walks) {
    for (const Walk& walk : kWalks) {
        SCOPED_TRACE(std::string(walk.shows) + " " + walk.steps);
        keldb table = lettered_table(5);
        const ODBView view = view_showing(table, walk.shows);
        ODBViewCursor cursor(view, walk.tags_only);
        std::string positions = std::to_string(cursor.index());
        for (const char* step = walk.steps; *step; ++step) {
            if (*step == '+')
                ++cursor;
            else if (*step == '-')
                --cursor;
            else if (*step == 'r')
                cursor.remove();
            else
                cursor.set_index(*step - '0');
            positions += " " + std::to_string(cursor.index());
        }
        EXPECT_EQ(positions, walk.positions);
        EXPECT_EQ(rows(*view), walk.left);
        EXPECT_EQ(view->refs(), 2U);
        EXPECT_EQ(*cursor, view[cursor.index()]);
    }
}

// On a view of a to e, with an entry without a record between; from a position, the result being the new one.
struct Search {
    const char* shows;
    int from;
    char how;  // f: findField, s: findFieldSorted, r: find the record of the table row
    const char* wanted;
    int found;
};
const Search kSearches[] = {
    {"0 1 2 3 4", -1, 's', "D", 3},  {"0 1 2 3 4", 3, 's', "b", -1}, {"0 1 2 3 4", 3, 's', "d", 3},
    {"0 1 2 3 4", -1, 's', "x", -1}, {"", -1, 's', "a", -1},         {"0 1 2 3 4", 0, 'f', "C", 2},
    {"0 1 2 3 4", 2, 'f', "a", -1},  {"0 1 2 3 4", 2, 'f', "c", 2},  {"0 1 2 3 4", -1, 'f', "a", -1},
    {"0 1* 2", 0, 'f', "c", 2},      {"4 3 0", 1, 'r', "0", 2},      {"4 9 0", 0, 'r', "0", -1},
    {"4 3 0", 1, 'r', "1", -1},
};

TEST(ViewCursor, Searches) {
    for (const Search& s : kSearches) {
        SCOPED_TRACE(std::string(s.shows) + " " + s.how + s.wanted);
        keldb table = lettered_table(5);
        ODBViewCursor cursor(view_showing(table, s.shows), false);
        cursor.set_index(s.from);
        EXPECT_EQ(s.how == 'r'   ? cursor.find(table.get_record(static_cast<unsigned>(kel::read_int(s.wanted))))
                  : s.how == 'f' ? cursor.findField("name", s.wanted)
                                 : cursor.findFieldSorted("name", s.wanted),
                  s.found);
        EXPECT_EQ(cursor.index(), s.found);
        cursor.set_index(0);
        EXPECT_EQ(cursor.findField("nothing", "a"), -1);
        EXPECT_EQ(cursor.findFieldSorted("nothing", "a"), -1);
    }
}

TEST(ViewCursor, AnnouncesWhatItRemovesAndHoldsItsView) {
    keldb table = lettered_table(3);
    ODBView view = view_showing(table, "2 1 0");
    ODBViewCursor cursor(view, false);
    {
        Announcements sent(*view);
        (++cursor).remove();
        EXPECT_EQ(sent.take(), "-1");
    }
    view = ODBView();
    EXPECT_EQ(text_of(**cursor), "a");
}

// --- Files ---

constexpr const char* kHead = "\"KELDB:Rev 1\"\n\"Name:clip\"\n";

struct Export {
    const char* what;
    const char* table;
    const char* shows;
    std::function<int(ODBViewRep&, const char*)> save;
    int result;
    const char* records;  // the lines behind the header
};
const Export kExports[] = {
    {"all, the field Tag from the view's tags", "Name:a Tag:a | a,7 | *b, | c,1", "2* 0 1*",
     [](ODBViewRep& v, const char* path) { return v.save_text(path); }, 3, "\"c\",\"1\"\n\"a\",\"0\"\n\"b\",\"1\"\n"},
    {"all, without a field Tag", "Name:a | a | *b", "1* 0",
     [](ODBViewRep& v, const char* path) { return v.saveAsText(path, false); }, 2, "\"b\"\n\"a\"\n"},
    {"entries without a record are left out", "Name:a | a", "9 0",
     [](ODBViewRep& v, const char* path) { return v.saveAsText(path, false); }, 1, "\"a\"\n"},
    {"the header only", "Name:a | a", "0", [](ODBViewRep& v, const char* path) { return v.saveAsText(path, true); }, 0,
     ""},
    {"an empty view", "Name:a | a", "", [](ODBViewRep& v, const char* path) { return v.saveAsText(path, false); }, 0,
     ""},
    {"records that the table has tagged", "Name:a Tag:a | a,5 | *b,6 | c, | *d,", "0* 1 2 3",
     [](ODBViewRep& v, const char* path) { return v.saveOnlyTagged(path); }, 4, "\"b\",\"6\"\n\"d\",\"\"\n"},
    {"to its own file name", "Name:a | a | b", "1",
     [](ODBViewRep& v, const char* path) { return v.set_filename(wide(path)), v.save_text(); }, 1, "\"b\"\n"},
    {"tagged to its own file name", "Name:a | *a | b", "1 0",
     [](ODBViewRep& v, const char* path) { return v.set_filename(wide(path)), v.save_tags(); }, 2, "\"a\"\n"},
};

TEST(ViewExport, WritesParametersHeaderAndItsRecords) {
    const TempDir folder;
    for (const Export& e : kExports) {
        SCOPED_TRACE(e.what);
        keldb table = table_of(e.table);
        table.add_param("Name", "clip");
        const ODBView view(&table, "Name");
        show(*view, e.shows);
        const std::string before = text_of(static_cast<ODBBase&>(table)), path = folder.path("file");
        TextFile header;
        table.save_column_header(header, false);
        EXPECT_EQ(e.save(*view, path.c_str()), e.result);
        EXPECT_EQ(file_bytes(path), kHead + std::string(header.bytes()) + e.records);
        EXPECT_EQ(text_of(static_cast<ODBBase&>(table)), before);
    }
}

TEST(ViewExport, GivesZeroWhenNothingIsWritten) {
    const TempDir folder;
    keldb table = lettered_table(2);
    const ODBView view = view_showing(table, "0 1"), detached(static_cast<keldb*>(nullptr));
    EXPECT_EQ(view->save_text("") + view->saveOnlyTagged(""), 0);
    EXPECT_EQ(view->save_text((folder.path() + "/no/file").c_str()), 0);
    EXPECT_EQ(view->saveOnlyTagged((folder.path() + "/no/file").c_str()), 0);
    EXPECT_EQ(detached->save_text(folder.path("file").c_str()) + detached->saveOnlyTagged(folder.path("file").c_str()),
              0);
    EXPECT_EQ(names_in(folder.path()).size(), 0U);
}

TEST(ViewConversion, MakesATableOfTheEntries) {
    keldb table = table_of("Name:a Num:l | a,1 | b,2 | *c,3");
    table.add_param("Name", "clip");
    const ODBView view = view_showing(table, "2 0* 9 2");
    const std::unique_ptr<keldb> made(Convert_ODBView_to_keldb(view));
    EXPECT_EQ(text_of(static_cast<ODBBase&>(*made)), "Name:a Num:l | c,3 | a,1 | , | c,3");
    EXPECT_STREQ(made->get_param_val("Name"), "clip");
    EXPECT_EQ(view->refs(), 1U);
}

}  // namespace
