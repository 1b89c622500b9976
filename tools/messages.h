// Messages to the person at the command: on standard error, one line each, whatever stands in the names and values that
// they quote.
#ifndef KELDB_TOOLS_MESSAGES_H
#define KELDB_TOOLS_MESSAGES_H

#include <fmt/format.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "display_text.h"

namespace tool {

inline void tell_line(std::string_view line) {
    const std::string text = displayable(line) + '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

template <class... Values>
void tell(fmt::format_string<const Values&...> format, const Values&... values) {
    tell_line(fmt::format(format, values...));
}

// "1 record", "3 records".
inline std::string counted(std::size_t count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace tool

#endif
