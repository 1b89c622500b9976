// Which records of a table a command works on, and in which order: a view of the table.
//
// Starts with all records in the table's order. The table keeps its order and its tags; its query and sort settings are
// used. Goes before the table does.
#ifndef KELDB_TOOLS_SELECTION_H
#define KELDB_TOOLS_SELECTION_H

#include <vector>

#include "field_choice.h"
#include "keldb/views/odb_view.h"

namespace tool {

struct SortOrder {
    std::vector<unsigned> fields;
    bool descending = false;
    int offset = 0;  // see keldb::set_sort_offset
};

class Selection {
public:
    explicit Selection(keldb& table);

    void keep_matches(const std::vector<FieldValue>& conditions);  // none: keeps all
    void keep_tagged();
    void keep_distinct(unsigned field);  // the first record of each value, case ignored
    void keep_first(unsigned count);
    void sort(const SortOrder& order);

    unsigned size() const { return view_->get_num_records(); }
    dbrecord& record(unsigned i) const { return *view_->get_record(i); }  // i below size()
    keldb& table() const { return *table_; }

    void delete_records();  // from the table; the selection is empty then

private:
    keldb* table_;
    ODBView view_;
};

}  // namespace tool

#endif
