// Reads a string of bytes as a program of operations (operations.h) on tables and up to three levels of views, runs it
// on the library and on the obvious twins (naive_table.h, naive_view.h), and compares after every step:
//
//     results, counts, tags, changed flags, fields, entries, some cells by every way to read one (all at the end);
//     that each record is the one it was, and that each view entry names the right one;
//     ok() of every table and view, and how many hold each view;
//     what foreign listeners heard, in order, text by text.
//
// A program has foreign listeners or none, by its first byte; with them the library announces deletion by deletion,
// without them it deletes all at once, and the twin always goes step by step: both ways are held to the same results.
#ifndef KELDB_TESTS_MODEL_DRIVER_H
#define KELDB_TESTS_MODEL_DRIVER_H

#include "keldb/views/odb_view.h"
#include "tests/model/byte_source.h"
#include "tests/model/naive_view.h"
#include "tests/testing/random.h"

namespace model {

struct Outcome {
    unsigned steps = 0;
    Text fault;                // "" or the step, the operation and what differs
    std::uint64_t digest = 0;  // of all that was observed
};
using Histogram = std::map<Text, long>;  // how often each kind of operation ran

// Shows the records behind the visible ones.
struct TableInside : keldb {
    static const dbrecord* record(const keldb& table, unsigned row) {
        return (table.*&TableInside::get_raw_record)(row);
    }
};

// A foreign listener of one type.
class Ear : public NotifyCallback {
public:
    Ear(Text what, Log& log) : what_(std::move(what)), log_(log) {}
    int call(const NotifyMsg& message) override {
        log_.push_back(what_ + message.text().c_str() + (message.payload() ? " and more" : ""));
        return 0;
    }

private:
    Text what_;
    Log& log_;
};

class Driver {
public:
    struct Kind {
        Text name;
        std::function<bool(Driver&)> run;  // false when it does not apply just now
    };
    static const std::vector<Kind>& kinds();

    explicit Driver(std::string_view program) : bytes(program) {}
    Outcome run(Histogram* histogram);

private:
    friend struct Operations;
    static constexpr int kMostRows = 200;
    static constexpr std::size_t kMostHandles = 6;

    struct TableTwin {
        std::unique_ptr<keldb> lib;
        std::unique_ptr<NaiveTable> naive;
    };
    struct ViewTwin {  // one of the handles that programs hold
        ODBView lib;
        std::shared_ptr<NaiveView> naive;
    };

    // --- What operations are written in ---

    // Does one thing to both twins; the results must be the same.
    void both(auto& twin, const auto& act) {
        if constexpr (std::is_void_v<decltype(act(*twin.lib))>) {
            act(*twin.lib);
            act(*twin.naive);
        } else {
            const auto result = act(*twin.lib);
            same("the result", result, act(*twin.naive));
        }
    }
    template <class Lib>
    void same(const char* what, const Lib& lib, const auto& naive) {
        bool equal = false;
        if constexpr (std::is_integral_v<Lib> || std::is_enum_v<Lib>) {
            note(static_cast<std::uint64_t>(lib));
            equal = static_cast<long long>(lib) == static_cast<long long>(naive);
        } else {
            for (const char c : std::string_view(lib)) note(static_cast<unsigned char>(c));
            equal = std::string_view(lib) == std::string_view(naive);
        }
        if (!equal) fail(Text(what) + " is " + shown(lib) + ", model " + shown(naive));
    }
    TableTwin& table() { return tables[bytes.pick(2)]; }
    ViewTwin& view() { return slots[bytes.pick(static_cast<unsigned>(slots.size()))]; }
    bool listen(auto& twin) {
        NaiveBase& naive = *twin.naive;
        const unsigned types = with_listeners ? bytes.of({0U, 1U, 2U, 3U, 3U, 3U}) : 0;
        for (const auto& guard : naive.guards) twin.lib->deregisterNotification(guard);
        naive.guards.clear();
        naive.drop_listener(nullptr);
        const auto hear = [&](const char* what, int type) {
            const Qv::Ptr<NotifyCallback> ear(new Ear(naive.name + what, heard));
            naive.guards.push_back(twin.lib->registerNotification(ear, type));
        };
        if (types & 1) hear(" recordsDeleted ", kel::records_deleted_type());
        if (types & 2) hear(" recordsChanged", kel::records_changed_type());
        if (types != 0) naive.add_listener(nullptr, types);
        return true;
    }
    ViewTwin& put_view(ODBViewRep* lib, NaiveTable* table, std::shared_ptr<NaiveView> base) {
        const Text name = "v" + std::to_string(views_made++);
        slots.push_back({ODBView(lib), std::make_shared<NaiveView>(name, expected, table, std::move(base))});
        views.emplace_back(lib, slots.back().naive);
        listen(slots.back());
        return slots.back();
    }
    bool make_view(TableTwin& t) {
        both(put_view(new ODBViewRep(t.lib.get()), t.naive.get(), nullptr), [](auto& v) { v.displayAllRecords(); });
        return true;
    }
    bool fill(TableTwin& t, int count);
    Text noise(std::size_t size) {  // many bytes from two of the program
        const unsigned high = bytes.u8() << 8;
        return testing_kit::Random(high | bytes.u8()).bytes(size);
    }

    // --- Frame ---

    template <class T>
    static Text shown(const T& value) {
        if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
            return std::to_string(static_cast<long long>(value));
        else
            return '"' + Text(value) + '"';
    }
    [[noreturn]] void fail(const Text& text) const { throw std::runtime_error(where + text); }
    void note(std::uint64_t number) { digest = (digest ^ number) * 1099511628211U; }  // FNV-1a
    void start();
    bool prepare_ground();
    void check(bool all);
    void check_table(TableTwin& t);
    void check_view(const ODBViewRep& lib, const NaiveView& naive);
    void check_cells(ODBBase& lib, const NaiveBase& naive, bool all);

    ByteSource bytes;
    bool with_listeners = false;
    Log heard, expected;
    TableTwin tables[2];
    std::vector<std::pair<ODBViewRep*, std::weak_ptr<NaiveView>>> views;  // all that live
    std::vector<ViewTwin> slots;
    unsigned views_made = 0;
    Text now = "start", where;
    std::uint64_t digest = 14695981039346656037U;
};

inline bool Driver::fill(TableTwin& t, int count) {
    const Text drawn = noise(static_cast<unsigned>(count) * 16);
    ByteSource values(drawn);
    const unsigned first = t.naive->size();
    both(t, [=](auto& x) { return x.add_records(count); });
    for (unsigned row = first; row < t.naive->size(); ++row) {
        const int tag = values.one_in(3);
        both(t, [=](auto& x) { x.set_tag(row, tag); });
        for (unsigned field = 0; field < t.naive->fields.size(); ++field) {
            const bool id = folded(t.naive->fields[field].name) == "cookie";
            const String text(id ? values.id() : values.text());
            both(t, [&](auto& x) { return x.setField(row, field, text); });
        }
    }
    return true;
}

inline void Driver::start() {
    with_listeners = bytes.one_in(2);
    std::vector<DBFieldDesc> fields;
    for (TableTwin& t : tables) {
        if (fields.empty() || bytes.one_in(2)) fields = {{bytes.one_in(2) ? "Cookie" : "Name", DBFieldTypes::text}};
        for (unsigned count = bytes.pick(5); fields.size() < count;) {
            const char* const name = bytes.field_name();
            fields.push_back({name, bytes.type()});
        }
        t.lib = std::make_unique<keldb>(std::vector<DBFieldDesc>());
        t.naive = std::make_unique<NaiveTable>("t" + std::to_string(&t - tables), expected);
        for (const DBFieldDesc& field : fields) both(t, [&](auto& x) { return x.addField(field); });
        fill(t, 8 * static_cast<int>(bytes.pick(5)));
        listen(t);
    }
}

// Without views most operations would not apply, a table that shows tagged records only refuses many, and many rows
// take long.
inline bool Driver::prepare_ground() {
    now = "preparing the ground";
    for (TableTwin& t : tables) {
        const bool many = t.naive->rows.size() > kMostRows;
        if (t.naive->show != 0 && (many || bytes.one_in(8))) both(t, [](auto& x) { x.set_show_tags_only(0); });
        if (many) both(t, [](auto& x) { x.delete_records(kMostRows / 2, 10000); });
        if (t.naive->rows.size() < 4 && bytes.one_in(4)) return fill(t, 12);
    }
    for (ViewTwin& v : slots) {
        if (v.naive->size() > kMostRows) both(v, [](auto& x) { x.remove(kMostRows / 2, 10000); });
    }
    if (slots.size() > kMostHandles) slots.erase(slots.begin());
    return slots.size() < 2 && make_view(table());
}

inline void Driver::check_cells(ODBBase& lib, const NaiveBase& naive, bool all) {
    same("the row count", lib.get_num_records(), naive.size());
    for (unsigned k = 0; k < (all ? naive.size() : std::min(naive.size(), 2U)); ++k) {
        const unsigned row = all ? k : static_cast<unsigned>(digest >> 32) % naive.size();
        const RowPtr wanted = naive.record(row);
        const dbrecord* const record = lib.get_record(row);
        same("a record", record != nullptr, wanted != nullptr);
        if (!record) continue;
        const auto fields = static_cast<unsigned>(wanted->values.size());
        same("a record's field count", record->get_num_fields(), fields);
        same("a value behind the last", lib.getField(row, fields).view(), "");
        for (unsigned field = 0; field < fields; ++field) {
            const Text& text = wanted->values[field];
            same("a value of a record", record->field_text(field), text);
            same("a value by getField", lib.getField(row, field).view(), text);
            std::vector<char> copy(text.size() + 1, '?');
            same("in_field", lib.in_field(row, field, copy.data(), static_cast<int>(text.size())), !text.empty());
            same("a value by in_field", std::string_view(copy.data(), text.size()), text);
        }
    }
}

inline void Driver::check_table(TableTwin& t) {
    const NaiveTable& naive = *t.naive;
    same("the number of fields", t.lib->get_num_fields(), naive.fields.size());
    for (unsigned i = 0; i < naive.fields.size(); ++i) {
        const Text& name = naive.fields[i].name;
        same("a field name", t.lib->get_fieldname(i), name);
        same("a field type", t.lib->get_field_type(i), naive.fields[i].type);
        same("get_fieldnum", t.lib->get_fieldnum(String(name)), naive.get_fieldnum(name));
    }
    for (unsigned i = 0; i < naive.rows.size(); ++i) {
        Row& row = *naive.rows[i];
        const dbrecord* const record = TableInside::record(*t.lib, i);
        const dbrecord* const before = std::exchange(row.twin, record);
        if (!record || (before && before != record)) fail("another record in row " + shown(i));
        same("a record's tag", record->get_tag(), row.tag);
        same("a record's changed flag", record->get_changed() != 0, row.changed);
    }
    if (TableInside::record(*t.lib, static_cast<unsigned>(naive.rows.size()))) fail("a record too many");
    same("the changed flag", t.lib->get_changed() != 0, naive.changed);
    same("show-tags-only", t.lib->get_show_tags_only(), naive.show);
    same("ok", t.lib->ok(), true);
}

inline void Driver::check_view(const ODBViewRep& lib, const NaiveView& naive) {
    same("the entry count", lib.size(), naive.size());
    for (unsigned i = 0; i < naive.size(); ++i) {
        const Entry& entry = naive.entries[i];
        const ODBRecRef& ref = *lib.recRef(static_cast<int>(i));
        const RowPtr row = naive.record(i);
        same("an entry's base row", ref.row, entry.row);
        same("an entry's tag", ref.tag, entry.tag);
        if (lib[static_cast<int>(i)] != (row ? row->twin : nullptr)) fail("another record in entry " + shown(i));
    }
    same("ok", lib.ok(), true);
}

inline void Driver::check(bool all) {
    heard.resize(std::max(heard.size(), expected.size()), "nothing more");
    expected.resize(heard.size(), "nothing more");
    for (std::size_t i = 0; i < heard.size(); ++i) same("what was announced", heard[i], expected[i]);
    heard.clear();
    expected.clear();
    for (TableTwin& t : tables) {
        where = t.naive->name + ": ";
        check_table(t);
        check_cells(*t.lib, *t.naive, all);
    }
    std::erase_if(views, [](const auto& view) { return view.second.expired(); });
    for (const auto& [lib, view] : views) {
        const std::shared_ptr<NaiveView> naive = view.lock();
        where = naive->name + ": ";
        check_view(*lib, *naive);
        check_cells(*lib, *naive, all);
        same("the number of holders", lib->refs(), naive.use_count() - 1);
    }
    where.clear();
}

inline Outcome Driver::run(Histogram* histogram) {
    Outcome outcome;
    try {
        start();
        for (check(true); !bytes.empty(); ++outcome.steps) {
            const Kind& kind = kinds()[bytes.u8() % kinds().size()];
            const bool prepared = prepare_ground();
            if (!prepared && !kind.run(*this)) continue;
            if (histogram && !prepared) ++(*histogram)[kind.name];
            check(false);
        }
        check(true);
    } catch (const std::runtime_error& divergence) {
        outcome.fault = "step " + std::to_string(outcome.steps) + " " + now + ": " + divergence.what();
    }
    outcome.digest = digest;
    return outcome;
}

inline Outcome run_program(std::string_view program, Histogram* histogram = nullptr) {
    return Driver(program).run(histogram);
}

}  // namespace model

#include "tests/model/operations.h"

#endif
