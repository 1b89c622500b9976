#include "keldb/support/cookie.h"

#include <algorithm>
#include <string_view>

#include "keldb/support/ascii.h"

Cookie::Cookie(const char* text, bool /*item*/) : text_(text) {}
Cookie::Cookie(const String& text, bool /*item*/) : text_(text) {}
Cookie::Cookie(const WString& baseName, bool /*item*/) : text_(toUTF8(baseName)) {}

int Cookie::compare(const Cookie& other) const noexcept { return text_.view().compare(other.text_.view()); }

char Cookie::kind() const noexcept {
    const std::string_view text = text_;
    if (text.empty()) {
        return 'I';
    }
    const bool named = text[0] == 'I' && !std::all_of(text.begin() + 1, text.end(), kel::is_digit);
    return named ? 'i' : text[0];
}

Cookie convertCookie(const Cookie& cookie, CookieType type, unsigned char /*reserved*/) {
    return Cookie(String(std::string_view(&type, 1)) + cookie.text().view(), false);
}

void CookieSet::add(const Cookie& id) {
    const auto place = std::lower_bound(ids_.begin(), ids_.end(), id);
    if (place == ids_.end() || id < *place) {
        ids_.insert(place, id);
    }
}

bool CookieSet::contains(const Cookie& id) const noexcept { return std::binary_search(ids_.begin(), ids_.end(), id); }
