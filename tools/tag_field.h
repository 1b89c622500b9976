// The field named Tag, case ignored, in which a table file keeps the tags of its records.
//
// Saving puts each record's tag into that field, loading leaves the tags alone: so whoever loads a table and will save
// it takes the tags from the field first, or the column would be wiped.
#ifndef KELDB_TOOLS_TAG_FIELD_H
#define KELDB_TOOLS_TAG_FIELD_H

#include "keldb/table/keldb.h"

namespace tool {

int tag_field(const keldb& table);  // its number; -1 when there is none

// Any number other than 0 in the field tags the record: with that number when a tag can hold it (1 to 255), else
// with 1.
void take_tags(keldb& table);

}  // namespace tool

#endif
