// Selected records as comma-separated lines and as JSON.
#ifndef KELDB_TOOLS_WRITE_RECORDS_H
#define KELDB_TOOLS_WRITE_RECORDS_H

#include <cstddef>
#include <vector>

#include "output.h"
#include "selection.h"

namespace tool {

// A line of field names, then one line for each record, as RFC 4180 has it.
void write_csv(const Selection& records, const std::vector<unsigned>& fields, Output& out);

// An array of objects, one for each record: all values are texts, and the keys are the field names. Of equal names the
// second is followed by " (2)", and so on; a key that is taken is stepped over. Returns the number of values that are
// no UTF-8: the bytes at fault are written as U+FFFD.
std::size_t write_json(const Selection& records, const std::vector<unsigned>& fields, Output& out);

}  // namespace tool

#endif
