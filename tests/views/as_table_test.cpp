// What a view answers as a table (over a table, over another view, and detached), and what it makes of a message from
// elsewhere.
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
    char text[] = "old";
    const std::unique_ptr<dbrecord> blank(v.make_dummy_record());
    std::string all = line(v.get_record(1), v.get_record(3), v.get_record(~0U), blank.get(), v.getField(0, 65536)) +
                      line(v.get_num_fields(), v.get_fieldname(1), v.get_fieldname(3), v.get_fieldnum("NUM"),
                           v.get_fieldnum("x"), v.get_fieldsize(1), v.get_field_type(1), v.get_fieldtype(0)) +
                      line(read(v, 0, false), read(v, 1, 77.0), read(v, 2, 77), read(v, 3, 77));
    all += line(v.in_field(0, 0, text, 3), text);
    v.set_filename(L"x");
    v.set_param_val("New", "y");
    all += line(v.get_filename() == L"x", !v.odb() || v.odb()->get_filename().empty()) +
           line(v.add_param("keldb", "x"), v.add_param(nullptr, "x"), v.add_param("", "x"), v.get_param_val("KELDB"),
                v.get_param_val("new"), v.get_param_val(nullptr), v.get_param_val("z"));
    v.set_sortfields(keys);
    v.sortPrepare(1, 0);
    all += line(keys[0], v.set_fieldname(0, "N"), v.set_fieldtype(0, DBFieldTypes::date), v.get_valid()) +
           line(v.findViewIndexForBaseRow(5), v.findViewIndexForBaseRow(1ULL << 32 | 5), v.find(nullptr), v.find(v[1]),
                v.member(v[2]), v.recRef(3) == nullptr, v.recRef(-1) == nullptr) +
           line(v.displayMatchAt("N", nullptr, 0), v.displayMatchAt(nullptr, "a", 0), v.displayAllFromAt(nullptr, 0));
    v.set_tag(1, 1);
    all += line(v.removeSome(&ODBViewRep::notTagged));
    v.invert_all_tags();
    v.set_show_tags_only(1);
    return all + line(v.get_show_tags_only(), v.size());
}

TEST(ViewAsTable, DoesWhatEachOperationSays) {
    for (const bool stacked : {false, true}) {
        keldb table = table_of("Name:a Num:l Cookie:a | a,10,M0 | *b,11,M1 | c,,M2 | d,13,M3 | e,t14,M4 | f,15,M5");
        const ODBView below = view_showing(table, "0 1 2 3 4 5");
        const ODBView view = stacked ? subview_showing(below, "4 1* 5") : view_showing(table, "4 1* 5");
        EXPECT_EQ(answers(**view),
                  "*b,11,M1 null null ,,  \n3 Num  1 -1 3 108 97 \n1 11 15 77 \n1 e \n1 1 \n0 -1 -1 x y null null \n"
                  "-1 1 1 1 \n2 -1 -1 1 1 1 1 \n0 0 0 \n2 \n0 0 \n")
            << stacked;
        EXPECT_TRUE(view->ok() && below->ok() && table.ok());
    }
    EXPECT_EQ(answers(**ODBView(static_cast<keldb*>(nullptr))),
              "null null null null  \n0 null null 0 0 0 0 0 \n0 77 77 77 \n0 old \n1 1 \n0 -1 -1 x y null null \n"
              "99 0 0 0 \n-1 -1 -1 -1 0 1 1 \n0 0 0 \n0 \n0 0 \n");
}

TEST(ViewPropagation, TakesAMessageFromElsewhere) {  // number by number, for this view alone
    const char* const kMessages[][2] = {{"2 3 ", "0 2 4 / -1 !"}, {"0 2", "2 4 / -0 -0 !"}, {"x 6", "1 3 / -0 -2 !"}};
    for (const auto& [message, outcome] : kMessages) {
        keldb table = lettered_table(10);
        const ODBView view = view_showing(table, "0 2 4 6");
        Announcements sent(**view);
        EXPECT_EQ(view->recordsDeletedNotify(NotifyMsg(message, nullptr)), 0);
        EXPECT_EQ(rows(**view) + " / " + sent.take(), outcome);
    }
}

}  // namespace
