#include "keldb/table/record_array.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "keldb/support/platform.h"

namespace kel {

void RecordArray::swap(RecordArray& other) noexcept {
    std::swap(slots_, other.slots_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    std::swap(room_, other.room_);
}

void RecordArray::add_chunk() {
    if (capacity_ > std::numeric_limits<unsigned>::max() - kChunk) throw std::bad_alloc();
    const std::size_t wanted = std::size_t{capacity_} + kChunk;
    if (wanted > room_) {
        const std::size_t room = std::max(wanted, room_ + room_ / 2);
        slots_ = static_cast<dbrecord**>(OS().reallocate(slots_, room * sizeof *slots_));
        room_ = room;
    }
    capacity_ = static_cast<unsigned>(wanted);
}

void RecordArray::make_room(std::size_t more) {
    if (more > std::numeric_limits<unsigned>::max() - kChunk - size_) throw std::bad_alloc();
    const std::size_t needed = size_ + more;
    if (needed > room_) {  // one step for a large request
        const std::size_t room = std::max((needed + kChunk - 1) / kChunk * kChunk, room_ + room_ / 2);
        slots_ = static_cast<dbrecord**>(OS().reallocate(slots_, room * sizeof *slots_));
        room_ = room;
    }
    while (capacity_ < needed) add_chunk();
}

void RecordArray::start_capacity() {
    if (capacity_ < kChunk) add_chunk();
}

void RecordArray::append(dbrecord* record) {
    make_room(1);
    slots_[size_++] = record;
}

void RecordArray::append_blank(unsigned count, unsigned short fields, keldb* owner) {
    make_room(count);
    const unsigned before = size_;
    try {
        for (unsigned i = 0; i < count; ++i) {
            slots_[size_] = new dbrecord(fields);
            slots_[size_++]->set_container(owner);
        }
    } catch (...) {
        drop_from(before);
        throw;
    }
}

void RecordArray::insert_blank(unsigned at, unsigned count, unsigned short fields, keldb* owner) {
    const unsigned before = size_;
    append_blank(count, fields, owner);
    if (at < before) std::rotate(slots_ + at, slots_ + before, slots_ + size_);
}

void RecordArray::append_copies(dbrecord* const* records, unsigned count, keldb* owner) {
    const unsigned before = size_;
    const bool own = records == slots_;  // the memory may move: read through the member
    make_room(count);
    try {
        for (unsigned i = 0; i < count; ++i) {
            slots_[size_] = new dbrecord(*(own ? slots_ : records)[i]);
            slots_[size_++]->set_container(owner);
        }
    } catch (...) {
        drop_from(before);
        throw;
    }
}

void RecordArray::erase(unsigned first, unsigned count) noexcept {
    for (unsigned i = first; i < first + count; ++i) delete slots_[i];
    std::copy(slots_ + first + count, slots_ + size_, slots_ + first);
    size_ -= count;
}

void RecordArray::erase(const RowSet& rows) noexcept {
    if (rows.is_run()) return erase(rows.first(), rows.size());
    unsigned kept = 0;
    for (unsigned row = 0; row < size_; ++row) {
        if (rows.contains(row))
            delete slots_[row];
        else
            slots_[kept++] = slots_[row];
    }
    size_ = kept;
}

void RecordArray::reorder(std::span<dbrecord* const> ordered) noexcept {
    std::copy(ordered.begin(), ordered.end(), slots_);
}

void RecordArray::free() noexcept {
    for (dbrecord* record : *this) delete record;
    OS().free(slots_);
    slots_ = nullptr;
    size_ = capacity_ = 0;
    room_ = 0;
}

bool RecordArray::ok(const keldb* owner) const noexcept {
    return size_ <= capacity_ && capacity_ <= room_ && capacity_ % kChunk == 0 &&
           std::all_of(begin(), end(),
                       [owner](const dbrecord* r) { return r && r->get_container() == owner && r->values().ok(); });
}

}  // namespace kel
