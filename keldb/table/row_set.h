// RowSet: rows that are about to go, in ascending order, and what becomes of the others.
//
// A run of rows is kept as two numbers; scattered rows as one bit for each row of the base, with counts beside them, so
// that both questions are answered in constant time for any row. Rows at or beyond the base's size are never in the
// set.
#ifndef KELDB_TABLE_ROW_SET_H
#define KELDB_TABLE_ROW_SET_H

#include <algorithm>
#include <cstdint>
#include <vector>

namespace kel {

// As std::popcount, which is a call of a library function where the oldest processors have no instruction for it.
inline unsigned count_bits(std::uint64_t bits) noexcept {
    bits -= bits >> 1 & 0x5555555555555555U;
    bits = (bits & 0x3333333333333333U) + (bits >> 2 & 0x3333333333333333U);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0FU;
    bits += bits >> 8;
    bits += bits >> 16;
    return static_cast<unsigned>((bits + (bits >> 32)) & 0x7F);
}

class RowSet {
public:
    RowSet() = default;  // no row
    static RowSet run(unsigned first, unsigned count) {
        RowSet set;
        set.first_ = first;
        set.count_ = count;
        return set;
    }
    // Empty, with memory for scattered rows below `size`: add and seal do not fail.
    static RowSet for_rows_below(unsigned size) {
        RowSet set;
        set.bits_.resize(size / 64 + 1);
        set.before_.resize(size / 64 + 1);
        set.scattered_ = true;
        return set;
    }

    void add(unsigned row) noexcept { bits_[row / 64] |= std::uint64_t{1} << row % 64; }  // twice counts once
    void seal() noexcept {  // after the last add, before any question
        unsigned count = 0;
        for (std::size_t i = 0; i < bits_.size(); ++i) {
            before_[i] = count;
            count += count_bits(bits_[i]);
        }
        count_ = count;
    }

    unsigned size() const noexcept { return count_; }
    bool contains(unsigned row) const noexcept {
        if (!scattered_) return row >= first_ && row - first_ < count_;
        return row / 64 < bits_.size() && (bits_[row / 64] >> row % 64 & 1) != 0;
    }
    unsigned below(unsigned row) const noexcept {  // how many of them lie below the row
        if (!scattered_) return row <= first_ ? 0 : std::min(row - first_, count_);
        if (row / 64 >= bits_.size()) return count_;
        const std::uint64_t lower = bits_[row / 64] & ((std::uint64_t{1} << row % 64) - 1);
        return before_[row / 64] + count_bits(lower);
    }

    bool is_run() const noexcept { return !scattered_; }
    unsigned first() const noexcept { return first_; }  // of a run

private:
    unsigned first_ = 0;
    unsigned count_ = 0;
    bool scattered_ = false;
    std::vector<std::uint64_t> bits_;
    std::vector<unsigned> before_;  // for each word, the rows in the words before it
};

}  // namespace kel

#endif
