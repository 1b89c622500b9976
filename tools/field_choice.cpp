#include "field_choice.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "messages.h"

namespace tool {
namespace {

std::optional<unsigned> find_field(const OpenTable& input, std::string_view name) {
    const int found = input.table.get_fieldnum(String(name));
    return found < 0 ? std::nullopt : std::optional(static_cast<unsigned>(found));
}

void tell_no_field(const OpenTable& input, std::string_view name) {
    std::string names;
    for (const unsigned field : all_fields(input.table)) {
        names += (field == 0 ? "" : ", ") + std::string(input.table.get_fieldname(field));
    }
    tell("{}: there is no field \"{}\"{}{}", input.name, name, names.empty() ? "" : "; there are ", names);
}

// Appends the fields of one list; false, told, when one of them is missing.
bool append_listed(const OpenTable& input, std::string_view list, std::vector<unsigned>& fields) {
    while (true) {
        const std::size_t comma = list.find(',');
        const std::optional<unsigned> field = field_named(input, std::string(list.substr(0, comma)));
        if (!field) return false;
        fields.push_back(*field);
        if (comma == std::string_view::npos) return true;
        list.remove_prefix(comma + 1);
    }
}

std::optional<FieldValue> field_value(const OpenTable& input, std::string_view text) {
    const std::size_t first = text.find('=');
    if (first == std::string_view::npos) {
        tell("\"{}\" is not FIELD=VALUE", text);
        return std::nullopt;
    }
    for (std::size_t at = first; at != std::string_view::npos; at = text.find('=', at + 1)) {
        const std::optional<unsigned> field = find_field(input, text.substr(0, at));
        if (field) return FieldValue{*field, String(text.substr(at + 1))};
    }
    tell_no_field(input, text.substr(0, first));
    return std::nullopt;
}

}  // namespace

std::optional<unsigned> field_named(const OpenTable& input, const std::string& name) {
    const std::optional<unsigned> field = find_field(input, name);
    if (!field) tell_no_field(input, name);
    return field;
}

std::optional<std::vector<unsigned>> fields_listed(const OpenTable& input, const std::vector<std::string>& lists) {
    std::vector<unsigned> fields;
    for (const std::string& list : lists) {
        if (const std::optional<unsigned> whole = find_field(input, list)) {
            fields.push_back(*whole);
        } else if (!append_listed(input, list, fields)) {
            return std::nullopt;
        }
    }
    return fields;
}

std::vector<unsigned> all_fields(const keldb& table) {
    std::vector<unsigned> fields(table.get_num_fields());
    std::iota(fields.begin(), fields.end(), 0U);
    return fields;
}

std::optional<std::vector<FieldValue>> field_values(const OpenTable& input, const std::vector<std::string>& texts) {
    std::vector<FieldValue> values;
    for (const std::string& text : texts) {
        std::optional<FieldValue> value = field_value(input, text);
        if (!value) return std::nullopt;
        const auto same = [&](const FieldValue& other) { return other.field == value->field; };
        if (std::any_of(values.begin(), values.end(), same)) {
            tell("the field \"{}\" is given twice", input.table.get_fieldname(value->field));
            return std::nullopt;
        }
        values.push_back(std::move(*value));
    }
    return values;
}

}  // namespace tool
