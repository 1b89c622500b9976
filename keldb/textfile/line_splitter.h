// How the values of a line of a table file are found: parameter lines, header rows and record lines alike.
//
// A value ends at the first comma outside quotes, and quotes are recognised only as its first character:
//
//     at its start   control characters are stepped over; a double quote opens the quoted state; then white space is
//                    dropped, inside quotes too
//     within         "" gives one double quote; a single " ends the quoted state and is dropped, what follows still
//                    belongs to the value; a backslash and n give a line feed; a comma ends the value unless quoted
//     at its end     white space is dropped, inside quotes too
//
// A comma after the last value adds no empty value. A value takes at most kLongestValue bytes: when another would be
// copied, that byte is stepped over and the rest of the line is read as further values.
#ifndef KELDB_TEXTFILE_LINE_SPLITTER_H
#define KELDB_TEXTFILE_LINE_SPLITTER_H

#include <array>
#include <cstddef>
#include <string_view>

#include "keldb/fields/field_values.h"

namespace kel {

inline constexpr std::size_t kLongestValue = 4095;
inline constexpr std::size_t kMostValues = 65535;

// What a line can hold that reads back as something else than it seems to say.
enum class LineOddity : unsigned char {
    value_cut,         // longer than kLongestValue
    blanks_dropped,    // white space at an end of the text inside quotes
    stray_quote,       // a dropped quote that neither opened nor ended the value
    open_quote,        // the line ended inside quotes
    controls_dropped,  // control characters before a value
    too_many_values,   // more than kMostValues; the first beyond
};
inline constexpr std::size_t kLineOddities = 6;

// How many values of a line are odd in each way, and the number of the first.
struct LineOddities {
    struct Met {
        std::size_t count = 0;
        std::size_t first = 0;
        std::size_t last = 0;
    };
    std::array<Met, kLineOddities> met;

    void note(LineOddity what, std::size_t value) noexcept {
        Met& entry = met[static_cast<std::size_t>(what)];
        if (entry.count != 0 && entry.last == value) return;  // a value counts once, however often it is odd
        if (entry.count++ == 0) entry.first = value;
        entry.last = value;
    }
};

// Puts the line's values into `values`. Notes what is odd in `odd`, when given, and returns whether anything was.
bool split_line(std::string_view line, ValueBuilder& values, LineOddities* odd = nullptr);

}  // namespace kel

#endif
