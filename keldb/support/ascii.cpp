#include "keldb/support/ascii.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "keldb/support/words.h"

namespace kel {

std::size_t common_start(std::string_view a, std::string_view b) noexcept {
    const std::size_t end = std::min(a.size(), b.size());
    std::size_t i = 0;
    while (end - i >= kWord) {
        const std::uint64_t difference = load_word(a.data() + i) ^ load_word(b.data() + i);
        if (difference == 0) {
            i += kWord;
            continue;
        }
        i += first_byte_set(difference);
        if (folded(a[i]) != folded(b[i])) {
            return i;
        }
        ++i;
    }
    while (i < end && folded(a[i]) == folded(b[i])) {
        ++i;
    }
    return i;
}

int compare_ignoring_case(std::string_view a, std::string_view b) noexcept {
    const std::size_t same = common_start(a, b);
    if (same == a.size() || same == b.size()) {
        return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
    }
    return folded(a[same]) - folded(b[same]);
}

bool equal_ignoring_case(std::string_view a, std::string_view b) noexcept {
    return a.size() == b.size() && common_start(a, b) == a.size();
}

bool starts_ignoring_case(std::string_view text, std::string_view prefix) noexcept {
    return equal_ignoring_case(text.substr(0, prefix.size()), prefix);
}

bool ends_ignoring_case(std::string_view text, std::string_view suffix) noexcept {
    return text.size() >= suffix.size() && equal_ignoring_case(text.substr(text.size() - suffix.size()), suffix);
}

std::string_view skip_trailing_space(std::string_view text) noexcept {
    while (!text.empty() && is_space(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

namespace {

// Takes one sign off the front; true for a minus.
bool take_sign(std::string_view& text) {
    const bool minus = !text.empty() && text.front() == '-';
    if (minus || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }
    return minus;
}

int digit_value(char c) {
    return is_digit(c) ? c - '0' : to_lower(c) >= 'a' && to_lower(c) <= 'f' ? to_lower(c) - 'a' + 10 : 99;
}

// 0x and a digit, which may stand behind a point; otherwise the number is the 0 alone.
bool is_hexadecimal(std::string_view text) {
    if (text.size() < 3 || text[0] != '0' || to_lower(text[1]) != 'x') {
        return false;
    }
    const std::size_t digit = text[2] == '.' ? 3 : 2;
    return digit < text.size() && digit_value(text[digit]) < 16;
}

// An exponent has one sign at most: from_chars would take p+-1 for an exponent too.
std::string_view without_broken_exponent(std::string_view text) {
    const std::size_t mark = text.find_first_of("pP");
    const bool two_signs = mark != std::string_view::npos && text.substr(mark + 1).starts_with("+-");
    return two_signs ? text.substr(0, mark) : text;
}

// Whether a number that is out of range is too large, not too small: the sign of its exponent when it is written with
// its first significant digit before the point. One digit is worth `steps` of the exponent's units.
bool too_large(std::string_view number, int base, char exponent_mark, int steps) {
    long long place = 0;
    bool significant = false;
    bool after_point = false;
    for (std::size_t i = 0; i < number.size(); ++i) {
        if (to_lower(number[i]) == exponent_mark) {
            return place * steps + read_int(number.substr(i + 1)) > 0;
        }
        after_point = after_point || number[i] == '.';
        if (digit_value(number[i]) < base) {
            significant = significant || number[i] != '0';
            place += !after_point && significant ? 1 : after_point && !significant ? -1 : 0;
        }
    }
    return place > 0;
}

}  // namespace

unsigned read_unsigned(std::string_view text, unsigned fallback) noexcept {
    const std::string_view number = skip_trailing_space(skip_leading_space(text));
    const char* end = number.data() + number.size();
    unsigned value = 0;
    const auto read = std::from_chars(number.data(), end, value);
    return read.ec == std::errc() && read.ptr == end ? value : fallback;
}

int read_int(std::string_view text) noexcept {
    text = skip_leading_space(text);
    const bool minus = take_sign(text);
    constexpr long long kLimit = std::numeric_limits<int>::max();
    long long value = 0;
    for (std::size_t i = 0; i < text.size() && is_digit(text[i]) && value <= kLimit; ++i) {
        value = value * 10 + (text[i] - '0');
    }
    return static_cast<int>(minus ? -std::min(value, kLimit + 1) : std::min(value, kLimit));
}

double read_double(std::string_view text) noexcept {
    text = skip_leading_space(text);
    const bool minus = take_sign(text);
    if (!text.empty() && text.front() == '-') {
        return 0;  // from_chars would take this second sign
    }
    const bool hexadecimal = is_hexadecimal(text);
    if (hexadecimal) {
        text = without_broken_exponent(text.substr(2));
    }
    double value = 0;
    const auto format = hexadecimal ? std::chars_format::hex : std::chars_format::general;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value, format);
    if (read.ec == std::errc::invalid_argument) {
        return 0;
    }
    if (read.ec == std::errc::result_out_of_range) {
        const std::string_view number(text.data(), static_cast<std::size_t>(read.ptr - text.data()));
        const bool large = hexadecimal ? too_large(number, 16, 'p', 4) : too_large(number, 10, 'e', 1);
        value = large ? std::numeric_limits<double>::infinity() : 0;
    }
    return minus ? -value : value;
}

}  // namespace kel
