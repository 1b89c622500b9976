// RowIndex: the entries of a view, in order. It knows no table and no notifier.
//
// The room for entries follows one rule (make_room_for): none for no entries, else at least 20; it grows by doubling,
// or at once to what is needed when that is more, and is halved, once per call, when less than half of it would be
// used; what goes in a deletion below goes entry by entry, as it were.
//
// Invariants: order and tags of the entries that stay survive every insertion, removal and renumbering;
// size() <= capacity(), and the capacity is 0 or at least 20.
#ifndef KELDB_VIEWS_ROW_INDEX_H
#define KELDB_VIEWS_ROW_INDEX_H

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "keldb/support/export.h"
#include "keldb/table/deletion.h"
#include "keldb/views/rec_ref.h"

namespace kel {

class KELDB_API RowIndex {
public:
    static constexpr int kLeast = 20;

    int size() const noexcept { return size_; }
    int capacity() const noexcept { return capacity_; }
    bool holds(int position) const noexcept { return position >= 0 && position < size_; }
    ODBRecRef& operator[](int position) noexcept { return entries_.get()[position]; }
    const ODBRecRef& operator[](int position) const noexcept { return entries_.get()[position]; }
    ODBRecRef* begin() noexcept { return entries_.get(); }
    ODBRecRef* end() noexcept { return entries_.get() + size_; }
    const ODBRecRef* begin() const noexcept { return entries_.get(); }
    const ODBRecRef* end() const noexcept { return entries_.get() + size_; }

    int clamped(int at) const noexcept { return at < 0 ? 0 : at < size_ ? at : size_; }

    // Strong; raise std::bad_alloc, also for more entries than an int counts.
    void make_room_for(int entries);
    void append(unsigned row);
    void insert_run(int at, unsigned first_row, int count);  // at 0..size(), untagged
    void insert_rows(int at, std::span<const unsigned> rows);
    void assign(std::vector<ODBRecRef> entries);
    void swap(RowIndex& other) noexcept;

    // None of these fails: when memory for a smaller array is not to be had, the large one stays.
    void erase(int first, int count) noexcept;  // inside the entries
    void erase(const RowSet& positions) noexcept;
    void clear() noexcept;
    // Drops the entries that name a row of the set, renumbers the others, and notes what was dropped.
    void drop(const RowSet& gone, LostEntries& lost) noexcept;
    void move_rows_up(int from, unsigned count) noexcept;  // entries from there on name rows `count` higher
    void insert_run_in_room(int at, unsigned first_row, int count) noexcept;  // as insert_run; there is room for them

    // Reorders: entry k becomes the one that was at order[k].
    void reorder(std::span<const std::uint32_t> order);

    bool ok() const noexcept;

private:
    static int room_for(int entries, int room) noexcept;  // the rule, for `room` now
    void move_to(int capacity);
    void open_gap(int at, int count) noexcept;  // there is room for it
    void make_room_for_more(std::size_t count);
    void shrink() noexcept;
    void shrink_to(int capacity) noexcept;

    std::unique_ptr<ODBRecRef[]> entries_;
    int size_ = 0;
    int capacity_ = 0;
};

}  // namespace kel

#endif
