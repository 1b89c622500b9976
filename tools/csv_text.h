// Comma-separated lines as RFC 4180 writes them.
#ifndef KELDB_TOOLS_CSV_TEXT_H
#define KELDB_TOOLS_CSV_TEXT_H

#include <string>
#include <string_view>

namespace tool {

// Appends the value; one that holds a comma, a double quote or a line end stands in double quotes, its own ones
// doubled.
void append_csv_value(std::string& line, std::string_view value);

// What RFC 4180 puts before the line feed at the end of every line.
inline constexpr char kCsvLineEnd = '\r';

}  // namespace tool

#endif
