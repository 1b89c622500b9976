// Sorting a table's records.

#include <vector>

#include "keldb/search/record_order.h"
#include "keldb/table/keldb.h"

void keldb::set_sortfield(int field) { sort_keys_.use_field(field); }

void keldb::set_sortfields(int* fields) { sort_keys_.use_list(fields); }

void keldb::set_sort_offset(int offset) { sort_keys_.set_offset(offset); }

void keldb::sortPrepare(int /*direction*/, int plain) {
    kel::sort_state() = {sort_keys_.current(), sort_keys_.offset(), plain, -1};
    for (int* key = sort_keys_.current(); *key >= 0; ++key) {
        const auto field = static_cast<unsigned>(*key);
        if (field >= layout_.size())
            *key = -1;
        else if (layout_.type(field) == DBFieldTypes::timecode)
            kel::sort_state().timecode_key = *key;
    }
}

void keldb::sort(int direction, int plain) {
    sortPrepare(direction, plain);
    const std::vector<std::uint32_t> order = kel::sorted_order(records_.all(), direction);
    std::vector<dbrecord*> sorted(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) sorted[i] = records_[order[i]];
    if (shown_.on()) shown_.index(sorted);
    records_.reorder(sorted);
    row_ids_.clear();
}
