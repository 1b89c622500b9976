// The driver's frame: how a program starts and goes on, and what is compared after each step and at the end.
#ifndef KELDB_TESTS_MODEL_CHECKS_H
#define KELDB_TESTS_MODEL_CHECKS_H

#include "tests/model/driver.h"

namespace model {

// --- Making and keeping twins ---

inline Ear* Driver::ear_of(const NaiveView& naive) const {
    const auto found =
        std::find_if(seen_.begin(), seen_.end(), [&](const Seen& s) { return s.naive.lock().get() == &naive; });
    return found == seen_.end() ? nullptr : found->ear.get();
}

inline std::shared_ptr<NaiveView> Driver::new_naive_view() {
    return std::make_shared<NaiveView>("v" + std::to_string(views_made_++), expected_);
}

inline bool Driver::listen(Ear& ear, Notifier& lib, NaiveBase& naive, unsigned types) {
    naive.drop_listener(nullptr);
    ear.hear(lib, types);
    if (types != 0) naive.add_foreign(types);
    naive.silent = true;  // the mirror is not in place yet
    return true;
}

inline std::unique_ptr<NaiveTable> Driver::new_naive_table(unsigned slot) {
    return std::make_unique<NaiveTable>("t" + std::to_string(slot), expected_);
}

inline bool Driver::adopt(ODBViewRep* lib, std::shared_ptr<NaiveView> naive) {
    if (!lib) throw Divergence{"no view was made"};
    seen_.push_back({lib, naive, std::make_unique<Ear>(naive->name, heard_)});
    if (with_listeners)
        listen(*seen_.back().ear, *lib, *naive, bytes.one_in(4) ? 0 : NaiveBase::kDeleted | NaiveBase::kChanged);
    slots.push_back({ODBView(lib), std::move(naive)});
    return true;
}

inline bool Driver::replace_spare(keldb* lib, std::unique_ptr<NaiveTable> naive) {
    TableTwin& spare = tables[2];
    spare.ear.reset();
    spare.lib.reset(lib);
    spare.naive = std::move(naive);
    spare.ear = std::make_unique<Ear>("t2", heard_);
    if (with_listeners) listen(*spare.ear, *spare.lib, *spare.naive, NaiveBase::kDeleted | NaiveBase::kChanged);
    return true;
}

inline bool Driver::fill(TableTwin& t, unsigned count) {
    unsigned seed = bytes.u8();
    Text noise;
    for (unsigned i = 0; i < count * 16; ++i) noise += static_cast<char>((seed = seed * 1103515245 + 12345) >> 16);
    ByteSource values(noise);
    const int first = t.lib->add_records(static_cast<int>(count));
    same("the first new row", first, t.naive->add_records(static_cast<int>(count)));
    for (int i = 0; first >= 0 && i < static_cast<int>(count); ++i) {
        const auto row = static_cast<unsigned>(first + i);
        for (unsigned field = 0; field < t.naive->fields.size(); ++field) {
            const String text =
                lower(t.naive->fields[field].name) == "cookie" ? values.id().text() : String(values.text());
            t.lib->setField(row, field, text);
            t.naive->setField(row, field, text);
        }
        const int tag = values.one_in(3);
        t.lib->set_tag(row, tag);
        t.naive->set_tag(row, tag);
    }
    return true;
}

inline void Driver::start() {
    const unsigned profile = bytes.u8();
    with_listeners = (profile & 1) != 0;
    re_points = (profile & 2) != 0;
    std::vector<DBFieldDesc> fields;
    for (unsigned slot = 0; slot < 3; ++slot) {
        if (slot == 0 || bytes.one_in(2)) {
            fields.clear();
            if (bytes.one_in(2)) fields.push_back({String("Cookie"), DBFieldTypes::text});
            for (unsigned count = bytes.pick(4); fields.size() <= count;)
                fields.push_back({String(bytes.field_name()), bytes.type()});
        }
        TableTwin& t = tables[slot];
        t.lib = std::make_unique<keldb>(fields);
        t.naive = new_naive_table(slot);
        t.naive->fields.resize(fields.size(), {"", 'a', false});
        for (unsigned i = 0; i < fields.size(); ++i) {
            t.naive->set_fieldname(i, fields[i].name.c_str());
            t.naive->set_fieldtype(i, fields[i].type);
            t.naive->fields[i].ranged = !pair_of(t.naive->fields[i].name).first.empty();
        }
        t.ear = std::make_unique<Ear>(t.naive->name, heard_);
        if (with_listeners) listen(*t.ear, *t.lib, *t.naive, bytes.pick(4));
        fill(t, 8 * bytes.pick(5));
    }
}

// --- What must hold after each step ---

inline void Driver::compare_cells(ODBBase& lib, const NaiveBase& naive, bool all) {
    same("the row count", lib.get_num_records(), naive.size());
    const unsigned count = naive.size();
    for (unsigned k = 0; k < (all ? count : std::min(count, 2U)); ++k) {
        const unsigned row = all ? k : sample(count);
        const RowPtr expected = naive.record(row);
        const dbrecord* record = lib.get_record(row);
        if (!expected || !record) {
            same("a record", record != nullptr, expected != nullptr);
            continue;
        }
        same("a record's field count", record->get_num_fields(), static_cast<unsigned>(expected->values.size()));
        for (unsigned field = 0; field < expected->values.size(); ++field) {
            if (!all && sample(3) != 0) continue;
            const Text& text = expected->values[field];
            same("a value of a record", record->field_text(field) == text ? text : Text(record->field_text(field)),
                 text);
            same("a value by getField", lib.getField(row, field), text);
            std::vector<char> copy(text.size() + 1, '?');
            same("in_field", lib.in_field(row, field, copy.data(), static_cast<int>(text.size())),
                 text.empty() ? 0 : 1);
            same("a value by in_field", Text(copy.data(), text.size()), text);
            bool truth = false;
            lib.in_field(row, field, truth);
            same("a truth value", truth, text.starts_with('t'));
        }
        same("a value behind the last", lib.getField(row, static_cast<unsigned>(expected->values.size())), Text());
    }
}

inline void Driver::check_table(TableTwin& t, bool all) {
    NaiveTable& naive = *t.naive;
    same("the number of fields", t.lib->get_num_fields(), static_cast<unsigned>(naive.fields.size()));
    for (unsigned i = 0; i < naive.fields.size(); ++i) {
        same("a field name", t.lib->get_fieldname(i), naive.fields[i].name.c_str());
        same("a field type", static_cast<int>(t.lib->get_field_type(i)), static_cast<int>(naive.fields[i].type));
        same("get_fieldnum", t.lib->get_fieldnum(String(naive.fields[i].name)), naive.fieldnum(naive.fields[i].name));
    }
    const std::vector<const dbrecord*> records = records_of(*t.lib);
    same("the number of stored records", records.size(), naive.rows.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        Row& row = *naive.rows[i];
        if (!row.twin) row.twin = records[i];
        if (row.twin != records[i])
            throw Divergence{"row " + std::to_string(i) + " of " + naive.name + " is another record"};
        same("a record's tag", records[i]->get_tag(), row.tag);
        same("a record's changed flag", records[i]->get_changed() != 0, row.changed);
    }
    same("the changed flag", t.lib->get_changed() != 0, naive.changed);
    same("show-tags-only", t.lib->get_show_tags_only(), naive.get_show_tags_only());
    dberror error{};
    t.lib->read_error_info(error);
    same("the error", error.kind * 10 + error.index, naive.error[0] * 10 + naive.error[1]);
    compare_cells(*t.lib, naive, all);
    if (!t.lib->ok()) throw Divergence{naive.name + " is not ok()"};
    if (!t.ear->look(records) && !naive.silent) throw Divergence{"the mirror of " + naive.name};
    naive.silent = false;
}

inline void Driver::check_view(Seen& seen, bool all) {
    const std::shared_ptr<NaiveView> naive = seen.naive.lock();
    const ODBViewRep& lib = *seen.lib;
    same("the entry count", static_cast<unsigned>(lib.size()), naive->size());
    for (unsigned i = 0; i < naive->size(); ++i) {
        const Entry& entry = naive->entries[i];
        const ODBRecRef& ref = *lib.recRef(static_cast<int>(i));
        const RowPtr row = naive->record(i);
        const Text where = naive->name + " entry " + std::to_string(i);
        if (ref.row != entry.row)
            throw Divergence{where + " is of base row " + shown(ref.row) + ", model " + shown(entry.row)};
        if (ref.tag != entry.tag)
            throw Divergence{where + " has the tag " + shown(ref.tag) + ", model " + shown(entry.tag)};
        if (lib[static_cast<int>(i)] != (row ? row->twin : nullptr)) throw Divergence{where + " names another record"};
        if (entry.named && entry.named != row) throw Divergence{where + " was turned to another record"};
    }
    if (!lib.ok()) throw Divergence{naive->name + " is not ok()"};
    const int room = ViewInside::room(lib);
    if (room < lib.size() || (room != 0 && room < 20)) throw Divergence{naive->name + " has room for " + shown(room)};
    same("the number of holders", static_cast<long>(lib.refs()), naive.use_count() - 1);
    compare_cells(*seen.lib, *naive, all);
    if (!seen.ear->look(records_of(lib)) && !naive->silent) throw Divergence{"the mirror of " + naive->name};
    naive->silent = false;
}

inline void Driver::check_cursor() {
    if (!cursor) return;
    same("the cursor's position", cursor->lib->index(), cursor->naive->index());
    const RowPtr row = cursor->naive->record();
    if (**cursor->lib != (row ? row->twin : nullptr)) throw Divergence{"the cursor gives another record"};
}

inline void Driver::check(bool all) {
    for (const Text& line : heard_) note(line);
    const auto told = std::mismatch(heard_.begin(), heard_.end(), expected_.begin(), expected_.end());
    if (told.first != heard_.end() || told.second != expected_.end()) {
        throw Divergence{"announced " + (told.first == heard_.end() ? "nothing more" : shown(*told.first)) +
                         ", model " + (told.second == expected_.end() ? "nothing more" : shown(*told.second))};
    }
    heard_.clear();
    expected_.clear();
    for (TableTwin& t : tables) check_table(t, all);
    std::erase_if(seen_, [](const Seen& s) { return s.naive.expired(); });
    for (Seen& seen : seen_) check_view(seen, all);
    check_cursor();
    if (std::memcmp(key_lists[0], key_lists[1], sizeof key_lists[0]) != 0) throw Divergence{"the caller's sort keys"};
}

// Two ways to one result, in the library alone: a subview and a view of the composed rows; a sorted table and a sorted
// view of it; deleting through a view and in the table.
inline void Driver::check_routes() {
    const auto texts = [](ODBBase& base) {
        Log rows;
        for (unsigned row = 0; row < base.get_num_records(); ++row) {
            rows.emplace_back();
            for (unsigned field = 0; field < base.get_num_fields(); ++field)
                rows.back() += Text(base.getField(row, field).view()) + '\x1f';
        }
        return rows;
    };
    for (const Seen& seen : seen_) {
        if (!seen.lib->isSubview()) continue;
        now_ = "composing the rows of a subview";
        ODBView composed(seen.lib->odb());
        for (int i = 0; i < seen.lib->size(); ++i)
            composed->append((*seen.lib)[i] ? seen.lib->baseIndex(i) : std::numeric_limits<int>::max());
        if (texts(*composed) != texts(*seen.lib)) throw Divergence{"the view of the same rows shows something else"};
    }
    keldb sorted(*tables[0].lib), unsorted(*tables[0].lib);
    ODBView view(&unsorted);
    view->displayAllRecords();
    const int field = bytes.near(3), direction = bytes.one_in(2) ? 1 : -1;
    for (ODBBase* base : {static_cast<ODBBase*>(&sorted), static_cast<ODBBase*>(&*view)}) {
        base->set_sortfield(field);
        base->sort(direction, 0);
    }
    now_ = "sorting a table and a view of it";
    if (texts(sorted) != texts(*view)) throw Divergence{"the two differ"};

    const int start = bytes.near(view->size()), count = bytes.near(view->size());
    std::vector<unsigned> rows;
    for (int i = std::max(start, 0); start >= 0 && i < view->size() && i - start < count; ++i)
        rows.push_back(view->recRef(i)->row);
    keldb emptied(unsorted);
    std::sort(rows.rbegin(), rows.rend());
    for (const unsigned row : rows) emptied.delete_records(row, 1);
    view->deleteRecords(start, count);
    now_ = "deleting through a view and in the table";
    if (texts(unsorted) != texts(emptied)) throw Divergence{"the two differ"};
}

inline Outcome Driver::run(Histogram* histogram) {
    Outcome outcome;
    try {
        start();
        check(true);
        while (!bytes.empty()) {
            ++outcome.steps;
            if (!step()) continue;
            if (histogram) ++(*histogram)[now_.substr(0, 1) + "." + kind_];
            check(false);
        }
        check(true);
        check_routes();
    } catch (const Divergence& divergence) {
        outcome.fault = "step " + std::to_string(outcome.steps) + " " + now_ + ": " + divergence.text;
    }
    outcome.digest = digest_;
    return outcome;
}

}  // namespace model

#endif
