// TagFilter: which records a table shows while it shows tagged records only.
//
// The visible rows are a snapshot: the tagged records in raw order at the time of the last indexing. This is the only
// place where visible and raw rows are converted; both conversions are linear searches.
//
// Invariant: while the flag is off the snapshot is not looked at.
#ifndef KELDB_TABLE_TAG_FILTER_H
#define KELDB_TABLE_TAG_FILTER_H

#include <span>
#include <vector>

#include "keldb/table/record_array.h"

namespace kel {

class TagFilter {
public:
    unsigned flag() const noexcept { return flag_; }
    bool on() const noexcept { return flag_ != 0; }
    void set_flag(unsigned flag) noexcept { flag_ = flag; }

    void index(std::span<dbrecord* const> records);  // strong: the tagged ones of these, in their order
    unsigned count() const noexcept { return static_cast<unsigned>(visible_.size()); }
    dbrecord* visible(unsigned row) const noexcept { return row < visible_.size() ? visible_[row] : nullptr; }

    int visible_row(const RecordArray& records, unsigned raw) const noexcept;  // raw itself while off; -1: not shown
    int raw_row(const RecordArray& records, unsigned row) const noexcept;      // row itself while off; -1: none

    // The same rows of another table's array, for a copy of the table.
    void clone_from(const TagFilter& other, const RecordArray& theirs, const RecordArray& ours);
    void reset() noexcept;

private:
    unsigned flag_ = 0;
    std::vector<dbrecord*> visible_;
};

}  // namespace kel

#endif
