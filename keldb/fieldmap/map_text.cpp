#include "keldb/fieldmap/map_text.h"

#include "keldb/support/ascii.h"

namespace kel {
namespace {

constexpr std::size_t kNumberWidth = 3;

// The number at the start of the text, as "%d" reads it; false when there is none.
bool scan_number(std::string_view text, int& number) {
    text = skip_leading_space(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    if (text.empty() || !is_digit(text.front())) return false;
    number = read_int(text);
    if (negative) number = -number;
    return true;
}

}  // namespace

std::vector<int> read_map(std::string_view text) {
    std::vector<int> numbers;
    int number = 0;
    while (scan_number(text.substr(0, kNumberWidth), number)) {
        if (number != 0) numbers.push_back(number);
        std::size_t passed = 0;
        while (passed < text.size() && (is_digit(text[passed]) || text[passed] == '-')) ++passed;
        if (passed < text.size() && text[passed] == ' ') ++passed;
        if (passed == 0) break;
        text.remove_prefix(passed);
    }
    return numbers;
}

}  // namespace kel
