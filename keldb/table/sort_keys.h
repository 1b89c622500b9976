// SortKeys: which fields a table sorts by, and from which offset.
//
// Invariant: the current list is this object's own or one that the caller supplied and keeps alive; both end at the
// first negative entry. A copy of an object whose current list is its own points at the copy's own list.
#ifndef KELDB_TABLE_SORT_KEYS_H
#define KELDB_TABLE_SORT_KEYS_H

#include <array>

namespace kel {

class SortKeys {
public:
    SortKeys() noexcept { own_.fill(-1), own_[0] = 0; }  // field 0 alone, no offset
    SortKeys(const SortKeys& other) noexcept : SortKeys() { *this = other; }
    SortKeys& operator=(const SortKeys& other) noexcept {
        own_ = other.own_;
        current_ = other.current_ == other.own_.data() ? own_.data() : other.current_;
        offset_ = other.offset_;
        return *this;
    }

    void use_field(int field) noexcept {
        own_[0] = field;
        own_[1] = -1;
        current_ = own_.data();
    }
    void use_list(int* list) noexcept { current_ = list ? list : own_.data(); }  // null: the own list again
    void set_offset(int offset) noexcept { offset_ = offset; }

    int own_field() const noexcept { return own_[0]; }  // the field last given to use_field
    int* current() const noexcept { return current_; }
    int offset() const noexcept { return offset_; }

private:
    std::array<int, 10> own_;
    int* current_ = own_.data();
    int offset_ = 0;
};

}  // namespace kel

#endif
