// How a value stands in a record line: between double quotes, with what would break the line made harmless.
//
//     "    a double quote is written twice
//     LF   becomes a backslash and n
//     CR   is dropped
//
// Every other byte, comma and backslash too, stands as it is.
#ifndef KELDB_TEXTFILE_VALUE_QUOTING_H
#define KELDB_TEXTFILE_VALUE_QUOTING_H

#include <cstddef>
#include <string_view>

namespace kel {

// The most bytes that a quoted value of this length takes, and how many more behind it are written over on the way.
constexpr std::size_t quoted_room(std::size_t length) noexcept { return 2 * length + 2; }
inline constexpr std::size_t kQuotingSpill = 16;

// Writes the value in quotes; returns the place behind it. `to` has quoted_room of it and the spill. `readable` bytes
// from the value's start may be read, the value's own at least; with some more behind it the work is quicker.
char* put_quoted(char* to, std::string_view value, std::size_t readable) noexcept;

}  // namespace kel

#endif
