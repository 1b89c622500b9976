// Characters and numbers as plain ASCII reads them, whatever locale the host has set and whether or not `char` is
// signed. Bytes of 128 and above are letters of nobody's alphabet here: never white space, never folded.
#ifndef KELDB_SUPPORT_ASCII_H
#define KELDB_SUPPORT_ASCII_H

#include <array>
#include <cstddef>
#include <string_view>

#include "keldb/support/export.h"

namespace kel {

// Blank, tab, line feed, vertical tab, form feed, carriage return.
constexpr bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }
constexpr bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool is_lower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool is_letter(char c) { return is_upper(c) || is_lower(c); }
// Codes 0 to 31 and 127.
constexpr bool is_control(char c) { return static_cast<unsigned char>(c) < 32 || c == 127; }
constexpr char to_lower(char c) { return is_upper(c) ? static_cast<char>(c + ('a' - 'A')) : c; }

// to_lower for every byte, indexed by the byte's unsigned value.
inline constexpr std::array<unsigned char, 256> kFolded = [] {
    std::array<unsigned char, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<unsigned char>(to_lower(static_cast<char>(i)));
    return table;
}();
constexpr unsigned char folded(char c) { return kFolded[static_cast<unsigned char>(c)]; }

// Negative, zero or positive: bytes compared by their unsigned values after folding A-Z; a text that is a leading part
// of the other is the smaller. Embedded zero bytes count like any other.
KELDB_API int compare_ignoring_case(std::string_view a, std::string_view b) noexcept;
KELDB_API bool equal_ignoring_case(std::string_view a, std::string_view b) noexcept;
KELDB_API bool starts_ignoring_case(std::string_view text, std::string_view prefix) noexcept;
KELDB_API bool ends_ignoring_case(std::string_view text, std::string_view suffix) noexcept;

// How many bytes at the start of both texts are equal after folding.
KELDB_API std::size_t common_start(std::string_view a, std::string_view b) noexcept;

constexpr std::string_view skip_leading_space(std::string_view text) noexcept {
    while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
    return text;
}
KELDB_API std::string_view skip_trailing_space(std::string_view text) noexcept;

// Numbers at the start of a text, as atoi and atof read them in the C locale: leading white space is skipped, reading
// ends at the first character that does not belong, no number gives 0. read_int clamps to the range of int; read_double
// takes decimals, exponents, hexadecimal floats, "inf" and "nan", and gives plus or minus infinity past the range.
KELDB_API int read_int(std::string_view text) noexcept;
KELDB_API double read_double(std::string_view text) noexcept;

// The unsigned decimal number that the whole text is, but for white space around it; `fallback` for any other text and
// for a number above the unsigned 32-bit range.
KELDB_API unsigned read_unsigned(std::string_view text, unsigned fallback) noexcept;

}  // namespace kel

#endif
