// The obvious view: a list of (row, tag) over a table or another view. It is repaired as a listener, message by message
// and entry by entry, telling its own listeners of each that goes before it looks at the next.
#ifndef KELDB_TESTS_MODEL_NAIVE_VIEW_H
#define KELDB_TESTS_MODEL_NAIVE_VIEW_H

#include <functional>
#include <numeric>

#include "tests/model/naive_table.h"

namespace model {

struct Entry {
    Entry(unsigned shown = 0, unsigned of_group = 0) : row(shown), group(of_group) {}
    unsigned row;
    bool tag = false;
    unsigned group;  // of chosen entries: position less rank, which neighbours share
};

class NaiveView : public NaiveBase {
public:
    NaiveView(Text label, Log& log, NaiveTable* table, std::shared_ptr<NaiveView> base_view)
        : NaiveBase(std::move(label), log, table), table_(table), base_(std::move(base_view)) {
        base()->add_listener(this);
    }
    ~NaiveView() override { base()->drop_listener(this); }
    // What a detached view stands on: nothing is there, and nothing is taken in. One for all views of all programs,
    // since nothing that is set in it can be seen.
    static NaiveTable* nowhere() {
        static Log unheard;
        static NaiveTable table("nowhere", unheard);
        table.show = 1;
        return &table;
    }
    bool detached() const { return table_ == nowhere(); }
    void odb(NaiveTable* table) {
        if (table == table_) return;
        base()->drop_listener(this);
        clear();
        base_ = nullptr;
        data_ = table_ = table;
        table->add_listener(this);
    }

    NaiveTable* table() const { return table_; }
    const std::shared_ptr<NaiveView>& base_view() const { return base_; }
    NaiveBase* base() const { return base_ ? static_cast<NaiveBase*>(base_.get()) : table_; }

    // --- Rows ---

    unsigned size() const override { return static_cast<unsigned>(entries.size()); }
    bool holds(int position) const { return static_cast<unsigned>(position) < size(); }
    RowPtr record(unsigned row) const override { return row < size() ? base()->record(entries[row].row) : nullptr; }
    int baseIndex(int row) const override { return holds(row) ? base()->baseIndex(base_row(row)) : 0; }
    RowPtr operator[](int row) const { return record(static_cast<unsigned>(row)); }
    int find(const RowPtr& row) const {
        return first_where([&](unsigned i) { return row && record(i) == row; });
    }
    int match_record(int row) const { return detached() ? 0 : NaiveBase::match_record(row); }
    int findFirst(const char* field, const char* value, int) {
        return detached() ? 0 : table_->findFirst(field, value, 0);
    }

    // --- Showing ---

    int displayRecordsAt(int row, int count, int position) {
        if (row < 0 || count <= 0 || detached()) return 0;
        const auto added = entries.insert(entries.begin() + clamped(position), static_cast<unsigned>(count), Entry());
        std::iota(added, added + count, static_cast<unsigned>(row));
        return count;
    }
    void displayAllRecords() {
        remove(0, as_int(size()));
        displayRecordsAt(0, as_int(base()->size()), 0);
    }
    void setupViewTagsFromKeldbTagField() {
        const int tag = data_->get_fieldnum("Tag");
        show_all_tagged(
            [&](const Entry& entry) { return kel::read_int(value_of(base()->record(entry.row), tag)) != 0; });
    }
    void displayAllRecordsWithBaseTagStatus() {
        show_all_tagged([&](const Entry& entry) { return base()->get_tag(entry.row) != 0; });
    }
    void show_all_tagged(const auto& tagged) {
        displayAllRecords();
        for (Entry& entry : entries) entry.tag = data_->get_fieldnum("Tag") >= 0 && tagged(entry);
    }
    void displayTaggedRecordsAt(int position) {
        const Numbers rows = base()->tagged();
        entries.insert(entries.begin() + clamped(position), rows.begin(), rows.end());
    }
    // The first row of the table whose field holds the value; on a base view, the first entry whose record does.
    bool displayMatchAt(const char* field, const char* value, int position) {
        return displayRecordsAt(base_ ? row_with(field, value) : findFirst(field, value, 0), 1, position) == 1;
    }
    // Through the table's map of identifiers first; what that does not know, among the rows that the base shows.
    int displayRecordsAt(const auto& ids, int position) {
        position = clamped(position);
        int shown = 0;
        for (std::size_t i = 0; i < ids.size(); ++i) {
            const int known = base_ ? -1 : table_->getRowIndexByID(ids[i]);
            const int row = known >= 0 ? known : row_with("Cookie", Text(ids[i].text().view()));
            shown += displayRecordsAt(row, 1, position + shown);
        }
        return shown;
    }
    int displayAllFromAt(const NaiveView& other, int position) {
        if (base_ || other.base() != table_) return 0;
        position = clamped(position);
        int shown = 0;
        for (unsigned i = 0; i < other.size(); ++i) {
            if (other.record(i) && find(other.record(i)) < 0)
                shown += displayRecordsAt(as_int(other.entries[i].row), 1, position + shown);
        }
        return shown;
    }
    void append(int row) { displayRecordsAt(row, 1, as_int(size())); }
    void clear() { entries.clear(); }

    // --- Taking out and deleting ---

    void remove(int start, int count) {
        if (!holds(start) || count < 0) return;
        const Numbers gone = range(start, count);
        entries.erase(entries.begin() + start, entries.begin() + start + as_int(gone.size()));
        announce_deleted(gone);
    }
    // The message of a base: the k-th number, less k, is the row that goes at that step.
    void rows_deleted(const Numbers& numbers) override {
        const unsigned before = size();
        for (unsigned step = 0; step < numbers.size(); ++step) {
            const unsigned gone = numbers[step] - step;
            const auto shows_it = [&](unsigned i) { return entries[i].row == gone; };
            for (int at = 0; (at = first_where(shows_it)) >= 0;) remove(at, 1);
            for (Entry& entry : entries) entry.row -= entry.row > gone;
        }
        if (size() < before) announce(2, " recordsChanged", {});
    }
    void removeRecordsFromBaseView(int start, int count) { take_out(range(start, count)); }
    int removeTagged() { return take_out(tagged()); }
    int removeNonTagged() {
        return take_out(rows_where([this](unsigned i) { return !entries[i].tag; }));
    }
    int delete_tagged_records() { return removeTagged(), 0; }
    int delete_at(const Numbers& positions) {
        return by_runs(positions, [this](unsigned row, unsigned length) { base()->delete_records(row, length); });
    }
    int deleteTagged() { return delete_at(tagged()); }
    void delete_records(unsigned start, unsigned count) override { delete_at(range(as_int(start), as_int(count))); }

    void insert_records(unsigned at, unsigned count) override {
        if (count == 0) return;
        const bool at_end = at >= size();
        const unsigned before = base()->size(), row = at_end ? before : std::min(entries[at].row, before);
        if (at_end)
            base()->add_records(as_int(count));
        else
            base()->insert_records(row, count);
        if (base()->size() == before) return;  // refused
        for (std::size_t i = at; i < size(); ++i) entries[i].row += count;
        displayRecordsAt(as_int(row), as_int(count), as_int(at));
    }
    int add_records(int count) override {
        const unsigned before = size();
        insert_records(before, static_cast<unsigned>(std::max(count, 0)));
        return count <= 0 || size() > before || detached() ? as_int(before) : -1;
    }

    // --- Tags and order ---

    int get_tag(unsigned row) const override { return row < size() && entries[row].tag; }
    void set_tag(unsigned row, int value) override {
        if (row < size()) entries[row].tag = value != 0;
    }
    void tagBaseFromTags() {
        for (const Entry& entry : entries) base()->set_tag(entry.row, entry.tag);
    }
    int tag_matching_records(int) { return tagMatches(0); }
    int tag_all_different(int field) {
        tagDuplicates(field);
        invert_all_tags();
        return get_num_tags();
    }
    // Tags each entry whose value is that of the entry before it.
    int tagDuplicatesOrdered(int field) { return tag_repeats(range(0, as_int(size())), field); }
    int tagDuplicates(int field) {
        set_sortfield(field);
        Numbers order = range(0, as_int(size()));
        std::ranges::stable_sort(order, data_->order(1, 0), [this](unsigned i) { return record(i); });
        set_all_tags(0);
        return tag_repeats(order, field);
    }
    void sort(int direction, int plain) {
        const auto record = [this](const Entry& entry) { return base()->record(entry.row); };
        std::ranges::stable_sort(entries, data_->order(direction, plain), record);
    }

    std::vector<Entry> entries;

private:
    static int as_int(std::size_t number) { return static_cast<int>(std::min<std::size_t>(number, 2147483647)); }
    int base_row(int position) const { return static_cast<int>(entries[static_cast<unsigned>(position)].row); }
    int clamped(int position) const { return std::clamp(position, 0, as_int(size())); }
    Numbers range(int start, int count) const {
        return rows_where([=](unsigned i) { return i >= static_cast<unsigned>(start) && as_int(i) - start < count; });
    }
    int tag_repeats(const Numbers& order, int field) {
        const auto value = [&](unsigned k) { return folded(value_of(record(order[k]), field)); };
        int tagged = 0;
        for (unsigned k = 1; k < order.size(); ++k) {
            if (value(k) != value(k - 1)) continue;
            set_tag(order[k], 1);
            ++tagged;
        }
        return tagged;
    }
    int take_out(const Numbers& positions) {
        if (!base_) return in_runs(positions, [this](unsigned at, unsigned n) { remove(as_int(at), as_int(n)); });
        by_runs(positions, [this](unsigned row, unsigned length) {
            base_->removeRecordsFromBaseView(as_int(row), as_int(length));
        });
        return as_int(positions.size());
    }

    // Calls act(row, length) for runs of the chosen entries until none is left: a run is a longest sequence of entries,
    // neighbours when chosen, whose base rows go up by one. A list of the chosen that hears what this view hears keeps
    // track of what is still to go; a run that stays is passed over. How many went.
    int by_runs(const Numbers& positions, const std::function<void(unsigned, unsigned)>& act) {
        NaiveView left("left", log_, table_, base_);
        const std::vector<Entry>& chosen = left.entries;
        for (unsigned k = 0; k < positions.size(); ++k)
            left.entries.emplace_back(entries[positions[k]].row, positions[k] - k);
        int passed_over = 0;
        while (!chosen.empty()) {
            const std::size_t before = chosen.size();
            unsigned length = 1;
            while (length < before && chosen[length].row == chosen[0].row + length &&
                   chosen[length].group == chosen[0].group)
                ++length;
            act(chosen[0].row, length);
            if (chosen.size() < before) continue;
            left.entries.erase(chosen.begin(), chosen.begin() + length);
            passed_over += as_int(length);
        }
        return as_int(positions.size()) - passed_over;
    }
    // The first row of the base whose field holds the value.
    int row_with(const Text& field, const Text& value) const {
        const int number = data_->get_fieldnum(field);
        return base()->first_where([&](unsigned row) {
            return number >= 0 && base()->record(row) && value_of(base()->record(row), number) == value;
        });
    }

    NaiveTable* table_;
    std::shared_ptr<NaiveView> base_;
};

}  // namespace model

#endif
