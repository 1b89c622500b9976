// Finding rows of a table, and tagging by query and by value.

#include <string>
#include <vector>

#include "keldb/search/query_plan.h"
#include "keldb/support/ascii.h"
#include "keldb/table/keldb.h"

int keldb::findFirst(const char* field, const char* value, int length) {
    const std::string_view name(field), wanted(value);
    if (kel::equal_ignoring_case(name, "cookie")) {
        const int row = getRowIndexByID(Cookie(value, false));
        if (row >= 0) return row;
    }
    const int found = layout_.find(name);
    if (found < 0) return -1;
    // A negative length is, as an unsigned count, longer than any text.
    const std::size_t compared = length == 0 ? std::string_view::npos : static_cast<std::size_t>(length);
    for (unsigned row = 0; row < records_.size(); ++row) {
        const std::string_view text = records_[row]->field_text(static_cast<unsigned>(found));
        if (text.substr(0, compared) == wanted.substr(0, compared)) return static_cast<int>(row);
    }
    return -1;
}

void keldb::build_row_ids() const {
    const int field = layout_.find("cookie");
    if (field < 0) return;
    kel::RowIds ids;
    const unsigned count = get_num_records();
    ids.reserve(count);
    for (unsigned row = 0; row < count; ++row)
        ids.put_first(get_record(row)->field_text(static_cast<unsigned>(field)), static_cast<int>(row));
    ids.set_stamp(row_ids_stamp());
    std::swap(row_ids_, ids);
}

bool keldb::row_carries(int row, const Cookie& id) const {
    const int field = layout_.find("cookie");
    const dbrecord* record = get_record(static_cast<unsigned>(row));
    return record && field >= 0 && record->field_text(static_cast<unsigned>(field)) == id.text();
}

int keldb::getRowIndexByID(const Cookie& id) const {
    if (row_ids_.empty()) build_row_ids();
    int row = row_ids_.find(id.text());
    if (row >= 0 && row_ids_.stamp() != row_ids_stamp() &&
        !row_carries(row, id)) {  // a plain setter changed the identifier since
        row_ids_.clear();
        build_row_ids();
        row = row_ids_.find(id.text());
    }
    return row;
}

int keldb::tag_matching_records(int keep) {
    if (query_.empty()) return 0;
    const kel::QueryPlan& plan = query_plan();
    int matches = 0;
    for (unsigned row = 0; row < get_num_records(); ++row) {
        dbrecord* record = get_record(row);
        if (plan.matches(*record)) {
            record->set_tag(1);
            ++matches;
        } else if (keep == 0) {
            record->set_tag(0);
        }
    }
    return matches;
}

// Strong: when memory is out, the sort key list is what it was.
void keldb::sort_by_only(int field) {
    const kel::SortKeys before = sort_keys_;
    set_sortfield(field);
    try {
        sort(1, 0);
    } catch (...) {
        sort_keys_ = before;
        throw;
    }
}

int keldb::tag_all_different(int field) {
    constexpr std::size_t kRemembered = 255;  // longer values are told apart by their first bytes only
    std::vector<dbrecord*> untagged(get_num_records());
    for (unsigned row = 0; row < untagged.size(); ++row) untagged[row] = get_record(row);
    std::string previous;
    previous.reserve(kRemembered);
    sort_by_only(field);  // the last step that can fail
    for (dbrecord* record : untagged) record->set_tag(0);
    set_show_tags_only(0);
    for (dbrecord* record : records_) {
        const std::string_view value =
            field < 0 ? std::string_view() : record->field_text(static_cast<unsigned>(field));
        if (kel::equal_ignoring_case(value, previous)) continue;
        record->set_tag(1);
        previous.assign(value.substr(0, kRemembered));
    }
    return get_num_tags();
}
