// The 52 operations of a view, and of a detached one: what each gives, and what it changes in view and table.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

constexpr const char* kTable = "Name:a Num:l Cookie:a | a,10,M0 | *b,11,M1 | c,,M2 | d,13,M3 | e,t14,M4 | f,15,M5";
constexpr const char* kShows = "4 1* 5";

std::string str(const char* text) { return text ? text : "null"; }
std::string str(const String& text) { return std::string(text.view()); }
std::string str(long long number) { return std::to_string(number); }
std::string str(dbrecord* record) { return record ? text_of(*record) : "null"; }

// The result and what was stored, for a read that may leave its output alone.
template <class T>
std::string read(ODBBase& base, unsigned row, unsigned field, T untouched) {
    T out = untouched;
    const int result = base.in_field(row, field, out);
    return str(result) + " " + str(static_cast<long long>(out));
}
std::string read_text(ODBBase& base, unsigned row, unsigned field, int length) {
    std::string out = "......";
    const int result = base.in_field(row, field, out.data(), length);
    return str(result) + " " + out.c_str();
}

// What differs between two states of the table: the records that changed, or all of them when rows came or went.
std::string difference(const std::string& before, const std::string& after) {
    const std::vector<std::string> was = pieces(before, '|'), is = pieces(after, '|');
    if (was.size() != is.size())
        return str(static_cast<long long>(is.size()) - static_cast<long long>(was.size())) + " rows";
    std::string changed;
    for (std::size_t i = 0; i < is.size(); ++i) {
        if (is[i] != was[i]) changed += (changed.empty() ? "" : "|") + std::string(trimmed(is[i]));
    }
    return changed;
}

using Act = std::function<std::string(ODBViewRep&)>;
struct Operation {
    const char* call;
    Act act;
    const char* result;
    const char* left;      // of the view
    const char* table;     // what changed there
    const char* detached;  // the result of a detached view
};

dbrecord query(std::initializer_list<const char*> values) {
    dbrecord record(static_cast<unsigned short>(values.size()));
    int field = 0;
    for (const char* value : values) record.set_field(field++, value, true);
    return record;
}

const Operation kOperations[] = {
    {"save_text()", [](auto& v) { return str(v.save_text()); }, "0", kShows, "", "0"},  // there is no file name
    {"save_tags()", [](auto& v) { return str(v.save_tags()); }, "0", kShows, "", "0"},
    {"insert_records(1, 2)", [](auto& v) { return v.insert_records(1, 2), ""; }, "", "4 1 2 3* 7", "2 rows", ""},
    {"insert_records(9, 1)", [](auto& v) { return v.insert_records(9, 1), ""; }, "", "4 1* 5 6", "1 rows", ""},
    {"delete_records(0, 1)", [](auto& v) { return v.delete_records(0, 1), ""; }, "", "1* 4", "-1 rows", ""},
    {"delete_records(1, 4294967295)", [](auto& v) { return v.delete_records(1, ~0U), ""; }, "", "3", "-2 rows", ""},
    {"delete_records(3, 1)", [](auto& v) { return v.delete_records(3, 1), ""; }, "", kShows, "", ""},
    {"delete_records(4294967295, 1)", [](auto& v) { return v.delete_records(~0U, 1), ""; }, "", kShows, "", ""},
    {"delete_tagged_records()", [](auto& v) { return str(v.delete_tagged_records()); }, "0", "4 5", "", "0"},
    {"get_num_records()", [](auto& v) { return str(v.get_num_records()); }, "3", kShows, "", "0"},
    {"get_num_fields()", [](auto& v) { return str(v.get_num_fields()); }, "3", kShows, "", "0"},
    {"get_record(1)", [](auto& v) { return str(v.get_record(1)); }, "*b,11,M1", kShows, "", "null"},
    {"get_record(3)", [](auto& v) { return str(v.get_record(3)); }, "null", kShows, "", "null"},
    {"get_record(4294967295)", [](auto& v) { return str(v.get_record(~0U)); }, "null", kShows, "", "null"},
    {"make_dummy_record()",
     [](auto& v) {
         const std::unique_ptr<dbrecord> made(v.make_dummy_record());
         return str(made.get());
     },
     ",,", kShows, "", "null"},
    {"getField(0, 0)", [](auto& v) { return str(v.getField(0, 0)); }, "e", kShows, "", ""},
    {"getField(3, 0)", [](auto& v) { return str(v.getField(3, 0)); }, "", kShows, "", ""},
    {"getField(0, 65536)", [](auto& v) { return str(v.getField(0, 65536)); }, "", kShows, "", ""},
    {"get_fieldname(1)", [](auto& v) { return str(v.get_fieldname(1)); }, "Num", kShows, "", "null"},
    {"get_fieldname(3)", [](auto& v) { return str(v.get_fieldname(3)); }, "", kShows, "", "null"},
    {"get_fieldsize(1)", [](auto& v) { return str(v.get_fieldsize(1)); }, "3", kShows, "", "0"},
    {"get_field_type(1)", [](auto& v) { return str(v.get_field_type(1)); }, "108", kShows, "", "0"},
    {"set_fieldtype(1, t)", [](auto& v) { return str(v.set_fieldtype(1, DBFieldTypes::timecode)); }, "1", kShows,
     "Name:a Num:t Cookie:a", "0"},
    {"get_fieldtype(1)", [](auto& v) { return str(v.get_fieldtype(1)); }, "108", kShows, "", "0"},
    {"get_fieldnum(NUM)", [](auto& v) { return str(v.get_fieldnum("NUM")); }, "1", kShows, "", "0"},
    {"get_fieldnum(x)", [](auto& v) { return str(v.get_fieldnum("x")); }, "-1", kShows, "", "0"},
    {"set_fieldname(0, N)", [](auto& v) { return str(v.set_fieldname(0, "N")); }, "1", kShows, "N:a Num:l Cookie:a",
     "0"},
    {"set_filename(x)",
     [](auto& v) {
         v.set_filename(L"x");
         return std::string(v.get_filename() == L"x" && (!v.odb() || v.odb()->get_filename().empty()) ? "its own"
                                                                                                      : "?");
     },
     "its own", kShows, "", "its own"},
    {"sort(1, 0) by set_sortfield(0)", [](auto& v) { return v.set_sortfield(0), v.sort(1, 0), ""; }, "", "1* 4 5", "",
     ""},
    {"sort(-1, 0) by set_sortfields(2)",
     [](auto& v) {
         static int fields[] = {2, 99, -1};
         v.set_sortfields(fields);
         v.sort(-1, 0);
         return str(v.db() ? fields[1] : -1);
     },
     "-1", "5 4 1*", "", "-1"},
    {"sort(1, 0) by set_sort_offset(1)",
     [](auto& v) { return v.set_sortfield(1), v.set_sort_offset(1), v.sort(1, 0), ""; }, "", "1* 4 5", "", ""},
    {"sortPrepare(1, 0)",
     [](auto& v) {
         static int fields[] = {99, -1};
         fields[0] = 99;
         v.set_sortfields(fields);
         v.sortPrepare(1, 0);
         return str(fields[0]);
     },
     "-1", kShows, "", "99"},
    {"set_tag(0, 256)", [](auto& v) { return v.set_tag(0, 256), v.set_tag(1, 0), ""; }, "", "4* 1 5", "", ""},
    {"set_tag(3, 1)", [](auto& v) { return v.set_tag(3, 1), v.invert_tag(3), ""; }, "", kShows, "", ""},
    {"invert_tag(1)", [](auto& v) { return v.invert_tag(1), v.invert_tag(2), ""; }, "", "4 1 5*", "", ""},
    {"set_all_tags(2)", [](auto& v) { return v.set_all_tags(2), ""; }, "", "4* 1* 5*", "", ""},
    {"invert_all_tags()", [](auto& v) { return v.invert_all_tags(), ""; }, "", "4* 1 5*", "", ""},
    {"set_show_tags_only(0)", [](auto& v) { return v.set_show_tags_only(0), ""; }, "", "1*", "", ""},
    {"get_show_tags_only()", [](auto& v) { return v.set_show_tags_only(1), str(v.get_show_tags_only()); }, "0", "1*",
     "", "0"},
    {"get_tag(1)", [](auto& v) { return str(v.get_tag(1)) + str(v.get_tag(0)) + str(v.get_tag(3)); }, "100", kShows, "",
     "000"},
    {"get_num_tags()", [](auto& v) { return str(v.get_num_tags()); }, "1", kShows, "", "0"},
    {"tag_matching_records(1) after set_query",
     [](auto& v) {
         dbrecord wanted = query({"", "1", "m"});
         v.set_query(&wanted);
         v.set_tag(2, 1);
         return str(v.tag_matching_records(1));
     },
     "3", "4* 1* 5*", "", "0"},
    {"tag_matching_records(1) without a query", [](auto& v) { return str(v.tag_matching_records(1)); }, "0", "4 1 5",
     "", "0"},
    {"tag_all_different(0)", [](auto& v) { return str(v.tag_all_different(0)); }, "3", "4* 1* 5*", "", "0"},
    {"set_field(1, 0, true)", [](auto& v) { return str(v.set_field(1, 0, true)); }, "1", kShows, "*t,11,M1", "0"},
    {"set_field(1, 1, 2.5)", [](auto& v) { return str(v.set_field(1, 1, 2.5)); }, "1", kShows, "*b,2.50000000,M1", "0"},
    {"set_field(1, 1, -7)", [](auto& v) { return str(v.set_field(1, 1, -7)); }, "1", kShows, "*b,-7,M1", "0"},
    {"set_field(1, 0, text)", [](auto& v) { return str(v.set_field(1, 0, " x ")); }, "1", kShows, "*x ,11,M1", "0"},
    {"set_field(1, 3, text)", [](auto& v) { return str(v.set_field(1, 3, "x")); }, "0", kShows, "", "0"},
    {"set_field(3, 0, text)", [](auto& v) { return str(v.set_field(3, 0, "x")); }, "0", kShows, "", "0"},
    {"set_field(2, identifier)", [](auto& v) { return str(v.set_field(2, Cookie("M9", false))); }, "1", kShows,
     "f,15,M9", "0"},
    {"in_field truth", [](auto& v) { return read(v, 0, 1, false); }, "1 1", kShows, "", "0 0"},
    {"in_field number", [](auto& v) { return read(v, 1, 1, 77.0); }, "1 11", kShows, "", "0 77"},
    {"in_field integer", [](auto& v) { return read(v, 2, 1, 77); }, "1 15", kShows, "", "0 77"},
    {"in_field text", [](auto& v) { return read_text(v, 0, 1, 2); }, "1 t1", kShows, "", "0 ......"},
    {"in_field beyond the view", [](auto& v) { return read(v, 3, 1, 77); }, "0 77", kShows, "", "0 77"},
    {"add_records(2)", [](auto& v) { return str(v.add_records(2)); }, "3", "4 1* 5 6 7", "2 rows", "0"},
    {"add_records(-1)", [](auto& v) { return str(v.add_records(-1)); }, "3", kShows, "", "0"},
    {"add_param(KELDB, x)",
     [](auto& v) {
         const int result = v.add_param("keldb", "x");
         v.set_param_val("New", "y");
         return str(result) + str(v.get_param_val("KELDB")) + str(v.get_param_val("new")) + str(v.get_param_val("z"));
     },
     "0xynull", kShows, "", "0xynull"},
    {"add_param(null)", [](auto& v) { return str(v.add_param(nullptr, "x")) + str(v.get_param_val(nullptr)); },
     "-1null", kShows, "", "-1null"},
    {"findFirst(name, a, 0)", [](auto& v) { return str(v.findFirst("name", "a", 0)); }, "0", kShows, "", "0"},
    {"findFirst(num, t1, 2)", [](auto& v) { return str(v.findFirst("num", "t1", 2)); }, "-1", kShows, "", "0"},
    {"match_record(1)",
     [](auto& v) {
         dbrecord wanted = query({"b", "", ""});
         v.set_query(&wanted);
         return str(v.match_record(1)) + str(v.match_record(0)) + str(v.match_record(3)) + str(v.match_record(-1));
     },
     "10-1-1", kShows, "", "0000"},
    {"baseIndex(1)", [](auto& v) { return str(v.baseIndex(1)) + str(v.baseIndex(3)) + str(v.baseIndex(-1)); }, "100",
     kShows, "", "000"},
    {"get_valid()", [](auto& v) { return str(v.get_valid()); }, "1", kShows, "", "0"},
};

TEST(ViewAsTable, DoesWhatEachOperationSays) {
    for (const Operation& o : kOperations) {
        SCOPED_TRACE(o.call);
        keldb table = table_of(kTable);
        const ODBView view = view_showing(table, kShows);
        const std::string before = text_of(static_cast<ODBBase&>(table));
        EXPECT_EQ(o.act(*view), o.result);
        EXPECT_EQ(rows(*view), o.left);
        EXPECT_EQ(difference(before, text_of(static_cast<ODBBase&>(table))), o.table);
        EXPECT_TRUE(view->ok() && table.ok());
    }
}

// The same through two views: field numbers go down unchanged, rows through both.
TEST(ViewAsTable, DoesTheSameOnAnotherView) {
    for (const Operation& o : kOperations) {
        SCOPED_TRACE(o.call);
        keldb table = table_of(kTable);
        const ODBView below = view_showing(table, "0 1 2 3 4 5"), view = subview_showing(below, kShows);
        const std::string before = text_of(static_cast<ODBBase&>(table));
        EXPECT_EQ(o.act(*view), o.result);
        EXPECT_EQ(joined(*view, [&](int i) { return str(view->baseIndex(i)) + (view->tag(i) ? "*" : ""); }), o.left);
        EXPECT_EQ(difference(before, text_of(static_cast<ODBBase&>(table))), o.table);
    }
}

TEST(ViewAsTable, AnswersNeutrallyWhenDetached) {
    for (const Operation& o : kOperations) {
        SCOPED_TRACE(o.call);
        const ODBView view(static_cast<keldb*>(nullptr));
        const std::string result = o.act(*view);
        EXPECT_EQ(result, o.detached);
        EXPECT_EQ(view->size(), 0);
    }
}

// The rest of what a view can do, on nothing.
TEST(ViewAsTable, DetachedViewsDoNothing) {
    const ODBView view(static_cast<keldb*>(nullptr));
    CookieVec ids;
    ids.add(Cookie("M0", false));
    EXPECT_EQ(view->displayRecordsAt(0, 3, 0) + view->displayRecordsAt(ids, 0) + view->displayAllFromAt(view, 0), 0);
    EXPECT_FALSE(view->displayMatchAt("Name", "a", 0));
    view->displayAllRecords();
    view->displayTaggedRecordsAt(0);
    view->setupViewTagsFromKeldbTagField();
    view->displayAllRecordsWithBaseTagStatus();
    view->tagBaseFromTags();
    view->append(0);
    view->removeRecordsFromBaseView(0, 1);
    view->deleteRecords(0, 1);
    view->insertBlankRecords(0, 1);
    view->invertAllTags();
    EXPECT_EQ(view->removeTagged() + view->deleteTagged() + view->tagMatches(0) + view->tagDuplicates(0), 0);
    EXPECT_EQ(view->find(nullptr), -1);
    EXPECT_EQ(view->findViewIndexForBaseRow(0), -1);
    EXPECT_EQ(view->recRef(0), nullptr);
    EXPECT_EQ(view->size(), 0);
    EXPECT_TRUE(view->ok());
}

}  // namespace
