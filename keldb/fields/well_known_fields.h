// Field names that the suite's logs share: the least width of their columns, and the pairs of start and end timecodes
// that a query treats as one range.
#ifndef KELDB_FIELDS_WELL_KNOWN_FIELDS_H
#define KELDB_FIELDS_WELL_KNOWN_FIELDS_H

#include <string_view>

#include "keldb/support/export.h"

namespace kel {

// The smallest width that a table file states for the column, in characters; 4 for a name that is not well known.
// Case is ignored.
unsigned min_column_width(std::string_view field_name) noexcept;

// The two fields of a range.
struct FieldPair {
    const char* start;
    const char* end;
};

// The pair that a field of this name belongs to, null for the others. Names are compared byte for byte: "End time" is
// half of a pair, "end time" is not.
KELDB_API const FieldPair* range_pair_of(std::string_view field_name) noexcept;

}  // namespace kel

#endif
