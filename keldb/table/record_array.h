// RecordArray: a table's records, owned, in raw row order.
//
// The capacity counts in chunks of 500 records; below it the memory grows by halves, so that a million records are not
// copied two thousand times. A record never moves: only pointers do.
//
// Invariants: records 0 to size() - 1 are not null; size() <= capacity(); every record's container is the owner.
#ifndef KELDB_TABLE_RECORD_ARRAY_H
#define KELDB_TABLE_RECORD_ARRAY_H

#include <cstddef>
#include <span>

#include "keldb/fields/dbrecord.h"
#include "keldb/table/row_set.h"

namespace kel {

class RecordArray {
public:
    static constexpr unsigned kChunk = 500;

    RecordArray() = default;
    RecordArray(const RecordArray&) = delete;
    RecordArray& operator=(const RecordArray&) = delete;
    ~RecordArray() { free(); }
    void swap(RecordArray& other) noexcept;

    unsigned size() const noexcept { return size_; }
    unsigned capacity() const noexcept { return capacity_; }
    dbrecord* operator[](unsigned row) const noexcept { return slots_[row]; }
    std::span<dbrecord* const> all() const noexcept { return {slots_, size_}; }
    dbrecord** begin() const noexcept { return slots_; }
    dbrecord** end() const noexcept { return slots_ + size_; }

    // All of these are strong: when memory is out they raise with the array as it was, capacity perhaps grown.
    void add_chunk();
    void make_room(std::size_t more);  // chunks until size() + more fit; raises std::bad_alloc beyond 2^32 - 1 rows
    void start_capacity();             // at least one chunk, for a table that is about to be filled
    void append(dbrecord* record);     // takes it over once there is room
    void append_blank(unsigned count, unsigned short fields, keldb* owner);
    void insert_blank(unsigned at, unsigned count, unsigned short fields, keldb* owner);
    void append_copies(dbrecord* const* records, unsigned count, keldb* owner);

    void erase(unsigned first, unsigned count) noexcept;
    void drop_from(unsigned first) noexcept { erase(first, size_ - first); }
    void erase(const RowSet& rows) noexcept;
    void reorder(std::span<dbrecord* const> ordered) noexcept;  // the same records in another order
    void free() noexcept;

    bool ok(const keldb* owner) const noexcept;

private:
    dbrecord** slots_ = nullptr;
    unsigned size_ = 0;
    unsigned capacity_ = 0;
    std::size_t room_ = 0;  // slots that the memory holds, at least capacity_
};

}  // namespace kel

#endif
