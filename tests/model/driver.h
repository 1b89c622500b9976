// Reads a string of bytes as a program of operations (operations.h) on tables and up to three levels of views, runs it
// on the library and on the obvious twins (naive_table.h, naive_view.h), and compares all that can be seen after every
// step: results, fields, records, entries, tags, which record is which, announcements, holders of views, ok().
//
// A program has foreign listeners or none, by its first byte; with them the library announces deletion by deletion,
// without them it deletes all at once, and the twin always goes step by step: both ways are held to the same results.
//
// Memory runs out now and then, at the first, second, ... allocation of an operation until it is done: all that can be
// seen must be as before it, which is looked at after each of the first failures and some of the later ones, since an
// operation on many rows fails hundreds of times. Only what deletes run by run while somebody listens may stop between
// two runs; then all must be in order, and the program ends.
#ifndef KELDB_TESTS_MODEL_DRIVER_H
#define KELDB_TESTS_MODEL_DRIVER_H

#include <sstream>
#include <stdexcept>

#include "keldb/support/cookie.h"
#include "keldb/views/odb_view.h"
#include "tests/model/naive_view.h"
#include "tests/testing/allocation_faults.h"
#include "tests/testing/texts.h"

namespace model {

// The bytes of a program, the same choices on any machine. Past the end all choices are 0.
class ByteSource {
public:
    explicit ByteSource(std::string_view bytes) : rest_(bytes) {}

    bool empty() const { return rest_.empty(); }
    unsigned u8() {
        if (rest_.empty()) return 0;
        const auto byte = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        return byte;
    }
    unsigned pick(unsigned n) { return u8() % n; }  // 0 to n - 1, n at most 256
    bool one_in(unsigned n) { return pick(n) == 0; }
    template <class T, unsigned n>
    const T& of(const T (&choices)[n]) {
        return choices[pick(n)];
    }

    // A row, position or count: mostly inside 0 to `size`, sometimes one or two beyond, seldom absurd.
    int near(int size) {
        if (one_in(40)) return of({-1, -2, 65535, 65536, 2147483647, -2147483647 - 1});
        const unsigned high = u8() << 8, low = u8();
        return static_cast<int>((high | low) % (static_cast<unsigned>(size) + (one_in(6) ? 3U : 1U)));
    }

    // Few texts often, so that values meet again; all the odd ones now and then.
    const std::string& text() {
        static const std::string common[] = {"", "a", "A", "b", " b", "take 2", "take 10", "10:00:00:05"};
        return one_in(3) ? testing_kit::odd_texts()[u8() % testing_kit::odd_texts().size()] : of(common);
    }
    const char* id() {
        return of({"M0", "M1", "M2", "M3", "M4", "M5", "M6", "M7", "M8", "M9", "Ma", "Mb", "Mc", "Md", "Me", "Mf", "Mg",
                   "Mh"});
    }
    const char* value() { return one_in(2) ? id() : text().c_str(); }  // what is searched for
    const char* field_name() {
        return of({"Name", "Cookie", "Tag", "Start time", "End time", "tc", "snd start", "NAME", "cookie", "A&B", "",
                   "notes"});
    }
    DBFieldTypes::eType type() { return static_cast<DBFieldTypes::eType>("aattTTnlf"[pick(9)]); }

private:
    std::string_view rest_;
};

struct Outcome {
    unsigned steps = 0;
    unsigned out_of_memory = 0;                    // times that an operation ended so
    Text fault;                                    // "" or the step, the operation and what differs
    std::uint64_t digest = 14695981039346656037U;  // of all that was observed
};

// Shows the records behind the visible ones.
struct TableInside : keldb {
    static const dbrecord* record(const keldb& table, std::size_t row) {
        return (table.*&TableInside::get_raw_record)(static_cast<unsigned>(row));
    }
};

// A foreign listener of one type.
struct Ear : NotifyCallback {
    Ear(Text to, Log& in) : what(std::move(to)), log(in) {}
    int call(const NotifyMsg& message) override {
        const testing_kit::NoAllocationFaults here;
        log.push_back(what + message.text().c_str() + (message.payload() ? " and more" : ""));
        return 0;
    }
    const Text what;
    Log& log;
};

template <class Lib, class Naive>
struct Twin {
    Lib lib;
    std::shared_ptr<Naive> naive;
};
using TableTwin = Twin<std::unique_ptr<keldb>, NaiveTable>;
using ViewTwin = Twin<ODBView, NaiveView>;  // one of the handles that programs hold

class Driver {
public:
    struct Kind {
        Text name;
        bool by_runs;  // of rows that it deletes, while somebody foreign listens
        std::function<void(Driver&)> run;
    };

    explicit Driver(std::string_view program) : bytes(program) {}
    Outcome run(const std::vector<Kind>& kinds) {
        try {
            start();
            for (check(); !bytes.empty(); check(), ++outcome.steps) {
                kind = &kinds[bytes.u8() % kinds.size()];
                prepare_ground();
                kind->run(*this);
            }
        } catch (const std::runtime_error& divergence) {
            const Text now = kind ? kind->name : "start";
            outcome.fault = "step " + std::to_string(outcome.steps) + ", " + now + ": " + divergence.what();
        } catch (const HalfDone&) {
        }
        return outcome;
    }

    // --- What operations are written in ---

    ByteSource bytes;

    TableTwin& table() { return tables[bytes.pick(2)]; }
    ViewTwin& view() { return slots[bytes.pick(static_cast<unsigned>(slots.size()))]; }

    // Does one thing to both twins; the results must be the same.
    void both(auto& twin, const auto& act) {
        if constexpr (std::is_void_v<decltype(act(*twin.lib.get()))>) {
            done([&] { return act(*twin.lib.get()), 0; });
            act(*twin.naive);
        } else {
            const auto result = done([&] { return act(*twin.lib.get()); });
            same("the result", result, act(*twin.naive));
        }
    }
    // What work on the library returns. Whether memory runs out in it follows from what was seen so far, so that the
    // bytes of a program mean the same in every build.
    auto done(const auto& work) {
        const std::uint64_t luck = outcome.steps == 0 ? 1 : outcome.digest >> 16;
        const bool may_stop = kind && kind->by_runs && with_listeners;
        if (may_stop && luck % 32 == 0) end_with(work, luck / 32);
        for (long at = 0; !may_stop && luck % 8 == 0; ++at) {
            testing_kit::AllocationFaults faults(at, luck / 8 % 2 == 0);
            try {
                return work();
            } catch (const std::bad_alloc&) {
                faults.stop();
            }
            ++outcome.out_of_memory;
            if (at >= 32 && at % 32 != 0) continue;  // what it left behind is seen next time, or at the end
            const std::uint64_t digest = outcome.digest;
            check();  // the twin has not done it yet
            outcome.digest = digest;
        }
        return work();
    }
    void same(const char* what, long long lib, long long naive) {
        note(static_cast<std::uint64_t>(lib));
        if (lib != naive) differ(what, lib, naive);
    }
    void same(const char* what, std::string_view lib, std::string_view naive) {
        for (const char c : lib) note(static_cast<unsigned char>(c));
        if (lib != naive) differ(what, lib, naive);
    }
    void listen(auto& twin) {
        NaiveBase& naive = *twin.naive;
        const unsigned types = with_listeners ? bytes.of({0U, 1U, 2U, 3U, 3U, 3U}) : 0;
        for (const auto& guard : naive.guards) twin.lib->deregisterNotification(guard);
        naive.guards.clear();
        naive.drop_listener(nullptr);
        naive.add_listener(nullptr, types);
        const auto hear = [&](const char* what, int type) {
            const Qv::Ptr<NotifyCallback> ear(new Ear(naive.name + what, heard));
            naive.guards.push_back(twin.lib->registerNotification(ear, type));
        };
        if (types & 1) hear(" recordsDeleted ", kel::records_deleted_type());
        if (types & 2) hear(" recordsChanged", kel::records_changed_type());
    }
    NaiveView& put_view(ODBViewRep* lib, NaiveTable* table, std::shared_ptr<NaiveView> base) {
        const Text name = "v" + std::to_string(views_made++);
        slots.push_back({ODBView(lib), std::make_shared<NaiveView>(name, expected, table, std::move(base))});
        views.emplace_back(lib, slots.back().naive);
        listen(slots.back());
        return *slots.back().naive;
    }
    void make_view(TableTwin& t) {
        put_view(new ODBViewRep(t.lib.get()), t.naive.get(), nullptr);
        both(slots.back(), [](auto& v) { v.displayAllRecords(); });
    }
    Text noise(std::size_t size) {  // many bytes from two of the program
        const unsigned high = bytes.u8() << 8;
        return testing_kit::Random(high | bytes.u8()).bytes(size);
    }

private:
    struct HalfDone {};
    static constexpr std::size_t kMostHandles = 6;

    [[noreturn]] void differ(const char* what, const auto& lib, const auto& naive) const {
        std::ostringstream text;
        text << what << " is " << lib << ", model " << naive;
        throw std::runtime_error(text.str());
    }
    [[noreturn]] void end_with(const auto& work, std::uint64_t luck) {
        try {
            const testing_kit::AllocationFaults faults(static_cast<long>(luck / 2 % 16), luck % 2 == 0);
            work();
        } catch (const std::bad_alloc&) {
            ++outcome.out_of_memory;
        }
        for (const TableTwin& t : tables) same("ok", t.lib->ok(), true);
        for (const auto& [lib, view] : views) same("ok", view.expired() || lib->ok(), true);
        throw HalfDone();
    }
    void note(std::uint64_t number) { outcome.digest = (outcome.digest ^ number) * 1099511628211U; }  // FNV-1a

    void fill(TableTwin& t, int count) {
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
    }
    void start() {
        const unsigned first = bytes.u8();
        with_listeners = first % 2 == 0;
        if (first / 2 % 32 == 31) most_rows = 600;
        std::vector<DBFieldDesc> fields;
        for (TableTwin& t : tables) {
            if (fields.empty() || bytes.one_in(2)) fields = {{bytes.one_in(2) ? "Cookie" : "Name", DBFieldTypes::text}};
            for (unsigned count = bytes.pick(5); fields.size() < count;) {
                const char* const name = bytes.field_name();
                fields.push_back({name, bytes.type()});
            }
            t.lib = std::make_unique<keldb>(std::vector<DBFieldDesc>());
            t.naive = std::make_shared<NaiveTable>("t" + std::to_string(&t - tables), expected);
            for (const DBFieldDesc& field : fields) both(t, [&](auto& x) { return x.addField(field); });
            fill(t, 8 * static_cast<int>(bytes.pick(5)));
            const bool large = most_rows > 500 && &t == tables;
            if (large) both(t, [](auto& x) { return x.add_records(490); });  // nearly a chunk
            listen(t);
        }
    }
    // Without views most operations would not apply, a table that shows tagged records only refuses many, and many rows
    // take long.
    void prepare_ground() {
        for (TableTwin& t : tables) {
            const bool many = t.naive->rows.size() > most_rows;
            if (t.naive->show != 0 && (many || bytes.one_in(8))) both(t, [](auto& x) { x.set_show_tags_only(0); });
            if (many) both(t, [&](auto& x) { x.delete_records(most_rows - 100, 10000); });
            if (t.naive->rows.size() < 4 && bytes.one_in(4)) {
                fill(t, 12);
                check();
            }
        }
        for (ViewTwin& v : slots) {
            if (v.naive->size() > most_rows)
                both(v, [&](auto& x) { x.remove(static_cast<int>(most_rows) - 100, 10000); });
        }
        if (slots.size() > kMostHandles) slots.erase(slots.begin());
        if (slots.size() < 2) make_view(table());
    }

    // --- What is compared ---

    void check() {
        heard.resize(std::max(heard.size(), expected.size()), "nothing more");
        expected.resize(heard.size(), "nothing more");
        for (std::size_t i = 0; i < heard.size(); ++i) same("what was announced", heard[i], expected[i]);
        heard.clear();
        expected.clear();
        for (TableTwin& t : tables) check_table(*t.lib, *t.naive);
        std::erase_if(views, [](const auto& view) { return view.second.expired(); });
        for (const auto& [lib, view] : views) {
            const std::shared_ptr<NaiveView> naive = view.lock();
            check_view(*lib, *naive);
            same("the number of holders", lib->refs(), naive.use_count() - 1);
        }
    }
    void check_table(keldb& lib, const NaiveTable& naive) {
        same("the number of fields", lib.get_num_fields(), std::ssize(naive.fields));
        for (unsigned i = 0; i < naive.fields.size(); ++i) {
            const Text& name = naive.fields[i].name;
            same("a field name", lib.get_fieldname(i), name);
            same("a field type", lib.get_field_type(i), naive.fields[i].type);
            same("get_fieldnum", lib.get_fieldnum(String(name)), naive.get_fieldnum(name));
        }
        for (std::size_t i = 0; i < naive.rows.size(); ++i) {
            Row& row = *naive.rows[i];
            const dbrecord* const record = TableInside::record(lib, i);
            const dbrecord* const before = std::exchange(row.twin, record);
            if (!record || (before && before != record)) differ("a record", record, before);
            same("a record's tag", record->get_tag(), row.tag);
            same("a record's changed flag", record->get_changed() != 0, row.changed);
            same("a record's field count", record->get_num_fields(), std::ssize(row.values));
            for (unsigned field = 0; field < row.values.size(); ++field)
                same("a value", record->field_text(field), row.values[field]);
        }
        same("a record too many", TableInside::record(lib, naive.rows.size()) != nullptr, false);
        same("the changed flag", lib.get_changed() != 0, naive.changed);
        same("show-tags-only", lib.get_show_tags_only(), naive.show);
        check_cells(lib, naive);
    }
    void check_view(ODBViewRep& lib, const NaiveView& naive) {
        same("the entry count", lib.size(), naive.size());
        for (unsigned i = 0; i < naive.size(); ++i) {
            const Entry& entry = naive.entries[i];
            const ODBRecRef& ref = *lib.recRef(static_cast<int>(i));
            const RowPtr row = naive.record(i);
            const dbrecord* const record = lib[static_cast<int>(i)];
            same("an entry's base row", ref.row, entry.row);
            same("an entry's tag", ref.tag, entry.tag);
            if (record != (row ? row->twin : nullptr)) differ("an entry's record", record, row);
        }
        check_cells(lib, naive);
    }
    void check_cells(auto& lib, const NaiveBase& naive) {  // those of one visible row, or of none
        same("ok", lib.ok(), true);
        same("the row count", lib.get_num_records(), naive.size());
        const auto luck = static_cast<unsigned>(outcome.digest >> 32);
        const unsigned row = luck % 16 == 0 ? luck | 1U << 31 : luck % (naive.size() + 1);
        const RowPtr wanted = naive.record(row);
        same("a record", lib.get_record(row) != nullptr, wanted != nullptr);
        const unsigned fields = wanted ? static_cast<unsigned>(wanted->values.size()) : 0;
        for (unsigned field = 0; field <= fields; ++field)
            same("getField", lib.getField(row, field).view(), value_of(wanted, static_cast<int>(field)));
        same("getField outside", lib.getField(row, 65536).view(), "");
    }

    const Kind* kind = nullptr;  // what runs now
    bool with_listeners = false;
    unsigned most_rows = 200;
    Log heard, expected;
    Outcome outcome;
    TableTwin tables[2];
    std::vector<ViewTwin> slots;                                          // go before what they stand on
    std::vector<std::pair<ODBViewRep*, std::weak_ptr<NaiveView>>> views;  // all that live
    unsigned views_made = 0;
};

}  // namespace model

#endif
