// The calendar text of a date kept as seconds.
#ifndef KELDB_SEARCH_CALENDAR_TEXT_H
#define KELDB_SEARCH_CALENDAR_TEXT_H

#include <array>
#include <string_view>

namespace kel {

// Room for any calendar text, and for a timecode in its punctuated form.
using CalendarBuffer = std::array<char, 64>;

// Seconds since 1 January 1970 (UTC) as the C library's ctime writes that instant in local time, whatever the locale:
// "Thu Jan  1 01:00:00 1970\n", 24 characters and a line feed. The time zone is the process's (TZ) at the call.
// The text lies in `buffer`.
std::string_view calendar_text(unsigned seconds, CalendarBuffer& buffer) noexcept;

}  // namespace kel

#endif
