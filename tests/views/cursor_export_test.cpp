// The cursor over a view, and a view written to a file or turned into a table.
#include "keldb/views/odb_view_cursor.h"
#include "tests/testing/kit.h"

namespace {

// + - forward and back, = to a position, x remove; r f s find a table row's record, a name, a name among sorted ones.
int step(ODBViewCursor& cursor, const std::string& what, keldb& table) {
    const char* const value = what.c_str() + 1;
    if (what[0] == 'r') return cursor.find(table.get_record(static_cast<unsigned>(kel::read_int(value))));
    if (what[0] == 'f') return cursor.findField("name", value);
    if (what[0] == 's') return cursor.findFieldSorted("name", value);
    if (what[0] == '+') ++cursor;
    if (what[0] == '-') --cursor;
    if (what[0] == '=') cursor.set_index(kel::read_int(value));
    if (what[0] == 'x') cursor.remove();
    return cursor.index();
}

TEST(ViewCursor, WalksSearchesAndAnnouncesWhatItRemoves) {
    const struct {
        const char* shows;  // of a table with the records a to e
        bool tags_only;
        const char *steps, *outcome;  // the positions, the first one before any step; what is left, and was announced
    } kWalks[] = {
        {"4 3", false, "+ + + - - fD fe", "0 1 -1 0 -1 1 1 -1 / 4 3 / "},
        {"", false, "+ - x fa sa", "-1 -1 -1 -1 -1 -1 /  / "},
        {"4 3 2", false, "=2 x - x", "0 2 -1 1 -1 / 4 / -2 -1"},
        {"4 3* 2", true, "=0 + - - =5 x", "1 0 1 -1 1 -1 -1 / 4 3* 2 / "},
        {"0 1 2 3 4", false, "=9 sD sb sd =3 sd sx", "0 -1 3 -1 3 3 3 -1 / 0 1 2 3 4 / "},
        {"0 1* 2", true, "fc =2 fc =0 fb fa", "1 -1 2 2 0 1 -1 / 0 1* 2 / "},
        {"4 3 0 9 1", false, "=4 r0 r1", "0 4 2 -1 / 4 3 0 9 1 / "},  // up to an entry without a record
    };
    for (const auto& [shows, tags_only, steps, outcome] : kWalks) {
        SCOPED_TRACE(std::string(shows) + " / " + steps);
        keldb table = lettered_table(5);
        ODBView handle = view_showing(table, shows);
        const ODBViewRep& view = **handle;
        ODBViewCursor cursor(handle, tags_only);
        Announcements sent(**handle);
        handle = ODBView();  // the cursor holds its view
        std::string positions = std::to_string(cursor.index());
        for (const std::string& what : pieces(steps, ' ')) {
            positions += " " + std::to_string(step(cursor, what, table));
            EXPECT_EQ(*cursor, view[cursor.index()]);
        }
        EXPECT_EQ(positions + " / " + rows(view) + " / " + sent.take(), outcome);
        EXPECT_EQ(cursor.findField("nothing", "a") + cursor.findFieldSorted("nothing", "a"), -2);
    }
}

TEST(ViewExport, WritesParametersHeaderAndItsRecords) {
    using Save = int (*)(ODBViewRep & view, const std::string& path);
    const std::tuple<const char*, const char*, Save, int, const char*> kExports[] = {
        // clang-format off
        // the table and what of it is shown; the call and its result; the lines behind the header
        {"Name:a Tag:a | a,7 | *b, | c,1", "2* 0 1*",
         [](auto& v, auto& to) { return v.saveAsText(to.c_str(), false); }, 3, "\"c\",\"1\"\n\"a\",\"0\"\n\"b\",\"1\"\n"},
        {"Name:a | a", "0", [](auto& v, auto& to) { return v.saveAsText(to.c_str(), true); }, 0, ""},
        {"Name:a Tag:a | a,5 | *b,6 | c, | *d,", "0* 1 2 3",
         [](auto& v, auto& to) { return v.saveOnlyTagged(to.c_str()); }, 4, "\"b\",\"6\"\n\"d\",\"\"\n"},
        // To the view's own file name; entries without a record are left out.
        {"Name:a | a | *b", "1* 9 0",
         [](auto& v, auto& to) { return v.set_filename(wide(to)), v.save_text(); }, 2, "\"b\"\n\"a\"\n"},
        {"Name:a | *a | b", "1 0", [](auto& v, auto& to) { return v.set_filename(wide(to)), v.save_tags(); }, 2, "\"a\"\n"},
        // clang-format on
    };
    const TempDir folder;
    const std::string path = folder.path("file");
    for (const auto& [fields, shows, save, result, records] : kExports) {
        SCOPED_TRACE(fields);
        keldb table = table_of(fields);
        table.add_param("Name", "clip");
        const ODBView view = view_showing(table, shows), detached(static_cast<keldb*>(nullptr));
        TextFile header;
        table.save_column_header(header, false);
        EXPECT_EQ(save(**view, path), result);
        EXPECT_EQ(file_bytes(path), "\"KELDB:Rev 1\"\n\"Name:clip\"\n" + std::string(header.bytes()) + records);
        EXPECT_EQ(text_of(static_cast<ODBBase&>(table)), fields);
        EXPECT_EQ(save(**view, "") + save(**view, folder.path("no/file")) + save(**detached, folder.path("other")), 0);
        EXPECT_EQ(names_in(folder.path()).size(), 1U);
    }
}

TEST(ViewConversion, MakesATableOfTheEntriesOrForThem) {
    keldb table = table_of("Name:a Num:l | a,1 | b,2 | *c,3");
    table.add_param("Name", "clip");
    const ODBView view = view_showing(table, "2 0* 9 2"), above = subview_showing(view, "3 2 1*");
    const std::unique_ptr<keldb> made(Convert_ODBView_to_keldb(view));
    EXPECT_EQ(text_of(static_cast<ODBBase&>(*made)), "Name:a Num:l | c,3 | a,1 | , | c,3");
    EXPECT_STREQ(made->get_param_val("Name"), "clip");
    view->add_param("Name", "own");
    for (const ODBView& from : {view, above}) {
        const ODBView own = from.copyWithNewBaseView();
        EXPECT_EQ(rows(**own), from == view ? "2 0* 2" : "2 0*");
        EXPECT_STREQ(own->get_param_val("Name"), from == view ? "own" : "clip");
        EXPECT_TRUE(!own->isSubview() && own->odb() != &table);
        const std::unique_ptr<keldb> its_table(own->odb());
        own->odb(nullptr);
    }
}

}  // namespace
