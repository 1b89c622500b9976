// Deleting a table's records.

#include <algorithm>

#include "keldb/table/deletion.h"
#include "keldb/table/keldb.h"

void keldb::delete_rows(kel::RowSet rows) {
    kel::Deletion deletion(*this, std::move(rows));
    records_.erase(deletion.gone());
    row_ids_.clear();
    deletion.repair();
    changed_ = 1;  // a listener sees it set, and it is set afterwards whatever the listener did
    deletion.announce();
    changed_ = 1;
}

void keldb::delete_records(unsigned start, unsigned count) {
    if (start >= records_.size() || shown_.on()) return;
    if (count == 0) return row_ids_.clear();
    delete_rows(kel::RowSet::run(start, std::min(count, records_.size() - start)));
}

// While nobody but views listens, all runs go in one deletion; else one by one, each with its announcement.
int keldb::delete_tagged_records() {
    if (shown_.on()) return -1;
    return kel::Deletion::foreign_listeners(*this) ? delete_tagged_runs() : delete_tagged_at_once();
}

int keldb::delete_tagged_at_once() {
    kel::RowSet tagged = kel::RowSet::for_rows_below(records_.size());
    for (unsigned row = 0; row < records_.size(); ++row) {
        if (records_[row]->get_tag() == 1) tagged.add(row);
    }
    tagged.seal();
    const unsigned count = tagged.size();
    if (count != 0) delete_rows(std::move(tagged));
    return static_cast<int>(count);
}

// Ends with the run that reaches the last row, whatever a listener appended, and when one turns show-tags-only on.
int keldb::delete_tagged_runs() {
    int deleted = 0;
    for (unsigned row = 0; row < records_.size() && !shown_.on(); ++row) {
        const unsigned start = row;
        while (row < records_.size() && records_[row]->get_tag() == 1) ++row;
        if (row == start) continue;
        const bool last = row == records_.size();
        deleted += static_cast<int>(row - start);
        delete_records(start, row - start);
        if (last) break;
        row = start;  // where the row that ended the run stands now
    }
    return deleted;
}
