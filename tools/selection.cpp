#include "selection.h"

#include <algorithm>

#include "where_clause.h"

namespace tool {

Selection::Selection(keldb& table) : table_(&table), view_(&table) { view_->displayAllRecords(); }

void Selection::keep_matches(const std::vector<FieldValue>& conditions) {
    if (conditions.empty()) return;
    set_query(table(), conditions);
    view_->tagMatches(0);
    view_->removeNonTagged();
}

void Selection::keep_tagged() {
    for (unsigned i = 0; i < size(); ++i) view_->set_tag(i, record(i).get_tag());
    view_->removeNonTagged();
}

void Selection::keep_distinct(unsigned field) {
    view_->tag_all_different(static_cast<int>(field));
    view_->removeNonTagged();
}

void Selection::keep_first(unsigned count) {
    const auto kept = static_cast<int>(std::min(count, size()));
    view_->remove(kept, view_->size() - kept);
}

void Selection::sort(const SortOrder& order) {
    std::vector<int> keys(order.fields.begin(), order.fields.end());
    keys.push_back(-1);
    view_->set_sortfields(keys.data());
    view_->set_sort_offset(order.offset);
    view_->sort(order.descending ? -1 : 1, 0);
    view_->set_sortfields(nullptr);  // the keys go
}

void Selection::delete_records() { view_->deleteRecords(0, view_->size()); }

}  // namespace tool
