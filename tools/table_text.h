// A table as the text of its file.
#ifndef KELDB_TOOLS_TABLE_TEXT_H
#define KELDB_TOOLS_TABLE_TEXT_H

#include "keldb/support/text_file.h"
#include "keldb/table/keldb.h"

namespace tool {

// The lines that keldb::save_text writes. That call gives 0 for a failure and for a table without records alike, and
// knows no standard output.
TextFile table_text(keldb& table);

}  // namespace tool

#endif
