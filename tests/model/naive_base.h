// What the obvious table and the obvious view have in common: rows with texts, the operations of both, and announcing.
// Operations have the library's names and arguments, so that a program does the same to both.
//
// Announcements go step by step: each listener is told before the next one, and a view that hears of lost rows removes
// its entries one after another, telling its own listeners of each before it looks at the next.
#ifndef KELDB_TESTS_MODEL_NAIVE_BASE_H
#define KELDB_TESTS_MODEL_NAIVE_BASE_H

#include <charconv>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "keldb/support/ascii.h"
#include "keldb/table/keldb.h"
#include "tests/testing/texts.h"

namespace model {

using Text = std::string;
using Log = std::vector<Text>;  // "v3 recordsDeleted 1 2 ", in the order in which listeners heard it

struct Row {
    std::vector<Text> values;
    int tag = 0;
    bool changed = false;
    const dbrecord* twin = nullptr;  // the library's record, once the two have been compared

    const Text& value(unsigned field) const {
        static const Text none;
        return field < values.size() ? values[field] : none;
    }
};
using RowPtr = std::shared_ptr<Row>;

inline Text number_text(double number) {  // eight decimals
    char digits[400];
    return {digits, std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, 8).ptr};
}
inline Text lower(Text text) { return testing_kit::folded(std::move(text)); }

class NaiveView;

class NaiveBase {
public:
    enum Type : unsigned { kDeleted = 1, kChanged = 2 };

    NaiveBase(Text label, Log& log) : name(std::move(label)), log_(&log) {}
    NaiveBase(const NaiveBase&) = delete;
    NaiveBase& operator=(const NaiveBase&) = delete;
    virtual ~NaiveBase() = default;

    virtual unsigned size() const = 0;
    virtual RowPtr record(unsigned row) const = 0;
    virtual int set_text(unsigned row, unsigned field, const Text& text) = 0;

    virtual void insert_records(unsigned at, unsigned count) = 0;
    virtual void delete_records(unsigned start, unsigned count) = 0;
    virtual int delete_tagged_records() = 0;
    virtual int add_records(int count) = 0;
    int set_field(unsigned row, unsigned field, const char* text) { return set_text(row, field, text); }
    int set_field(unsigned row, unsigned field, bool value) { return set_text(row, field, value ? "t" : "f"); }
    int set_field(unsigned row, unsigned field, int value) { return set_text(row, field, std::to_string(value)); }
    int set_field(unsigned row, unsigned field, double value) { return set_text(row, field, number_text(value)); }
    virtual int set_field(unsigned row, const Cookie& id) = 0;
    virtual int get_tag(unsigned row) const = 0;
    virtual void set_tag(unsigned row, int value) = 0;
    virtual void invert_tag(unsigned row) = 0;
    virtual void set_all_tags(int value) = 0;
    virtual void invert_all_tags() = 0;
    virtual void set_show_tags_only(int flag) = 0;
    virtual int tag_matching_records(int keep) = 0;
    virtual int tag_all_different(int field) = 0;
    virtual int match_record(int row) const = 0;
    virtual int findFirst(const char* field, const char* value, int length) = 0;
    virtual void sort(int direction, int plain) = 0;
    virtual int baseIndex(int row) const = 0;
    int get_num_tags() const {
        int tagged = 0;
        for (unsigned i = 0; i < size(); ++i) tagged += get_tag(i) != 0;
        return tagged;
    }

    // --- Listeners, in the order of registration: a view, or somebody foreign who is heard of in the log ---

    void add_listener(NaiveView& view) { listeners_.push_back({&view, 0}); }
    void add_foreign(unsigned types) { listeners_.push_back({nullptr, types}); }
    void drop_listener(const NaiveView* view) {  // null: the foreign one
        std::erase_if(listeners_, [view](const Listener& l) { return l.view == view; });
    }
    void announce_deleted(const std::vector<unsigned>& numbers);
    void announce_changed(const Text& payload) {
        for (const Listener& l : listeners_) {
            if (l.types & kChanged) log_->push_back(name + " recordsChanged" + payload);
        }
    }

    // Rows changed places in silence: views above now name other records (or, with `only_new`, just some more).
    void repoint(bool only_new);

    const Text name;
    bool silent = false;  // something other than announced removals happened to the rows since this was cleared

protected:
    struct Listener {
        NaiveView* view;
        unsigned types;
    };
    Log* log_;
    std::vector<Listener> listeners_;
};

}  // namespace model

#endif
