#include "where_clause.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "keldb/fields/field_types.h"
#include "keldb/fields/well_known_fields.h"
#include "keldb/support/ascii.h"
#include "keldb/support/timecode.h"
#include "messages.h"

namespace tool {
namespace {

enum class Reading { text, timecode, range, calendar };

bool is_timecode_type(DBFieldTypes::eType type) {
    return type == DBFieldTypes::timecode || type == DBFieldTypes::timecode_s;
}

Reading reading_of(keldb& table, unsigned field) {
    if (kel::range_pair_of(table.get_fieldname(field))) return Reading::range;
    const DBFieldTypes::eType type = table.get_field_type(field);
    if (type == DBFieldTypes::dos_date) return Reading::calendar;
    return is_timecode_type(type) ? Reading::timecode : Reading::text;
}

// Digits and the separators between them, as in a timecode or a part of one.
bool could_be_timecode(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return kel::is_digit(c) || std::string_view(":;.,").find(c) != std::string_view::npos;
    });
}

std::string range_words(const kel::FieldPair& pair, const String& value) {
    return fmt::format("range: \"{0}\" lies between {1} and {2}, as far as it goes, or {1} begins with it",
                       std::string_view(value), pair.start, pair.end);
}

}  // namespace

std::optional<std::vector<FieldValue>> read_conditions(const OpenTable& input, const std::vector<std::string>& texts) {
    std::optional<std::vector<FieldValue>> conditions = field_values(input, texts);
    if (!conditions) return std::nullopt;
    for (const FieldValue& condition : *conditions) {
        if (!condition.value.empty()) continue;
        tell("--where \"{}=\": an empty value asks for nothing", input.table.get_fieldname(condition.field));
        return std::nullopt;
    }
    return conditions;
}

void set_query(keldb& table, const std::vector<FieldValue>& conditions) {
    const std::unique_ptr<dbrecord> example(table.make_dummy_record());
    for (const FieldValue& condition : conditions) {
        example->setField(static_cast<unsigned short>(condition.field), condition.value);
    }
    table.set_query(example.get());
}

std::string explained(keldb& table, const FieldValue& condition) {
    const char* name = table.get_fieldname(condition.field);
    const std::string_view value = condition.value;
    switch (reading_of(table, condition.field)) {
    case Reading::range:
        return fmt::format("{}: {}", name, range_words(*kel::range_pair_of(name), condition.value));
    case Reading::timecode:
        return fmt::format("{}: timecode: \"{}\" stands in it, with any of : ; . , as separators", name, value);
    case Reading::calendar:
        return fmt::format(
            "{}: calendar: \"{}\" stands in its date and local time, written like Fri Mar  1 09:05:00 2024", name,
            value);
    case Reading::text:
        break;
    }
    return fmt::format("{}: text: \"{}\" stands in it, capital or small letters alike", name, value);
}

std::string why_nothing_can_match(keldb& table, const FieldValue& condition) {
    const std::string_view value = condition.value;
    if (!is_timecode_type(table.get_field_type(condition.field)) || could_be_timecode(value)) return {};
    return fmt::format("\"{}\" is no timecode or part of one, and {} holds timecodes", value,
                       table.get_fieldname(condition.field));
}

void tell_no_match(OpenTable& input, const std::vector<FieldValue>& conditions) {
    tell("{}: no record matches", input.name);
    for (const FieldValue& condition : conditions) {
        const std::string reason = why_nothing_can_match(input.table, condition);
        if (!reason.empty()) tell("{}: {}", input.name, reason);
    }
}

}  // namespace tool
