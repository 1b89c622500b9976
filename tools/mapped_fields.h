// The fields that a table's stored field map shows.
#ifndef KELDB_TOOLS_MAPPED_FIELDS_H
#define KELDB_TOOLS_MAPPED_FIELDS_H

#include <vector>

#include "keldb/table/keldb.h"

namespace tool {

bool has_field_map(const keldb& table);

// The visible fields in display order; a visible entry that the table has no field for is left out. All fields when the
// table keeps no map.
std::vector<unsigned> mapped_fields(keldb& table);

}  // namespace tool

#endif
