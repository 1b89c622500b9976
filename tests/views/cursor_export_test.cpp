// The cursor over a view, and a view written to a file.
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
    const std::tuple<const char*, bool, const char*, const char*> kWalks[] = {
        // what is shown of the records a to e, whether tagged entries alone, the steps; the positions, the first one
        // before any step, and what is left and was announced
        {"4 3", false, "+ + + - - fD fe", "0 1 -1 0 -1 1 1 -1 / 4 3 / "},
        {"", false, "+ - x fa sa", "-1 -1 -1 -1 -1 -1 /  / "},
        {"4 3 2", false, "=2 x - x", "0 2 -1 1 -1 / 4 / -2 -1 "},
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
    const char* const fields = "Tag:a Name:a | *7,a | ,b | *,c";
    const char* const all = "\"1\",\"c\"\n\"0\",\"a\"\n\"1\",\"b\"\n";  // with the tags of the view
    const char* const tagged = "\"\",\"c\"\n\"7\",\"a\"\n";             // tagged in the table
    const std::tuple<int (*)(ODBViewRep & view, const std::string& path), int, const char*> kSaves[] = {
        // the call, its result, and the lines behind the header
        {[](auto& v, auto& to) { return v.saveAsText(to.c_str(), false); }, 3, all},
        {[](auto& v, auto& to) { return v.saveAsText(to.c_str(), true); }, 0, ""},
        {[](auto& v, auto& to) { return v.saveOnlyTagged(to.c_str()); }, 4, tagged},
        {[](auto& v, auto& to) { return v.set_filename(wide(to)), v.save_text(); }, 3, all},
        {[](auto& v, auto& to) { return v.set_filename(wide(to)), v.save_tags(); }, 4, tagged},
    };
    const TempDir folder;
    const std::string path = folder.path("file");
    keldb table = table_of(fields);
    table.add_param("Name", "clip");
    const ODBView view = view_showing(table, "2* 9 0 1*"), detached(static_cast<keldb*>(nullptr));
    TextFile header;
    table.save_column_header(header, false);
    for (const auto& [save, result, lines] : kSaves) {
        EXPECT_EQ(save(**view, path), result);
        EXPECT_EQ(file_bytes(path), "\"KELDB:Rev 1\"\n\"Name:clip\"\n" + std::string(header.bytes()) + lines);
        EXPECT_EQ(save(**view, "") + save(**view, folder.path("no/file")) + save(**detached, folder.path("other")), 0);
    }
    EXPECT_EQ(names_in(folder.path()).size(), 1U);
    EXPECT_EQ(text_of(static_cast<ODBBase&>(table)), fields);
}

}  // namespace
