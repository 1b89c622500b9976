#include "keldb/search/calendar_text.h"

#include <cstdio>
#include <ctime>

namespace kel {

std::string_view calendar_text(unsigned seconds, CalendarBuffer& buffer) noexcept {
    static constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t instant = seconds;
    std::tm local{};
    tzset();
    if (!localtime_r(&instant, &local)) return {};
    const int length =
        std::snprintf(buffer.data(), buffer.size(), "%s %s%3d %.2d:%.2d:%.2d %d\n",
                      kDays[static_cast<unsigned>(local.tm_wday)], kMonths[static_cast<unsigned>(local.tm_mon)],
                      local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, 1900 + local.tm_year);
    return {buffer.data(), static_cast<std::size_t>(length)};
}

}  // namespace kel
