#include "keldb/table/tag_filter.h"

#include <algorithm>
#include <unordered_map>

namespace kel {

void TagFilter::index(std::span<dbrecord* const> records) {
    std::vector<dbrecord*> tagged;
    for (dbrecord* record : records) {
        if (record->get_tag() != 0) tagged.push_back(record);
    }
    visible_.swap(tagged);
}

int TagFilter::visible_row(const RecordArray& records, unsigned raw) const noexcept {
    if (!on()) return static_cast<int>(raw);
    if (raw >= records.size()) return -1;
    const auto found = std::find(visible_.begin(), visible_.end(), records[raw]);
    return found == visible_.end() ? -1 : static_cast<int>(found - visible_.begin());
}

int TagFilter::raw_row(const RecordArray& records, unsigned row) const noexcept {
    if (!on()) return static_cast<int>(row);
    if (row >= visible_.size()) return -1;
    const auto found = std::find(records.begin(), records.end(), visible_[row]);
    return found == records.end() ? -1 : static_cast<int>(found - records.begin());
}

void TagFilter::clone_from(const TagFilter& other, const RecordArray& theirs, const RecordArray& ours) {
    std::vector<dbrecord*> cloned;
    if (other.on()) {
        std::unordered_map<const dbrecord*, dbrecord*> twin;
        for (unsigned i = 0; i < theirs.size(); ++i) twin.emplace(theirs[i], ours[i]);
        cloned.reserve(other.visible_.size());
        for (const dbrecord* record : other.visible_) cloned.push_back(twin.at(record));
    }
    visible_.swap(cloned);
    flag_ = other.flag_;
}

void TagFilter::reset() noexcept {
    flag_ = 0;
    visible_.clear();
}

}  // namespace kel
