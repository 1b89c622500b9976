#include "keldb/support/ordering.h"

#include "keldb/support/ascii.h"

namespace {

// A run of digits at `at`, without its leading zeros; moves `at` behind it.
std::string_view take_digits(std::string_view text, std::size_t& at) {
    while (at < text.size() && text[at] == '0') {
        ++at;
    }
    const std::size_t start = at;
    while (at < text.size() && kel::is_digit(text[at])) {
        ++at;
    }
    return text.substr(start, at - start);
}

// By value, of any length: without leading zeros the longer run is the larger.
int compare_digits(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return a.size() < b.size() ? -1 : 1;
    }
    return a.compare(b);
}

}  // namespace

// Each text is read as a list of single bytes and whole runs of digits; all runs stand where the digits stand among the
// bytes. Lists of items from one total order, compared item by item, are in a strict weak order.
int strxcmp(std::string_view a, std::string_view b) noexcept {
    std::size_t i = kel::common_start(a, b);
    while (i > 0 && kel::is_digit(a[i - 1])) {
        --i;  // back to the start of the run of digits
    }
    std::size_t j = i;
    while (i < a.size() && j < b.size()) {
        if (kel::is_digit(a[i]) && kel::is_digit(b[j])) {
            const std::string_view left = take_digits(a, i);
            const std::string_view right = take_digits(b, j);
            if (const int order = compare_digits(left, right)) {
                return order;
            }
        } else {
            if (const int order = kel::folded(a[i]) - kel::folded(b[j])) {
                return order;
            }
            ++i;
            ++j;
        }
    }
    if (i < a.size() || j < b.size()) {
        return i < a.size() ? 1 : -1;
    }
    return kel::compare_ignoring_case(a, b);
}
