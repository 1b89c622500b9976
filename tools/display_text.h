// Values as a person sees them in a terminal: one line, nothing that moves the cursor, and a known number of columns.
#ifndef KELDB_TOOLS_DISPLAY_TEXT_H
#define KELDB_TOOLS_DISPLAY_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

// UTF-8 that can be shown: a line feed becomes an arrow, another control character its picture, and a byte that is no
// UTF-8 the replacement character.
std::string displayable(std::string_view value);

// The columns that a displayable text takes: 2 for wide East Asian characters and emoji, 0 for combining marks.
std::size_t display_width(std::string_view text);

// The text, or its beginning and an ellipsis when it is wider than `width` columns (at least 1).
std::string cut_to_width(std::string_view text, std::size_t width);

}  // namespace tool

#endif
