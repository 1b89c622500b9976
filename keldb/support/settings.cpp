#include "keldb/support/settings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "keldb/support/ascii.h"

namespace {

constexpr std::string_view kPrefix = "KELDB_";
constexpr std::size_t kLongestName = 127;

bool begins_with_number(std::string_view text) {
    text = kel::skip_leading_space(text);
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        text.remove_prefix(1);
    }
    return !text.empty() && kel::is_digit(text.front());
}

// The environment's text for a key; null when there is none. A key too long for the name names no setting.
const char* setting(std::string_view key) {
    char name[kLongestName + 1];
    if (kPrefix.size() + key.size() > kLongestName) {
        return nullptr;
    }
    char* end = std::copy(kPrefix.begin(), kPrefix.end(), name);
    end = std::transform(key.begin(), key.end(), end,
                         [](char c) { return kel::is_lower(c) ? static_cast<char>(c - ('a' - 'A')) : c; });
    *end = 0;
    return std::getenv(name);
}

}  // namespace

int config_int(const char* key, int fallback, int low, int high) noexcept {
    const char* text = key ? setting(key) : nullptr;
    if (!text || !begins_with_number(text)) {
        return fallback;
    }
    return std::max(low, std::min(high, kel::read_int(text)));
}
