// What the examples check after they saved a table and read it back.
#ifndef KELDB_EXAMPLES_SAME_RECORDS_H
#define KELDB_EXAMPLES_SAME_RECORDS_H

#include "keldb/table/keldb.h"

// Whether both tables hold the same texts in the same places.
inline bool same_records(const keldb& a, const keldb& b) {
    if (a.get_num_records() != b.get_num_records() || a.get_num_fields() != b.get_num_fields()) return false;
    for (unsigned row = 0; row < a.get_num_records(); ++row) {
        for (unsigned field = 0; field < a.get_num_fields(); ++field) {
            if (a[row].field_text(field) != b[row].field_text(field)) return false;
        }
    }
    return true;
}

#endif
