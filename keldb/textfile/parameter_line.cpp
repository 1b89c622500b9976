#include "keldb/textfile/parameter_line.h"

#include <algorithm>

#include "keldb/support/ascii.h"
#include "keldb/table/parameter_list.h"

namespace kel {

std::string parameter_line(std::string_view name, std::string_view value) {
    std::string line;
    line.reserve(name.size() + value.size() + 3);
    return line.append(1, '"').append(name).append(1, ':').append(value).append(1, '"');
}

ParameterText read_parameter(std::string_view first_value) noexcept {
    using Kind = ParameterText::Kind;
    if (equal_ignoring_case(first_value, kRevisionName)) return {Kind::marker, {}, {}};
    const std::string_view text = skip_leading_space(first_value);
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return {Kind::no_colon, {}, {}};
    if (colon == 0) return {Kind::nameless, {}, {}};
    return {Kind::parameter, text.substr(0, colon), skip_leading_space(text.substr(colon + 1))};
}

bool is_revision_entry(std::string_view first_value) noexcept {
    const std::string_view name = kRevisionName;
    return starts_ignoring_case(first_value, name) && first_value.substr(name.size()).starts_with(':');
}

int revision_of(std::string_view value) noexcept {
    return read_int(std::string_view(std::find_if(value.begin(), value.end(), is_digit), value.end()));
}

}  // namespace kel
