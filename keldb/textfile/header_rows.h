// The items of the rows between the marker line and the records: widths, types, names.
#ifndef KELDB_TEXTFILE_HEADER_ROWS_H
#define KELDB_TEXTFILE_HEADER_ROWS_H

#include <string>
#include <string_view>

namespace kel {

inline constexpr std::string_view kMarkerLine = "\"KELDB\"";

// Appends an item between double quotes, nothing in it escaped, behind a comma unless the row is empty.
void append_item(std::string& row, std::string_view text);

}  // namespace kel

#endif
