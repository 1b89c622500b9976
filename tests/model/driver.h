// Reads a string of bytes as a program of operations on tables and up to three levels of views, runs it on the library
// and on the obvious twins (naive_table.h, naive_view.h), and compares after every step:
//
//     results, counts, tags, changed flags, field names, entries, some cells by every way to read one (all at the end);
//     that each view entry still names the record that it named, and that each record is the one it was;
//     ok() of every table and view, the room of each view, and how many hold it;
//     what foreign listeners heard, in order, text by text; and that replaying "recordsDeleted" leads to what is there.
//
// A program has foreign listeners or none, by its first byte; with them the library announces deletion by deletion,
// without them it deletes all at once, and the twin always goes step by step: so both ways are held to the same
// results. Another bit keeps programs from inserting and sorting below views, so that no entry is ever re-pointed in
// silence.
#ifndef KELDB_TESTS_MODEL_DRIVER_H
#define KELDB_TESTS_MODEL_DRIVER_H

#include <cstring>
#include <tuple>

#include "keldb/views/odb_view_cursor.h"
#include "tests/model/byte_source.h"
#include "tests/model/naive_view.h"

namespace model {

struct Outcome {
    unsigned steps = 0;
    Text fault;                // "" or the step, the operation and what differs
    std::uint64_t digest = 0;  // of all that was observed
};
using Histogram = std::map<Text, long>;  // how often each kind of operation ran

// The protected members that show what is inside.
struct TableInside : keldb {
    static dbrecord* record(const keldb& table, unsigned row) { return (table.*&TableInside::get_raw_record)(row); }
    static unsigned count(const keldb& table) { return (table.*&TableInside::get_raw_num_records)(); }
};
struct ViewInside : ODBViewRep {
    static int room(const ODBViewRep& view) { return (view.*&ViewInside::indexCapacity)(); }
};

inline std::vector<const dbrecord*> records_of(const keldb& table) {
    std::vector<const dbrecord*> records;
    for (unsigned i = 0; i < TableInside::count(table); ++i) records.push_back(TableInside::record(table, i));
    return records;
}
inline std::vector<const dbrecord*> records_of(const ODBViewRep& view) {
    std::vector<const dbrecord*> records;
    for (int i = 0; i < view.size(); ++i) records.push_back(view[i]);
    return records;
}

// A foreign listener: logs what it hears and applies deletions to a mirror of its own.
class Ear {
public:
    Ear(Text name, Log& log) : name_(std::move(name)), log_(log) {}
    ~Ear() { deaf(); }
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    void hear(Notifier& announcer, unsigned types) {
        deaf();
        announcer_ = &announcer;
        types_ = types;
        const char* const names[] = {"recordsDeleted", "recordsChanged"};
        for (unsigned i = 0; i < 2; ++i) {
            if ((types >> i & 1) == 0) continue;
            const Qv::Ptr<NotifyCallback> callback(new Callback(*this, names[i]));
            guards_[i] = announcer.registerNotification(callback, NotifyMsgTypeDictionary::instance().intern(names[i]));
        }
    }
    void deaf() {
        for (auto& guard : guards_) {
            if (guard && guard->registered()) announcer_->deregisterNotification(guard);
            guard = nullptr;
        }
        types_ = 0;
    }
    // Whether the mirror shows what is there; it shows it from now on.
    bool look(std::vector<const dbrecord*> records) {
        const bool same = (types_ & NaiveBase::kDeleted) == 0 || mirror_ == records;
        mirror_ = std::move(records);
        return same;
    }

private:
    class Callback : public NotifyCallback {
    public:
        Callback(Ear& ear, const char* type) : ear_(ear), type_(type) {}
        int call(const NotifyMsg& message) override {
            ear_.heard(type_, message);
            return 0;
        }

    private:
        Ear& ear_;
        Text type_;
    };

    void heard(const Text& type, const NotifyMsg& message) {
        const bool deleted = type == "recordsDeleted";
        Text line = name_ + " " + type + (deleted ? " " : "") + Text(message.text().view());
        if (const auto* ids = dynamic_cast<const WrappedData<CookieVec>*>(message.payload().get())) {
            for (std::size_t i = 0; i < ids->data().size(); ++i) line += " " + Text(ids->data()[i].text().view());
        }
        log_.push_back(line);
        std::size_t step = 0;
        for (NotifyMsgTokenIterator token(message); deleted && *token; ++token, ++step) {
            const std::size_t gone = static_cast<std::size_t>(kel::read_int(*token)) - step;
            if (gone < mirror_.size()) mirror_.erase(mirror_.begin() + static_cast<std::ptrdiff_t>(gone));
        }
    }

    Text name_;
    Log& log_;
    unsigned types_ = 0;
    Notifier* announcer_ = nullptr;
    Qv::Ptr<Qv::Guard> guards_[2];
    std::vector<const dbrecord*> mirror_;
};

class Driver {
public:
    explicit Driver(std::string_view program) : bytes(program) {}
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;
    ~Driver() {
        cursor.reset();
        slots.clear();
    }

    Outcome run(Histogram* histogram);

private:
    static constexpr int kMostRows = 200;
    static constexpr unsigned kMostViews = 6;

    struct TableTwin {
        std::unique_ptr<keldb> lib;
        std::unique_ptr<NaiveTable> naive;
        std::unique_ptr<Ear> ear;
    };
    struct ViewTwin {  // one of the handles that programs hold
        ODBView lib;
        std::shared_ptr<NaiveView> naive;
    };
    struct Both {  // a table, or a view as a table
        ODBBase* lib;
        NaiveBase* naive;
        NaiveTable* table;  // null for a detached view
        bool is_view;
    };
    struct Setting {  // what a table keeps for all, set through it or through a view
        ODBBase* lib;
        NaiveTable* naive;
        Text name;
    };
    struct CursorTwin {
        CursorTwin(const ViewTwin& v, bool tags)
            : lib(std::make_unique<ODBViewCursor>(v.lib, tags)), naive(std::make_unique<NaiveCursor>(v.naive, tags)) {}
        std::unique_ptr<ODBViewCursor> lib;
        std::unique_ptr<NaiveCursor> naive;
    };
    struct Divergence {
        Text text;
    };

    // --- What operations are written in (operations.h) ---

    // Says what is about to be done; gives back the last argument.
    template <class... Arguments>
    auto now(const auto& x, const char* what, const Arguments&... arguments) {
        now_ = name_of(x) + "." + what;
        ((now_ += " " + shown(arguments)), ...);
        kind_ = what;
        return std::get<sizeof...(arguments)>(std::tuple{0, arguments...});
    }
    // Does one thing to both twins, with the same arguments, and compares the results.
    template <class Twin, class... Arguments, class Act>
    bool call(Twin&& x, const char* what, const std::tuple<Arguments...>& arguments, const Act& act) {
        return std::apply(
            [&](const Arguments&... a) {
                now(x, what, a...);
                if constexpr (std::is_void_v<decltype(act(*x.lib, a...))>) {
                    act(*x.lib, a...);
                    act(*x.naive, a...);
                } else {
                    const auto result = act(*x.lib, a...);
                    same("the result", result, act(*x.naive, a...));
                }
                return true;
            },
            arguments);
    }
    // The same for something done to one and another, which may be the same one.
    template <class Twin, class... Arguments, class Act>
    bool call_two(Twin& x, const char* what, Twin& y, const std::tuple<Arguments...>& arguments, const Act& act) {
        return call(x, what, arguments, [&act, &y](auto& one, const auto&... rest) {
            if constexpr (std::is_same_v<decltype(&one), decltype(&*y.lib)>)
                return act(one, *y.lib, rest...);
            else
                return act(one, *y.naive, rest...);
        });
    }
    template <class Lib, class Naive>
    void same(const char* what, const Lib& lib, const Naive& naive) {
        const Text seen = shown(lib), expected = shown(naive);
        note(seen);
        if (seen != expected) throw Divergence{Text(what) + " is " + seen + ", model " + expected};
    }
    TableTwin& table() { return tables[bytes.pick(3)]; }
    ViewTwin& view() { return slots[bytes.pick(static_cast<unsigned>(slots.size()))]; }
    bool run_common(unsigned kind, Both x);
    bool run_table(unsigned kind);
    bool run_view(unsigned kind);
    bool run_cursor(unsigned kind);
    bool make_view(TableTwin& t);
    bool derive_view(ViewTwin v, bool subview);
    bool copy_with_table(const ViewTwin& v);
    bool convert(const ViewTwin& v);
    bool retarget(const ViewTwin& v);
    bool step();

    // --- Frame (checks.h) ---

    struct Seen {  // every live view
        ODBViewRep* lib;
        std::weak_ptr<NaiveView> naive;
        std::unique_ptr<Ear> ear;
    };

    static Text shown(const Text& text) { return '"' + text + '"'; }
    static Text shown(const String& text) { return shown(Text(text.view())); }
    static Text shown(const char* text) { return text ? shown(Text(text)) : "null"; }
    static Text shown(const Cookie& id) { return shown(id.text()); }
    static Text shown(double number) { return number_text(number); }
    template <class Number>
    requires(std::is_integral_v<Number> || std::is_enum_v<Number>) static Text shown(Number number) {
        return std::to_string(static_cast<long long>(number));
    }
    static Text name_of(const Setting& x) { return x.name; }
    static Text name_of(const CursorTwin& x) { return x.naive->view->name; }
    static Text name_of(const auto& x) { return x.naive->name; }
    void note(std::string_view text) {
        for (const char c : text) digest_ = (digest_ ^ static_cast<unsigned char>(c)) * 1099511628211U;  // FNV-1a
    }
    unsigned sample(std::size_t n) {
        sampler_ = sampler_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<unsigned>((sampler_ >> 33) % n);
    }

    bool adopt(ODBViewRep* lib, std::shared_ptr<NaiveView> naive);
    std::shared_ptr<NaiveView> new_naive_view();
    std::unique_ptr<NaiveTable> new_naive_table(unsigned slot);
    bool replace_spare(keldb* lib, std::unique_ptr<NaiveTable> naive);
    bool fill(TableTwin& t, unsigned count);
    bool listen(Ear& ear, Notifier& lib, NaiveBase& naive, unsigned types);
    Ear* ear_of(const NaiveView& naive) const;
    void start();
    void check(bool all);
    void check_table(TableTwin& t, bool all);
    void check_view(Seen& seen, bool all);
    void check_cursor();
    void check_routes();
    void compare_cells(ODBBase& lib, const NaiveBase& naive, bool all);

    ByteSource bytes;
    bool with_listeners = false;
    bool re_points = false;  // base inserts and sorts take part
    TableTwin tables[3];     // views stand on the first two
    std::vector<ViewTwin> slots;
    std::unique_ptr<CursorTwin> cursor;
    int key_lists[2][2][6] = {};  // sort keys that the caller supplies: [whose: the library's, the model's][list]

    std::vector<Seen> seen_;
    unsigned views_made_ = 0;
    Log heard_, expected_;
    Text now_ = "start";
    Text kind_;
    std::uint64_t digest_ = 14695981039346656037U;
    std::uint64_t sampler_ = 1;
};

inline Outcome run_program(std::string_view program, Histogram* histogram = nullptr) {
    return Driver(program).run(histogram);
}

}  // namespace model

#include "tests/model/checks.h"
#include "tests/model/operations.h"

#endif
