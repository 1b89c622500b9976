// The kinds of operation that programs are made of. Each takes its arguments from the program's bytes and is done to
// both twins by one function; choices in braces are taken in their order by every compiler.
#ifndef KELDB_TESTS_MODEL_OPERATIONS_H
#define KELDB_TESTS_MODEL_OPERATIONS_H

#include "tests/model/driver.h"

namespace model {

// What is returned for an operation that does not apply just now.
inline constexpr bool kNotNow = false;
using std::tuple;

// --- On tables and on views as tables ---

inline constexpr unsigned kCommonKinds = 28;
inline constexpr unsigned kSettings = 6;  // the first ones: what a table keeps for all, set through it or a view

inline bool Driver::run_common(unsigned kind, Both x) {
    const int size = static_cast<int>(x.naive->size()), fields = x.table ? static_cast<int>(x.table->fields.size()) : 2;
    const auto row = [&] { return static_cast<unsigned>(bytes.near(size)); };
    const auto field = [&] { return static_cast<unsigned>(bytes.near(fields)); };
    const auto flag = [&] { return static_cast<int>(bytes.pick(2)); };
    const bool full = size >= kMostRows || (x.table && x.table->rows.size() >= kMostRows);
    const bool moves_rows = !x.is_view;
    const Setting setting{x.lib, x.table, x.naive->name};
    if (!x.table && kind < kSettings) return kNotNow;
    switch (kind) {
    case 0: {
        const int shape = bytes.one_in(6) ? flag() * 2 - 1 : 0;  // a query of one field too few or too many
        dbrecord query(static_cast<unsigned short>(std::max(fields + shape, 0)));
        for (unsigned wanted = bytes.pick(3); wanted > 0; --wanted) {
            const auto place = static_cast<unsigned short>(field());
            query.setField(place, String(bytes.text()));
        }
        return call(setting, "set_query", tuple{shape}, [&query](auto& t, int) { t.set_query(&query); });
    }
    case 1:
        return call(setting, "set_sortfield", tuple{bytes.near(fields)}, [](auto& t, int f) { t.set_sortfield(f); });
    case 2: {
        const unsigned list = bytes.pick(2);
        for (int i = 0; i < 5; ++i) {
            const int key = static_cast<int>(bytes.pick(9)) - 1;
            key_lists[0][list][i] = key_lists[1][list][i] = key == 7 ? 9999 : key;
        }
        key_lists[0][list][5] = key_lists[1][list][5] = -1;
        return call(setting, "set_sortfields", tuple{list}, [this](auto& t, unsigned which) {
            t.set_sortfields(key_lists[std::is_base_of_v<NaiveBase, std::remove_reference_t<decltype(t)>>][which]);
        });
    }
    case 3:
        return call(setting, "set_sort_offset", tuple{bytes.near(8) / 2 * (1 - 2 * flag())},
                    [](auto& t, int by) { t.set_sort_offset(by); });
    case 4:
        return call(setting, "set_fieldname", tuple{field(), bytes.field_name()},
                    [](auto& t, unsigned f, const char* name) { return t.set_fieldname(f, name); });
    case 5:
        return call(setting, "set_fieldtype", tuple{field(), bytes.one_in(10) ? DBFieldTypes::none : bytes.type()},
                    [](auto& t, unsigned f, DBFieldTypes::eType type) { return t.set_fieldtype(f, type); });
    case 6:
        if (full) return kNotNow;
        return call(x, "add_records", tuple{static_cast<int>(bytes.pick(10)) - 1},
                    [](auto& t, int n) { return t.add_records(n); });
    case 7:
        if (full) return kNotNow;
        return call(x, "insert_records", tuple{re_points ? row() : static_cast<unsigned>(size), bytes.pick(4)},
                    [](auto& t, unsigned at, unsigned n) { t.insert_records(at, n); });
    case 8:
        return call(x, "delete_records", tuple{row(), bytes.one_in(6) ? row() : bytes.pick(5)},
                    [](auto& t, unsigned at, unsigned n) { t.delete_records(at, n); });
    case 9:
        return call(x, "delete_tagged_records", tuple<>{}, [](auto& t) { return t.delete_tagged_records(); });
    case 10:
        return call(x, "set_field text", tuple{row(), field(), bytes.text().c_str()},
                    [](auto& t, unsigned r, unsigned f, const char* text) { return t.set_field(r, f, text); });
    case 11:
        return call(x, "set_field int", tuple{row(), field(), bytes.near(12) / 2},
                    [](auto& t, unsigned r, unsigned f, int number) { return t.set_field(r, f, number); });
    case 12:
        return call(x, "set_field double", tuple{row(), field(), bytes.number()},
                    [](auto& t, unsigned r, unsigned f, double number) { return t.set_field(r, f, number); });
    case 13:
        return call(x, "set_field bool", tuple{row(), field(), bytes.one_in(2)},
                    [](auto& t, unsigned r, unsigned f, bool value) { return t.set_field(r, f, value); });
    case 14:
        return call(x, "set_field id", tuple{row(), bytes.id()},
                    [](auto& t, unsigned r, const Cookie& id) { return t.set_field(r, id); });
    case 15:
        return call(x, "set_tag", tuple{row(), bytes.tag()}, [](auto& t, unsigned r, int tag) { t.set_tag(r, tag); });
    case 16:
        return call(x, "invert_tag", tuple{row()}, [](auto& t, unsigned r) { t.invert_tag(r); });
    case 17:
        return call(x, "set_all_tags", tuple{bytes.tag()}, [](auto& t, int tag) { t.set_all_tags(tag); });
    case 18:
        return call(x, "invert_all_tags", tuple<>{}, [](auto& t) { t.invert_all_tags(); });
    case 19:
        return call(x, "set_show_tags_only", tuple{flag()}, [](auto& t, int on) { t.set_show_tags_only(on); });
    case 20:
        return call(x, "get_tag", tuple{row()}, [](auto& t, unsigned r) { return t.get_tag(r); });
    case 21:
        return call(x, "get_num_tags", tuple<>{}, [](auto& t) { return t.get_num_tags(); });
    case 22:
        return call(x, "match_record", tuple{bytes.near(size)}, [](auto& t, int r) { return t.match_record(r); });
    case 23:
        return call(x, "tag_matching_records", tuple{flag()},
                    [](auto& t, int keep) { return t.tag_matching_records(keep); });
    case 24:
        if (moves_rows && !re_points) return kNotNow;
        return call(x, "tag_all_different", tuple{bytes.near(fields)},
                    [](auto& t, int f) { return t.tag_all_different(f); });
    case 25:
        return call(x, "findFirst", tuple{bytes.field_name(), bytes.value(), flag() * flag()},
                    [](auto& t, const char* f, const char* value, int n) { return t.findFirst(f, value, n); });
    case 26:
        return call(x, "baseIndex", tuple{bytes.near(size)}, [](auto& t, int r) { return t.baseIndex(r); });
    default:
        if (moves_rows && !re_points) return kNotNow;
        return call(x, "sort", tuple{1 - static_cast<int>(bytes.pick(3)), bytes.one_in(4)},
                    [](auto& t, int direction, int plain) { t.sort(direction, plain); });
    }
}

// --- On tables ---

inline constexpr unsigned kTableKinds = 14;

inline bool Driver::run_table(unsigned kind) {
    TableTwin& x = table();
    const int size = static_cast<int>(x.naive->size());
    switch (kind) {
    case 0:
        if (x.naive->rows.size() > kMostRows / 2) return kNotNow;
        now(x, "fill");
        return fill(x, 10);
    case 1:
        return call(
            x, "setField",
            tuple{static_cast<unsigned>(bytes.near(size)),
                  static_cast<unsigned>(bytes.near(static_cast<int>(x.naive->fields.size()))), String(bytes.text())},
            [](auto& t, unsigned r, unsigned f, const String& text) { return t.setField(r, f, text); });
    case 2:
        return call(x, "clear_changed", tuple<>{}, [](auto& t) { t.clear_changed(); });
    case 3:
        if (x.naive->fields.size() >= 8) return kNotNow;
        return call(x, "addField", tuple{bytes.field_name(), bytes.type()},
                    [](auto& t, const char* name, DBFieldTypes::eType type) {
                        return t.addField({String(name), type});
                    });
    case 4:
        return call(x, "removeField", tuple{bytes.field_name()},
                    [](auto& t, const char* name) { t.removeField(String(name)); });
    case 5: {
        const unsigned how = now(x, "copy", bytes.pick(4));
        auto naive = new_naive_table(2);
        naive->copy_from(*x.naive, how != 0);
        keldb* lib = how == 1 ? new keldb(*x.lib, static_cast<DBFieldDesc*>(nullptr)) : new keldb(*x.lib, how != 0);
        return replace_spare(lib, std::move(naive));
    }
    case 6:
        return call_two(re_points ? x : tables[2], "operator=", table(), tuple<>{},
                        [](auto& t, auto& from) { t = from; });
    case 7:
    case 8: {
        TableTwin& other = table();
        if (x.naive->rows.size() + other.naive->rows.size() > kMostRows) return kNotNow;
        if (kind == 7)
            return call_two(x, "add_keldb", other, tuple<>{}, [](auto& t, auto& from) { return t.add_keldb(&from); });
        return call_two(x, "merge_all_matching", other, tuple<>{},
                        [](auto& t, auto& from) { return t.merge_all_matching(&from); });
    }
    case 9:
        return call(x, "getRowIndexByID", tuple{bytes.id()},
                    [](auto& t, const Cookie& id) { return t.getRowIndexByID(id); });
    case 10:
        return call(x, "set_word_only_search", tuple{static_cast<int>(bytes.pick(2))},
                    [](auto& t, int on) { t.set_word_only_search(on); });
    case 11:
        return call(x, "addToUpdate", tuple{bytes.id()}, [](auto& t, const Cookie& id) { t.addToUpdate(id); });
    case 12:
        if (bytes.one_in(2)) return call(x, "beginUpdate", tuple<>{}, [](auto& t) { t.beginUpdate(); });
        return call(x, "endUpdate", tuple<>{}, [](auto& t) { t.endUpdate(); });
    default:
        if (!with_listeners) return kNotNow;
        return listen(*x.ear, *x.lib, *x.naive, now(x, "listen", bytes.pick(4)));
    }
}

// --- On views ---

inline constexpr unsigned kViewKinds = 33;

inline bool Driver::make_view(TableTwin& t) {
    auto naive = new_naive_view();
    now(t, "make a view", naive->name);
    naive->attach(t.naive.get());
    adopt(new ODBViewRep(t.lib.get()), naive);
    slots.back().lib->displayAllRecords();
    naive->displayAllRecords();
    return true;
}

// A view from another one: a subview of its tagged entries, or a copy.
inline bool Driver::derive_view(ViewTwin v, bool subview) {
    const bool deep = v.naive->base_view() && v.naive->base_view()->base_view();
    if (slots.size() >= kMostViews || !v.naive->table() || (subview && deep)) return kNotNow;
    auto naive = new_naive_view();
    now(v, subview ? "newTagSubview" : "copy", naive->name);
    naive->attach(v.naive->table());
    if (subview)
        naive->stand_on(v.naive);
    else if (v.naive->base_view())
        naive->stand_on(v.naive->base_view());
    if (subview)
        naive->displayTaggedRecordsAt(0);
    else
        naive->entries = v.naive->entries;
    return adopt(subview ? v.lib->newTagSubview() : v.lib->copy(), naive);
}

inline bool Driver::copy_with_table(const ViewTwin& v) {
    now(v, "copyWithNewBaseView");
    ODBView lib = v.lib.copyWithNewBaseView();
    same("whether there is a copy", static_cast<bool>(lib), v.naive->table() != nullptr);
    if (!lib) return true;
    const std::unique_ptr<keldb> owned(lib->odb());
    auto table = new_naive_table(9);
    table->copy_from(*v.naive->table(), true);
    NaiveView naive("copy", expected_);
    naive.attach(table.get());
    for (unsigned i = 0; i < v.naive->size(); ++i) {
        if (!v.naive->record(i)) continue;
        naive.append(v.naive->baseIndex(static_cast<int>(i)));
        naive.set_tag(naive.size() - 1, v.naive->get_tag(i));
    }
    compare_cells(*lib, naive, true);
    for (unsigned i = 0; i < naive.size(); ++i) same("a tag", lib->get_tag(i), naive.get_tag(i));
    lib = ODBView();  // before its table
    return true;
}

inline bool Driver::convert(const ViewTwin& v) {
    now(v, "Convert_ODBView_to_keldb");
    keldb* lib = Convert_ODBView_to_keldb(v.lib);
    same("whether there is a table", lib != nullptr, v.naive->table() != nullptr);
    if (!lib) return true;
    auto naive = new_naive_table(2);
    naive->copy_from(*v.naive->table(), false);
    naive->add_records(static_cast<int>(v.naive->size()));
    for (unsigned i = 0; i < v.naive->size(); ++i) naive->copy_record(static_cast<int>(i), v.naive->record(i));
    return replace_spare(lib, std::move(naive));
}

inline bool Driver::retarget(const ViewTwin& v) {
    if (v.naive->stood_upon()) return kNotNow;  // its subviews would stand on another table
    const unsigned to = now(v, "odb", bytes.one_in(6) ? 2 : bytes.pick(2));
    v.lib->odb(to == 2 ? nullptr : tables[to].lib.get());
    v.naive->attach(to == 2 ? nullptr : tables[to].naive.get());
    return call(v, "displayAllRecords", tuple<>{}, [](auto& t) { t.displayAllRecords(); });
}

inline bool Driver::run_view(unsigned kind) {
    ViewTwin& x = view();
    const int size = static_cast<int>(x.naive->size());
    const bool full = size >= kMostRows;
    const auto position = [&] { return bytes.near(size); };
    const auto count = [&] { return static_cast<int>(bytes.pick(6)) - 1; };
    switch (kind) {
    case 0:
        return slots.size() < kMostViews ? make_view(tables[bytes.pick(2)]) : kNotNow;
    case 1:
        return derive_view(x, true);
    case 2:
        return derive_view(x, false);
    case 3:
        return copy_with_table(x);
    case 4:
        return convert(x);
    case 5:
        return retarget(x);
    case 6:
        if (slots.size() >= kMostViews) return kNotNow;
        now(x, "share a handle");
        slots.push_back(ViewTwin(x));
        return true;
    case 7: {
        ViewTwin& from = view();
        now(x, "assign a handle", from.naive->name);
        x = from;
        return true;
    }
    case 8:
        now(x, "release a handle");
        slots.erase(slots.begin() + (&x - slots.data()));
        return true;
    case 9: {
        const int base_size = x.naive->base() ? static_cast<int>(x.naive->base()->size()) : 3;
        if (full) return kNotNow;
        return call(x, "displayRecordsAt", tuple{bytes.near(base_size), count(), position()},
                    [](auto& t, int r, int n, int at) { return t.displayRecordsAt(r, n, at); });
    }
    case 10:
        return call(x, "displayAllRecords", tuple<>{}, [](auto& t) { t.displayAllRecords(); });
    case 11:
        if (full) return kNotNow;
        return call(x, "displayTaggedRecordsAt", tuple{position()},
                    [](auto& t, int at) { t.displayTaggedRecordsAt(at); });
    case 12:
        if (full) return kNotNow;
        return call(x, "displayMatchAt", tuple{bytes.field_name(), bytes.value(), position()},
                    [](auto& t, const char* f, const char* text, int at) { return t.displayMatchAt(f, text, at); });
    case 13: {
        if (full) return kNotNow;
        CookieVec ids;
        for (unsigned left = bytes.pick(5); left > 0; --left) ids.add(bytes.id());
        return call(x, "displayRecordsAt ids", tuple{position()},
                    [&ids](auto& t, int at) { return t.displayRecordsAt(ids, at); });
    }
    case 14:
        if (full) return kNotNow;
        return call_two(x, "displayAllFromAt", view(), tuple{position()},
                        [](auto& t, auto& other, int at) { return t.displayAllFromAt(&other, at); });
    case 15:
        if (full) return kNotNow;
        return call(x, "append", tuple{bytes.near(30)}, [](auto& t, int row) { t.append(row); });
    case 16:
        return call(x, "clear", tuple<>{}, [](auto& t) { t.clear(); });
    case 17:
        return call(x, "remove", tuple{position(), count()}, [](auto& t, int at, int n) { t.remove(at, n); });
    case 18:
        return call(x, "removeRecordsFromBaseView", tuple{position(), count()},
                    [](auto& t, int at, int n) { t.removeRecordsFromBaseView(at, n); });
    case 19:
        return call(x, "removeTagged", tuple<>{}, [](auto& t) { return t.removeTagged(); });
    case 20:
        return call(x, "removeNonTagged", tuple<>{}, [](auto& t) { return t.removeNonTagged(); });
    case 21:
        return call(x, "deleteRecords", tuple{position(), count()},
                    [](auto& t, int at, int n) { t.deleteRecords(at, n); });
    case 22:
        return call(x, "deleteTagged", tuple<>{}, [](auto& t) { return t.deleteTagged(); });
    case 23:
        if (full || !x.naive->table() || x.naive->table()->rows.size() >= kMostRows) return kNotNow;
        return call(x, "insertBlankRecords", tuple{re_points ? position() : 9999, count()},
                    [](auto& t, int at, int n) { t.insertBlankRecords(at, n); });
    case 24:
        return call(x, "tagMatches", tuple{static_cast<int>(bytes.pick(2))},
                    [](auto& t, int keep) { return t.tagMatches(keep); });
    case 25:
        return call(x, "tagDuplicates", tuple{bytes.near(4)}, [](auto& t, int f) { return t.tagDuplicates(f); });
    case 26:
        return call(x, "tagDuplicatesOrdered", tuple{bytes.near(4)},
                    [](auto& t, int f) { return t.tagDuplicatesOrdered(f); });
    case 27:
        return call(x, "tagBaseFromTags", tuple<>{}, [](auto& t) { t.tagBaseFromTags(); });
    case 28:
        return call(x, "setupViewTagsFromKeldbTagField", tuple<>{},
                    [](auto& t) { t.setupViewTagsFromKeldbTagField(); });
    case 29:
        return call(x, "displayAllRecordsWithBaseTagStatus", tuple<>{},
                    [](auto& t) { t.displayAllRecordsWithBaseTagStatus(); });
    case 30: {
        const int at = now(x, "find", position());
        const RowPtr row = x.naive->record(static_cast<unsigned>(at));
        same("the result", x.lib->find(row ? row->twin : nullptr), x.naive->find(row));
        return true;
    }
    case 31: {
        if (!with_listeners) return kNotNow;
        const unsigned types = now(x, "listen", bytes.pick(4));
        return listen(*ear_of(*x.naive), *x.lib, *x.naive, types);
    }
    default: {
        const bool tags = now(x, "make a cursor", bytes.one_in(2));
        cursor = std::make_unique<CursorTwin>(x, tags);
        return true;
    }
    }
}

// --- On the cursor, which stays where it is while its view changes under it ---

inline constexpr unsigned kCursorKinds = 6;

inline bool Driver::run_cursor(unsigned kind) {
    if (!cursor) cursor = std::make_unique<CursorTwin>(view(), bytes.one_in(2));
    CursorTwin& x = *cursor;
    const int size = static_cast<int>(x.naive->view->size());
    switch (kind) {
    case 0:
        if (bytes.one_in(2)) return call(x, "cursor ++", tuple<>{}, [](auto& c) { ++c; });
        return call(x, "cursor --", tuple<>{}, [](auto& c) { --c; });
    case 1:
        return call(x, "cursor set_index", tuple{bytes.near(size)}, [](auto& c, int at) { c.set_index(at); });
    case 2:
        return call(x, "cursor remove", tuple<>{}, [](auto& c) { c.remove(); });
    case 3: {
        const int at = now(x, "cursor find", bytes.near(size));
        const RowPtr row = x.naive->view->record(static_cast<unsigned>(at));
        same("the result", x.lib->find(row ? row->twin : nullptr), x.naive->find(row));
        return true;
    }
    case 4:
        return call(x, "cursor findField", tuple{bytes.field_name(), bytes.text().c_str()},
                    [](auto& c, const char* f, const char* value) { return c.findField(f, value); });
    default:
        return call(x, "cursor findFieldSorted", tuple{bytes.field_name(), bytes.text().c_str()},
                    [](auto& c, const char* f, const char* value) { return c.findFieldSorted(f, value); });
    }
}

// Runs one operation; false when the one drawn does not apply just now. Now and then the ground is prepared: without
// views most operations would not apply, and a table that shows tagged records only refuses many.
inline bool Driver::step() {
    for (TableTwin& t : tables) {
        if (t.naive->get_show_tags_only() != 0 && bytes.one_in(8))
            call(t, "set_show_tags_only", tuple{0}, [](auto& table, int on) { table.set_show_tags_only(on); });
        if (t.naive->rows.size() >= 4 || !bytes.one_in(4)) continue;
        now(t, "fill");
        return fill(t, 12);
    }
    if (slots.size() < 2) return make_view(tables[bytes.pick(2)]);
    unsigned kind = bytes.pick(2 * kCommonKinds + kTableKinds + kViewKinds + kCursorKinds);
    if (kind < kCommonKinds) {
        TableTwin& t = table();
        return run_common(kind, {t.lib.get(), t.naive.get(), t.naive.get(), false});
    }
    if ((kind -= kCommonKinds) < kCommonKinds) {
        ViewTwin& v = view();
        return run_common(kind, {v.lib.get(), v.naive.get(), v.naive->table(), true});
    }
    if ((kind -= kCommonKinds) < kTableKinds) return run_table(kind);
    if ((kind -= kTableKinds) < kViewKinds) return run_view(kind);
    return run_cursor(kind - kViewKinds);
}

}  // namespace model

#endif
