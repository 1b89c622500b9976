// The obvious view: a list of (row, tag) over a table or another view. It is repaired as a listener, message by message
// and entry by entry.
//
// Each entry also remembers the very row that it named when it was made or last re-pointed in silence (`named`):
// whatever is removed or deleted, it must go on naming that row.
#ifndef KELDB_TESTS_MODEL_NAIVE_VIEW_H
#define KELDB_TESTS_MODEL_NAIVE_VIEW_H

#include <functional>
#include <limits>

#include "tests/model/naive_table.h"

namespace model {

struct Entry {
    unsigned row;
    bool tag = false;
    RowPtr named;
    unsigned group = 0;  // of chosen entries: neighbours at the time of choosing share it
};

class NaiveView : public NaiveBase {
public:
    using NaiveBase::NaiveBase;
    ~NaiveView() override { attach(nullptr); }

    NaiveTable* table() const { return table_; }
    const std::shared_ptr<NaiveView>& base_view() const { return base_; }
    bool stood_upon() const {
        return std::any_of(listeners_.begin(), listeners_.end(), [](const Listener& l) { return l.view != nullptr; });
    }
    NaiveBase* base() const { return base_ ? static_cast<NaiveBase*>(base_.get()) : table_; }

    void attach(NaiveTable* table) {
        if (table == table_) return;
        leave();
        base_ = nullptr;
        table_ = table;
        if (table) table->add_listener(*this);
    }
    void stand_on(const std::shared_ptr<NaiveView>& view) {
        leave();
        base_ = view;
        view->add_listener(*this);
    }

    // --- Rows ---

    unsigned size() const override { return static_cast<unsigned>(entries.size()); }
    bool holds(int position) const { return position >= 0 && static_cast<unsigned>(position) < size(); }
    RowPtr record(unsigned row) const override {
        return base() && row < size() ? base()->record(entries[row].row) : nullptr;
    }
    int baseIndex(int row) const override {
        return base() && holds(row) ? base()->baseIndex(static_cast<int>(at(row).row)) : 0;
    }

    // --- Showing ---

    void insert(int position, const std::vector<unsigned>& base_rows) {
        const std::size_t where = clamped(position);
        const bool at_end = where == size();
        std::vector<Entry> added;
        for (const unsigned row : base_rows) added.push_back({row, false, base()->record(row)});
        entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(where), added.begin(), added.end());
        silent = true;
        repoint(at_end);
    }
    int displayRecordsAt(int row, int count, int position) {
        if (!base() || row < 0 || count <= 0) return 0;
        std::vector<unsigned> rows;
        for (int i = 0; i < count; ++i) rows.push_back(static_cast<unsigned>(row) + static_cast<unsigned>(i));
        insert(position, rows);
        return count;
    }
    void displayAllRecords() {
        if (!base()) return;
        remove(0, static_cast<int>(size()));
        displayRecordsAt(0, static_cast<int>(base()->size()), 0);
    }
    void displayTaggedRecordsAt(int position) {
        std::vector<unsigned> rows;
        for (unsigned row = 0; base() && row < base()->size(); ++row) {
            if (base()->get_tag(row) != 0) rows.push_back(row);
        }
        if (base()) insert(position, rows);
    }
    bool displayMatchAt(const char* field, const char* value, int position) {
        return base() && displayRecordsAt(first_match(field, value), 1, position) == 1;
    }
    int displayRecordsAt(const CookieVec& ids, int position) {
        position = static_cast<int>(clamped(position));
        int shown = 0;
        for (std::size_t i = 0; base() && i < ids.size(); ++i)
            shown += displayRecordsAt(row_of_id(ids[i]), 1, position + shown);
        return shown;
    }
    int displayAllFromAt(const NaiveView* other, int position) {
        if (!table_ || base_ || !other || other->base() != table_) return 0;
        position = static_cast<int>(clamped(position));
        int shown = 0;
        for (unsigned i = 0; i < other->size(); ++i) {
            const RowPtr row = other->record(i);
            if (row && find(row) < 0)
                shown += displayRecordsAt(other->baseIndex(static_cast<int>(i)), 1, position + shown);
        }
        return shown;
    }
    void append(int row) { displayRecordsAt(row, 1, static_cast<int>(size())); }
    void clear() {
        entries.clear();
        silent = true;
        repoint(false);
    }
    int find(const RowPtr& row) const {
        for (unsigned i = 0; row && i < size(); ++i) {
            if (record(i) == row) return static_cast<int>(i);
        }
        return -1;
    }

    // --- Taking out and deleting ---

    void remove(int start, int count) {
        if (!holds(start) || count < 0) return;
        count = std::min(count, static_cast<int>(size()) - start);
        std::vector<unsigned> numbers;
        for (int i = 0; i < count; ++i) numbers.push_back(static_cast<unsigned>(start + i));
        entries.erase(entries.begin() + start, entries.begin() + start + count);
        announce_deleted(numbers);
    }
    // The message of a base: the k-th number, less k, is the row that goes at that step.
    void rows_deleted(const std::vector<unsigned>& numbers) {
        bool any = false;
        unsigned step = 0;
        for (const unsigned number : numbers) {
            const unsigned gone = number - step++;
            for (unsigned i = 0; i < size();) {
                if (entries[i].row == gone) {
                    remove(static_cast<int>(i), 1);
                    any = true;
                    continue;
                }
                if (entries[i].row > gone) --entries[i].row;
                ++i;
            }
        }
        if (any) announce_changed("");
    }
    void removeRecordsFromBaseView(int start, int count) {
        if (base_)
            take_out(range(start, count));
        else if (base() && count > 0)
            remove(start, count);
    }
    int removeTagged() { return remove_tagged(true); }
    int removeNonTagged() { return remove_tagged(false); }
    int remove_tagged(bool tagged) {
        const std::vector<int> chosen = tagged_positions(tagged);
        if (base_) take_out(chosen);
        for (unsigned i = 0; !base_ && i < size(); ++i) {
            int length = 0;
            while (holds(static_cast<int>(i) + length) && at(static_cast<int>(i) + length).tag == tagged) ++length;
            if (length != 0) remove(static_cast<int>(i), length);
        }
        return static_cast<int>(chosen.size());
    }
    int delete_at(const std::vector<int>& positions) {
        if (!base()) return 0;
        return by_runs(positions, [this](unsigned row, unsigned length) { base()->delete_records(row, length); });
    }
    void deleteRecords(int start, int count) { delete_at(range(start, count)); }
    int deleteTagged() { return delete_at(tagged_positions(true)); }
    void delete_records(unsigned start, unsigned count) override {
        deleteRecords(static_cast<int>(std::min(start, kMost)), static_cast<int>(std::min(count, kMost)));
    }
    int delete_tagged_records() override {
        remove_tagged(true);
        return 0;
    }

    void insert_records(unsigned at, unsigned count) override {
        insertBlankRecords(static_cast<int>(std::min(at, kMost)), static_cast<int>(std::min(count, kMost)));
    }
    void insertBlankRecords(int position, int count) {
        if (!base() || count <= 0) return;
        const std::size_t where = clamped(position);
        const unsigned before = base()->size();
        const unsigned row = where == size() ? before : std::min(entries[where].row, before);
        if (where == size())
            base()->add_records(count);
        else
            base()->insert_records(row, static_cast<unsigned>(count));
        if (base()->size() == before) return;  // refused
        for (std::size_t i = where; i < entries.size(); ++i) entries[i].row += static_cast<unsigned>(count);
        std::vector<unsigned> rows;
        for (int i = 0; i < count; ++i) rows.push_back(row + static_cast<unsigned>(i));
        const bool at_end = where == size();
        insert(static_cast<int>(where), rows);
        if (!at_end) rename(false);
    }
    int add_records(int count) override {
        const auto before = static_cast<int>(size());
        insertBlankRecords(before, count);
        return !base() || count <= 0 || static_cast<int>(size()) > before ? before : -1;
    }

    // --- Values, through the entries ---

    int set_text(unsigned row, unsigned field, const Text& text) override {
        return base() && row < size() ? base()->set_text(entries[row].row, field, text) : 0;
    }
    using NaiveBase::set_field;
    int set_field(unsigned row, const Cookie& id) override {
        return base() && row < size() ? base()->set_field(entries[row].row, id) : 0;
    }
    int match_record(int row) const override {
        if (!base()) return 0;
        return holds(row) ? base()->match_record(static_cast<int>(at(row).row)) : -1;
    }
    int findFirst(const char* field, const char* value, int) override {
        return base() ? base()->findFirst(field, value, 0) : 0;
    }

    // --- Tags ---

    int get_tag(unsigned row) const override { return row < size() && entries[row].tag; }
    void set_tag(unsigned row, int value) override {
        if (row < size()) entries[row].tag = value != 0;
    }
    void invert_tag(unsigned row) override { set_tag(row, get_tag(row) == 0); }
    void set_all_tags(int value) override {
        for (Entry& entry : entries) entry.tag = value != 0;
    }
    void invert_all_tags() override {
        for (Entry& entry : entries) entry.tag = !entry.tag;
    }
    void set_show_tags_only(int) override { remove_tagged(false); }
    int tag_matching_records(int) override { return tagMatches(0); }
    int tagMatches(int keep) {
        int matches = 0;
        for (unsigned i = 0; base() && i < size(); ++i) {
            const bool match = base()->match_record(static_cast<int>(entries[i].row)) == 1;
            if (match || keep == 0) entries[i].tag = match;
            matches += match;
        }
        return matches;
    }
    int tagDuplicatesOrdered(int field) {
        std::vector<unsigned> order(size());
        for (unsigned i = 0; i < size(); ++i) order[i] = i;
        return base() ? tag_repeats(order, field) : 0;
    }
    int tagDuplicates(int field) {
        if (!base()) return 0;
        table_->set_sortfield(field);
        const Order by = table_->prepare(1, 0);
        std::vector<unsigned> order(size());
        for (unsigned i = 0; i < size(); ++i) order[i] = i;
        std::stable_sort(order.begin(), order.end(),
                         [&](unsigned a, unsigned b) { return by.before(record(a).get(), record(b).get()); });
        set_all_tags(0);
        return tag_repeats(order, field);
    }
    int tag_all_different(int field) override {
        tagDuplicates(field);
        invert_all_tags();
        return get_num_tags();
    }
    void tagBaseFromTags() {
        for (const Entry& entry : entries) base()->set_tag(entry.row, entry.tag);
    }
    void setupViewTagsFromKeldbTagField() { display_with_tags(false); }
    void displayAllRecordsWithBaseTagStatus() { display_with_tags(true); }
    void display_with_tags(bool base_tags) {
        displayAllRecords();
        const int field = base() ? table_->fieldnum("Tag") : -1;
        for (unsigned i = 0; field >= 0 && i < size(); ++i) {
            const RowPtr row = record(i);
            const Text text = row ? row->value(static_cast<unsigned>(field)) : "";
            entries[i].tag = base_tags ? base()->get_tag(entries[i].row) != 0 : kel::read_int(text) != 0;
        }
    }

    void sort(int direction, int plain) override {
        if (!base()) return;
        const Order order = table_->prepare(direction, plain);
        std::stable_sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
            return order.before(base()->record(a.row).get(), base()->record(b.row).get());
        });
        silent = true;
        repoint(false);
    }

    // Takes the rows that the entries name now as theirs; with `only_new`, only where there was none.
    void rename(bool only_new) {
        for (Entry& entry : entries) {
            if (!only_new || !entry.named) entry.named = base()->record(entry.row);
        }
        silent = true;
    }

    std::vector<Entry> entries;

private:
    static constexpr unsigned kMost = std::numeric_limits<int>::max();

    const Entry& at(int position) const { return entries[static_cast<unsigned>(position)]; }
    std::size_t clamped(int position) const {
        return position < 0 ? 0 : std::min<std::size_t>(static_cast<unsigned>(position), size());
    }
    void leave() {
        if (base()) base()->drop_listener(this);
        entries.clear();
        silent = true;
    }
    std::vector<int> range(int start, int count) const {
        std::vector<int> positions;
        for (int i = start; count-- > 0 && holds(i); ++i) positions.push_back(i);
        return positions;
    }
    std::vector<int> tagged_positions(bool tagged) const {
        std::vector<int> positions;
        for (unsigned i = 0; i < size(); ++i) {
            if (entries[i].tag == tagged) positions.push_back(static_cast<int>(i));
        }
        return positions;
    }
    void take_out(const std::vector<int>& positions) {
        by_runs(positions, [this](unsigned row, unsigned length) {
            base_->removeRecordsFromBaseView(static_cast<int>(row), static_cast<int>(length));
        });
    }

    // Calls act(row, length) for runs of the chosen entries until none is left: a run is a longest sequence of entries,
    // neighbours when chosen, whose base rows go up by one. A list of the chosen that hears what this view hears keeps
    // track of what is still to go; a run that stays is passed over.
    int by_runs(const std::vector<int>& positions, const std::function<void(unsigned, unsigned)>& act) {
        NaiveView left("left", *log_);
        left.table_ = table_;
        left.base_ = base_;
        left.base()->add_listener(left);
        unsigned group = 0;
        for (std::size_t k = 0; k < positions.size(); ++k) {
            if (k > 0 && positions[k] != positions[k - 1] + 1) ++group;
            left.entries.push_back({at(positions[k]).row, false, nullptr, group});
        }
        int passed_over = 0;
        while (!left.entries.empty()) {
            const std::vector<Entry>& chosen = left.entries;
            const std::size_t before = chosen.size();
            unsigned length = 1;
            while (length < before && chosen[length].row == chosen[0].row + length &&
                   chosen[length].group == chosen[0].group)
                ++length;
            act(chosen[0].row, length);
            if (chosen.size() < before) continue;
            left.entries.erase(left.entries.begin(), left.entries.begin() + length);
            passed_over += static_cast<int>(length);
        }
        return static_cast<int>(positions.size()) - passed_over;
    }

    // The first row of the base whose field holds the value: on a base view, the first entry whose record does.
    int first_match(const char* field, const char* value) const {
        if (!base_) return table_->findFirst(field, value, 0);
        const int number = table_->fieldnum(field);
        for (unsigned i = 0; number >= 0 && i < base_->size(); ++i) {
            const RowPtr row = base_->record(i);
            if (row && row->value(static_cast<unsigned>(number)) == value) return static_cast<int>(i);
        }
        return -1;
    }
    // Through the table's map of identifiers first; what that does not know, among the rows that the base shows.
    int row_of_id(const Cookie& id) const {
        const int known = base_ ? -1 : table_->getRowIndexByID(id);
        const int number = table_->fieldnum("Cookie");
        if (known >= 0) return known;
        for (unsigned i = 0; number >= 0 && i < base()->size(); ++i) {
            const RowPtr row = base()->record(i);
            if (row && row->value(static_cast<unsigned>(number)) == id.text().view()) return static_cast<int>(i);
        }
        return -1;
    }
    // Tags each entry whose value is that of the first of its run, in this order.
    int tag_repeats(const std::vector<unsigned>& order, int field) {
        const auto value = [&](unsigned i) {
            const RowPtr row = record(i);
            return row && field >= 0 ? lower(row->value(static_cast<unsigned>(field))) : Text();
        };
        int tagged = 0;
        for (std::size_t k = 1, first = 0; k < order.size(); ++k) {
            if (value(order[k]) == value(order[first])) {
                entries[order[k]].tag = true;
                ++tagged;
            } else {
                first = k;
            }
        }
        return tagged;
    }

    NaiveTable* table_ = nullptr;
    std::shared_ptr<NaiveView> base_;
};

class NaiveCursor {
public:
    NaiveCursor(std::shared_ptr<NaiveView> shown, bool tags) : view(std::move(shown)), tags_(tags) { step(1); }

    void operator++() { step(1); }
    void operator--() { step(-1); }
    int index() const { return position_; }
    void set_index(int at) { position_ = view->holds(at) ? at : -1; }
    void remove() {
        if (position_ >= 0) view->remove(position_, 1);
        set_index(position_);
    }
    int find(const RowPtr& row) {
        for (position_ = 0; record(); ++position_) {
            if (record() == row) return position_;
        }
        return position_ = -1;
    }
    int findField(const char* field, const char* wanted) {
        const int number = field_of(field);
        if (number < 0) position_ = -1;
        while (position_ >= 0 && value(number) != lower(wanted)) step(1);
        return position_;
    }
    int findFieldSorted(const char* field, const char* wanted) {
        const int number = field_of(field);
        int low = position_ >= 0 ? position_ - 1 : -1, high = number < 0 ? low : static_cast<int>(view->size());
        while (high - low > 1) {
            position_ = (low + high) / 2;
            const int order = value(number).compare(lower(wanted));
            if (order == 0) return position_;
            (order < 0 ? low : high) = position_;
        }
        return position_ = -1;
    }
    RowPtr record() const { return view->holds(position_) ? view->record(static_cast<unsigned>(position_)) : nullptr; }

    const std::shared_ptr<NaiveView> view;

private:
    void step(int by) {
        const auto size = static_cast<int>(view->size());
        if (by < 0 && position_ < 0) position_ = size;
        do position_ += by;
        while (tags_ && position_ >= 0 && (by < 0 || position_ < size) &&
               view->get_tag(static_cast<unsigned>(position_)) == 0);
        if (by > 0 && position_ >= size) position_ = -1;
    }
    int field_of(const char* field) const { return view->table() ? view->table()->fieldnum(field) : 0; }
    Text value(int field) const { return record() ? lower(record()->value(static_cast<unsigned>(field))) : Text(); }

    bool tags_;
    int position_ = -1;
};

inline void NaiveBase::announce_deleted(const std::vector<unsigned>& numbers) {
    Text text = name + " recordsDeleted ";
    for (const unsigned number : numbers) text += std::to_string(number) + " ";
    for (const Listener& l : listeners_) {
        if (l.view)
            l.view->rows_deleted(numbers);
        else if (l.types & kDeleted)
            log_->push_back(text);
    }
}

inline void NaiveBase::repoint(bool only_new) {
    silent = true;
    for (const Listener& l : listeners_) {
        if (!l.view) continue;
        l.view->rename(only_new);
        l.view->repoint(only_new);
    }
}

}  // namespace model

#endif
