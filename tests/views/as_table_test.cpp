// What a view answers as a table (over a table, over another view, and detached), and what it shows and tags.
#include "tests/testing/kit.h"

namespace {

std::string shown(const char* text) { return text ? text : "null"; }
std::string shown(const String& text) { return text.c_str(); }
std::string shown(const dbrecord* record) { return record ? text_of(*record) : "null"; }
std::string shown(double number) { return std::to_string(static_cast<long>(number)); }
std::string line(const auto&... values) { return ((shown(values) + ' ') + ...) + '\n'; }

// What is stored by reading field 1.
template <class T>
T read(const ODBViewRep& view, unsigned row, T out) {
    EXPECT_EQ(view.in_field(row, 1, out), view.db() && row < 3);
    return out;
}

std::string answers(ODBViewRep& v) {
    static int keys[2];
    keys[0] = 99, keys[1] = -1;
    const std::unique_ptr<dbrecord> blank(v.make_dummy_record());
    std::string text = line(v.get_record(1), v.get_record(3), v.get_record(~0U), blank.get(), v.getField(0, 65536)) +
                       line(v.get_num_fields(), v.get_fieldname(1), v.get_fieldname(3), v.get_fieldnum("NUM"),
                            v.get_fieldnum("x"), v.get_fieldsize(1), v.get_field_type(1), v.get_fieldtype(0)) +
                       line(read(v, 0, false), read(v, 1, 77.0), read(v, 2, 77), read(v, 3, 77));
    v.set_filename(L"x");
    v.set_param_val("New", "y");
    text += line(v.get_filename() == L"x", !v.odb() || v.odb()->get_filename().empty()) +
            line(v.add_param("keldb", "x"), v.add_param(nullptr, "x"), v.get_param_val("KELDB"), v.get_param_val("new"),
                 v.get_param_val(nullptr), v.get_param_val("z"));
    v.set_sortfield(0), v.set_sort_offset(0), v.set_query(nullptr);
    v.set_sortfields(keys);
    v.sortPrepare(1, 0);
    text += line(keys[0], v.set_fieldname(0, "N"), v.set_fieldtype(0, DBFieldTypes::date), v.get_valid()) +
            line(v.findViewIndexForBaseRow(5), v.findViewIndexForBaseRow(1ULL << 32 | 5), v.find(nullptr), v.find(v[1]),
                 v.member(v[2]), v.recRef(3) == nullptr, v.recRef(-1) == nullptr);
    v.delete_records(~0U, 1);  // 2^31 and more is beyond the end
    v.delete_records(1, ~0U);
    v.insert_records(1U << 31, 1);
    text += rows(v) + '\n';
    v.set_tag(1, 1);
    text += line(v.removeSome(&ODBViewRep::notTagged));
    v.set_show_tags_only(1);
    return text + line(v.get_show_tags_only(), v.size());
}

TEST(ViewAsTable, DoesWhatEachOperationSays) {
    for (const bool stacked : {false, true}) {
        keldb table = table_of("Name:a Num:l Cookie:a | a,10,M0 | *b,11,M1 | c,,M2 | d,13,M3 | e,t14,M4 | f,15,M5");
        const ODBView below = view_showing(table, "0 1 2 3 4 5");
        const ODBView view = stacked ? subview_showing(below, "4 1* 5") : view_showing(table, "4 1* 5");
        EXPECT_EQ(answers(**view),
                  "*b,11,M1 null null ,,  \n3 Num  1 -1 3 108 97 \n1 11 15 77 \n1 1 \n0 -1 x y null null \n"
                  "-1 1 1 1 \n2 -1 -1 1 1 1 1 \n3 4\n1 \n0 1 \n")
            << stacked;
        EXPECT_TRUE(view->ok() && below->ok() && table.ok());
    }
    EXPECT_EQ(answers(**ODBView(static_cast<keldb*>(nullptr))),
              "null null null null  \n0 null null 0 0 0 0 0 \n0 77 77 77 \n1 1 \n0 -1 x y null null \n"
              "99 0 0 0 \n-1 -1 -1 -1 0 1 1 \n\n0 \n0 0 \n");
}

TEST(ViewTags, FollowTheRules) {
    const std::tuple<const char*, void (*)(ODBViewRep&), const char*> kCases[] = {
        {"1* 0 4 2* 0", [](auto& v) { v.tagDuplicates(0); }, "1 0 4 2* 0* / "},
        {"1* 9*", [](auto& v) { v.tagBaseFromTags(), v.displayAllRecordsWithBaseTagStatus(); }, "0 1* 2 3* 4 / -0,1"},
        {"0", [](auto& v) { v.setupViewTagsFromKeldbTagField(); }, "0* 1 2 3* 4 / -0"},
    };
    for (const auto& [shows, act, left] : kCases) {
        keldb table = table_of("Name:a Tag:a | a,1 | *b, | a,0 | *d,7 | ,x");
        ODBViewRep view(&table);  // nobody holds it, and it lives on
        show(view, shows);
        Announcements sent(view);
        act(view);
        EXPECT_EQ(rows(view) + " / " + sent.take(), left) << shows;
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
    EXPECT_EQ(rows(**view), "0 3");
}

}  // namespace
