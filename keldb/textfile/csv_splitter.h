// How a line of a comma-separated file is split into pieces.
//
// A comma outside quotes splits. A double quote switches between outside and inside, unless the character before it is
// a backslash; each line starts outside. Pieces are parts of the line as they stand, quotes and blanks included. A
// first piece that is empty is dropped (",a" gives a), and so is what follows a comma at the end ("a," gives a); the
// line "," gives one empty piece, and so does the empty line.
#ifndef KELDB_TEXTFILE_CSV_SPLITTER_H
#define KELDB_TEXTFILE_CSV_SPLITTER_H

#include <string_view>
#include <vector>

namespace kel {

// Puts the line's pieces into `pieces` (they point into the line); returns whether the line ended inside quotes.
bool split_csv_line(std::string_view line, std::vector<std::string_view>& pieces);

}  // namespace kel

#endif
