#include "keldb/views/row_index.h"

#include <algorithm>
#include <limits>
#include <new>

namespace kel {

int RowIndex::room_for(int entries, int room) noexcept {
    if (entries == 0) return 0;
    const long long want = std::max(entries, kLeast), now = room;
    if (now >= want) return static_cast<int>(2 * want >= now ? now : now / 2);
    return static_cast<int>(std::min<long long>(std::max(2 * now, want), std::numeric_limits<int>::max()));
}

void RowIndex::move_to(int capacity) {
    std::unique_ptr<ODBRecRef[]> moved(capacity == 0 ? nullptr : new ODBRecRef[static_cast<std::size_t>(capacity)]);
    std::copy_n(entries_.get(), std::min(size_, capacity), moved.get());
    entries_.swap(moved);
    capacity_ = capacity;
}

void RowIndex::make_room_for(int entries) {
    const int room = room_for(entries, capacity_);
    if (room != capacity_) move_to(room);
}

void RowIndex::shrink_to(int capacity) noexcept {
    try {
        if (capacity != capacity_) move_to(capacity);
    } catch (const std::bad_alloc&) {
        // the larger array serves as well
    }
}

void RowIndex::shrink() noexcept {
    int room = capacity_;
    for (int halved = room_for(size_, room); halved < room; halved = room_for(size_, room)) room = halved;
    shrink_to(room);
}

void RowIndex::make_room_for_more(std::size_t count) {
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max() - size_)) throw std::bad_alloc();
    make_room_for(size_ + static_cast<int>(count));
}

void RowIndex::open_gap(int at, int count) noexcept {
    std::copy_backward(begin() + at, end(), end() + count);
    size_ += count;
}

void RowIndex::append(unsigned row) { insert_run(size_, row, 1); }

void RowIndex::insert_run(int at, unsigned first_row, int count) {
    make_room_for_more(static_cast<std::size_t>(count));
    insert_run_in_room(at, first_row, count);
}

void RowIndex::insert_run_in_room(int at, unsigned first_row, int count) noexcept {
    open_gap(at, count);
    for (int i = 0; i < count; ++i) begin()[at + i] = {first_row + static_cast<unsigned>(i), false};
}

void RowIndex::insert_rows(int at, std::span<const unsigned> rows) {
    make_room_for_more(rows.size());
    open_gap(at, static_cast<int>(rows.size()));
    std::transform(rows.begin(), rows.end(), begin() + at, [](unsigned row) { return ODBRecRef{row, false}; });
}

void RowIndex::assign(std::vector<ODBRecRef> entries) {
    RowIndex fresh;
    fresh.make_room_for_more(entries.size());
    fresh.open_gap(0, static_cast<int>(entries.size()));
    std::copy(entries.begin(), entries.end(), fresh.begin());
    swap(fresh);
}

void RowIndex::swap(RowIndex& other) noexcept {
    entries_.swap(other.entries_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
}

void RowIndex::erase(int first, int count) noexcept {
    std::copy(begin() + first + count, end(), begin() + first);
    size_ -= count;
    shrink_to(room_for(size_, capacity_));
}

void RowIndex::erase(const RowSet& positions) noexcept {
    if (positions.is_run()) return erase(static_cast<int>(positions.first()), static_cast<int>(positions.size()));
    ODBRecRef* kept = begin();
    unsigned position = 0;
    for (const ODBRecRef& entry : *this) {
        if (!positions.contains(position++)) *kept++ = entry;
    }
    size_ = static_cast<int>(kept - begin());
    shrink();
}

void RowIndex::clear() noexcept {
    entries_.reset();
    size_ = capacity_ = 0;
}

namespace {

// One pass: keeps the entries whose rows stay, in front; returns where they end.
template <class Gone, class Below>
ODBRecRef* keep_others(ODBRecRef* first, ODBRecRef* last, LostEntries& lost, Gone gone, Below below) {
    ODBRecRef* kept = first;
    for (const ODBRecRef* entry = first; entry != last; ++entry) {
        if (gone(entry->row)) {
            lost.note(entry->row, static_cast<unsigned>(entry - first));
        } else {
            *kept++ = {entry->row - below(entry->row), entry->tag};
        }
    }
    return kept;
}

}  // namespace

void RowIndex::drop(const RowSet& gone, LostEntries& lost) noexcept {
    ODBRecRef* kept = nullptr;
    if (gone.is_run()) {
        const unsigned first = gone.first(), count = gone.size();
        kept = keep_others(
            begin(), end(), lost, [=](unsigned row) { return row >= first && row - first < count; },
            [=](unsigned row) { return row < first ? 0 : count; });
    } else {
        kept = keep_others(
            begin(), end(), lost, [&](unsigned row) { return gone.contains(row); },
            [&](unsigned row) { return gone.below(row); });
    }
    if (kept == end()) return;
    size_ = static_cast<int>(kept - begin());
    shrink();
}

void RowIndex::move_rows_up(int from, unsigned count) noexcept {
    std::for_each(begin() + from, end(), [count](ODBRecRef& entry) { entry.row += count; });
}

void RowIndex::reorder(std::span<const std::uint32_t> order) {
    std::vector<ODBRecRef> sorted(order.size());
    std::transform(order.begin(), order.end(), sorted.begin(), [this](std::uint32_t from) { return entries_[from]; });
    std::copy(sorted.begin(), sorted.end(), begin());
}

bool RowIndex::ok() const noexcept {
    return size_ >= 0 && size_ <= capacity_ && (capacity_ == 0 || capacity_ >= kLeast) &&
           (capacity_ == 0) == (entries_ == nullptr);
}

}  // namespace kel
