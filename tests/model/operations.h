// The kinds of operation that programs are made of. Most are one row: a name, and one function that is done to both
// twins with the same arguments and whose results must be the same.
#ifndef KELDB_TESTS_MODEL_OPERATIONS_H
#define KELDB_TESTS_MODEL_OPERATIONS_H

#include "tests/model/driver.h"

namespace model {

// What an operation is given: all of it each time, drawn in this order.
struct Args {
    ByteSource from;
    const NaiveTable& table;
    int rows;

    int at = from.near(rows), base_row = from.near(static_cast<int>(table.size()));
    int key = from.near(static_cast<int>(table.fields.size()));
    unsigned row = static_cast<unsigned>(at), field = static_cast<unsigned>(key);
    int count = static_cast<int>(from.pick(6)) - 1;
    unsigned few = static_cast<unsigned>(std::max(count, 0));
    unsigned many = from.one_in(6) ? static_cast<unsigned>(from.near(rows)) : few;
    int number = from.near(12) / 2, tag = from.of({0, 1, 0, 1, 1, 2, 255, 256, -1});
    double real = from.of({-0.0, 1.5, 2.0000000049, 1e308});
    bool flag = from.one_in(2);
    Text text = from.text();
    const char *name = from.field_name(), *value = from.value();  // of a field; what is searched for
    DBFieldTypes::eType type = from.type();
    Cookie id{from.id(), false};

    CookieVec ids() const {
        CookieVec some;
        for (int i = 0; i <= count; ++i) some.add(i % 2 == 0 ? Cookie(value, false) : id);
        return some;
    }
    CookieSet set_of_ids() const {
        CookieSet some;
        for (std::size_t i = 0; i < ids().size(); ++i) some.add(ids()[i]);
        return some;
    }
    std::unique_ptr<dbrecord> query() const {  // now and then narrower or wider than the table
        const int width = std::max(0, static_cast<int>(table.fields.size()) + (count - 1) / 2);
        auto made = std::make_unique<dbrecord>(static_cast<unsigned short>(width));
        made->set_field(key, text, false);
        if (flag) made->set_field(count, value, false);
        return made;
    }
};
using A = const Args&;

struct Operations {
    static constexpr bool kByRuns = true;
    std::vector<Driver::Kind> kinds;

    static void run(Driver& d, auto& twin, const auto& act) {
        auto& naive = *twin.naive;
        const Text noise = d.noise(100);
        const Args args{ByteSource(noise), *naive.table(), static_cast<int>(naive.size())};
        d.both(twin, [&](auto& x) { return act(x, args); });
    }
    void special(const Text& name, const auto& act, bool by_runs = false) { kinds.push_back({name, by_runs, act}); }
    void table(const Text& name, const auto& act, bool by_runs = false) {
        special(
            "table." + name, [=](Driver& d) { run(d, d.table(), act); }, by_runs);
    }
    void view(const Text& name, const auto& act, bool by_runs = false) {
        special(
            "view." + name, [=](Driver& d) { run(d, d.view(), act); }, by_runs);
    }
    void both(const Text& name, const auto& act, bool by_runs = false) {
        table(name, act, by_runs);
        view(name, act, by_runs);
    }
    void of_two_tables(const Text& name, const auto& act) {
        special(name, [=](Driver& d) {
            const TableTwin &t = d.table(), &from = d.table();
            const int result = d.done([&] { return act(*t.lib, *from.lib); });
            d.same("the result", result, act(*t.naive, *from.naive));
        });
    }
    Operations() {
        both("add_records", [](auto& t, A a) { return t.add_records(a.count); });
        both("insert_records", [](auto& t, A a) { t.insert_records(a.row, a.few); });
        table("delete_records", [](auto& t, A a) { t.delete_records(a.row, a.many); });
        view(
            "delete_records", [](auto& t, A a) { t.delete_records(a.row, a.many); }, kByRuns);
        both("set_field text", [](auto& t, A a) { return t.set_field(a.row, a.field, a.text.c_str()); });
        both("set_field int", [](auto& t, A a) { return t.set_field(a.row, a.field, a.number); });
        both("set_field double", [](auto& t, A a) { return t.set_field(a.row, a.field, a.real); });
        both("set_field bool", [](auto& t, A a) { return t.set_field(a.row, a.field, a.flag); });
        both("set_field id", [](auto& t, A a) { return t.set_field(a.row, a.id); });
        both("set_tag", [](auto& t, A a) { t.set_tag(a.row, a.tag); });
        both("invert_tag", [](auto& t, A a) { t.invert_tag(a.row); });
        both("set_all_tags", [](auto& t, A a) { t.set_all_tags(a.tag); });
        both("invert_all_tags", [](auto& t, A) { t.invert_all_tags(); });
        both("get_tag", [](auto& t, A a) { return t.get_tag(a.row); });
        both("get_num_tags", [](auto& t, A) { return t.get_num_tags(); });
        both("sort", [](auto& t, A a) { t.sort(a.count, a.flag); });

        table("setField", [](auto& t, A a) { return t.setField(a.row, a.field, String(a.text)); });
        table("clear_changed", [](auto& t, A) { t.clear_changed(); });
        table("addField", [](auto& t, A a) { return t.addField({a.name, a.type}); });
        table("removeField", [](auto& t, A a) { t.removeField(a.name); });
        table("set_fieldname", [](auto& t, A a) { return t.set_fieldname(a.field, a.name); });
        table("set_fieldtype", [](auto& t, A a) { return t.set_fieldtype(a.field, a.type); });
        both("set_sortfield", [](auto& t, A a) { t.set_sortfield(a.key); });
        both("set_sort_offset", [](auto& t, A a) { t.set_sort_offset(a.flag ? a.number : -a.number); });
        both(
            "delete_tagged_records", [](auto& t, A) { return t.delete_tagged_records(); }, kByRuns);
        table("set_show_tags_only", [](auto& t, A a) { t.set_show_tags_only(a.flag); });
        both("set_query", [](auto& t, A a) { t.set_query(a.query().get()); });
        both("tag_matching_records", [](auto& t, A a) { return t.tag_matching_records(a.flag); });
        both("tag_all_different", [](auto& t, A a) { return t.tag_all_different(a.key); });
        both("findFirst", [](auto& t, A a) { return t.findFirst(a.name, a.value, a.flag ? a.count : 0); });
        table("set_word_only_search", [](auto& t, A a) { t.set_word_only_search(a.flag); });
        table("getRowIndexByID", [](auto& t, A a) { return t.getRowIndexByID(a.id); });

        view("baseIndex", [](auto& t, A a) { return t.baseIndex(a.at); });
        view("displayRecordsAt", [](auto& t, A a) { return t.displayRecordsAt(a.base_row, a.count, a.at); });
        view("displayRecordsAt ids", [](auto& t, A a) { return t.displayRecordsAt(a.ids(), a.at); });
        view("displayAllRecords", [](auto& t, A) { t.displayAllRecords(); });
        view("displayTaggedRecordsAt", [](auto& t, A a) { t.displayTaggedRecordsAt(a.at); });
        view("displayMatchAt", [](auto& t, A a) { return t.displayMatchAt(a.name, a.value, a.at); });
        view("append", [](auto& t, A a) { t.append(a.base_row); });
        view("clear", [](auto& t, A) { t.clear(); });
        view("find", [](auto& t, A a) { return t.find(t[a.at]); });
        view("match_record", [](auto& t, A a) { return t.match_record(a.at); });
        view("remove", [](auto& t, A a) { t.remove(a.at, a.count); });
        view(
            "removeRecordsFromBaseView", [](auto& t, A a) { t.removeRecordsFromBaseView(a.at, a.count); }, kByRuns);
        view(
            "removeTagged", [](auto& t, A) { return t.removeTagged(); }, kByRuns);
        view(
            "removeNonTagged", [](auto& t, A) { return t.removeNonTagged(); }, kByRuns);
        view(
            "deleteTagged", [](auto& t, A) { return t.deleteTagged(); }, kByRuns);
        view("tagMatches", [](auto& t, A a) { return t.tagMatches(a.flag); });
        view("tagDuplicates", [](auto& t, A a) { return t.tagDuplicates(a.key); });
        view("tagDuplicatesOrdered", [](auto& t, A a) { return t.tagDuplicatesOrdered(a.key); });
        view("tagBaseFromTags", [](auto& t, A) { t.tagBaseFromTags(); });

        special("table.listen", [](Driver& d) { d.listen(d.table()); });
        special("view.listen", [](Driver& d) { d.listen(d.view()); });
        special("view.make", [](Driver& d) { d.make_view(d.table()); });
        special("view.newTagSubview", [](Driver& d) {
            const ViewTwin v = d.view();
            // Nothing stands on a detached view, and three levels are enough.
            if (v.naive->detached() || (v.naive->base_view() && v.naive->base_view()->base_view())) return;
            ODBViewRep* const made = d.done([&] { return v.lib->newTagSubview(); });
            d.put_view(made, v.naive->table(), v.naive).displayTaggedRecordsAt(0);
        });
        special("view.copy", [](Driver& d) {
            const ViewTwin v = d.view();
            if (v.naive->detached()) return;
            ODBViewRep* const made = d.done([&] { return v.lib->copy(); });
            d.put_view(made, v.naive->table(), v.naive->base_view()).entries = v.naive->entries;
        });
        special("view.assign a handle", [](Driver& d) { d.view() = ViewTwin(d.view()); });
        special("view.odb", [](Driver& d) {
            const ViewTwin& v = d.view();
            const TableTwin& t = d.table();
            if (v.naive->stood_upon()) return;  // its subviews would stand on another table
            d.done([&] { return v.lib->odb(t.lib.get()), 0; });
            v.naive->odb(t.naive.get());
        });
        special("view.displayAllFromAt", [](Driver& d) {
            const ViewTwin &v = d.view(), &from = d.view();
            const int at = d.bytes.near(static_cast<int>(v.naive->size()));
            const int shown = d.done([&] { return v.lib->displayAllFromAt(from.lib, at); });
            d.same("the result", shown, v.naive->displayAllFromAt(*from.naive, at));
        });
        of_two_tables("table.add_keldb", [](auto& t, auto& from) { return t.add_keldb(&from); });
        // Saved programs know kinds by their places: new ones stand behind all others.
        of_two_tables("table.operator=", [](auto& t, auto& from) {
            t = from;
            return 0;
        });
        view("setupViewTags", [](auto& t, A) { t.setupViewTagsFromKeldbTagField(); });
        view("displayRecordsAt set", [](auto& t, A a) { return t.displayRecordsAt(a.set_of_ids(), a.at); });
        view("displayAllWithBaseTags", [](auto& t, A) { t.displayAllRecordsWithBaseTagStatus(); });
        special("view.detach", [](Driver& d) {
            const ViewTwin& v = d.view();
            if (v.naive->stood_upon() || !d.bytes.one_in(4)) return;
            d.done([&] { return v.lib->odb(nullptr), 0; });
            v.naive->odb(NaiveView::nowhere());
        });
    }
};

inline const std::vector<Driver::Kind>& kinds() {
    static const Operations all;
    return all.kinds;
}
inline Outcome run_program(std::string_view program) { return Driver(program).run(kinds()); }

}  // namespace model

#endif
