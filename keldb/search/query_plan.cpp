#include "keldb/search/query_plan.h"

#include <algorithm>

#include "keldb/fields/well_known_fields.h"
#include "keldb/support/ascii.h"
#include "keldb/support/timecode.h"

namespace kel {

bool in_range(std::string_view wanted, std::string_view start, std::string_view end) noexcept {
    const std::size_t length = wanted.size();
    if (start.empty()) return false;
    if (start.substr(0, length) == wanted) return true;
    if (end.empty()) return false;
    return wanted > start.substr(0, length) && wanted <= end.substr(0, length);
}

unsigned search_flags(DBFieldTypes::eType type, unsigned word_only) noexcept {
    const bool timecode = type == DBFieldTypes::timecode || type == DBFieldTypes::timecode_s;
    return (word_only != 0 ? TextSearch::kWholeWords : 0U) | (timecode ? TextSearch::kTimecode : 0U);
}

namespace {

// 10:00:00;05 and the like; the value itself when it is no timecode.
std::string_view punctuated(std::string_view value, CalendarBuffer& buffer) noexcept {
    const std::string_view text = skip_trailing_space(skip_leading_space(value));
    if (text.size() > String::kInline) return value;  // longer than any timecode; and shorter ones need no memory
    const time_def code(String(text), time_def::kLabelKind);
    if (!code.valid()) return value;
    const String form = code.get_punctuated_str();
    return {buffer.data(), form.view().copy(buffer.data(), buffer.size())};
}

}  // namespace

std::string_view searched_text(std::string_view value, DBFieldTypes::eType type, CalendarBuffer& buffer) noexcept {
    if (type == DBFieldTypes::dos_date) return calendar_text(read_unsigned(value, 0), buffer);
    return type == DBFieldTypes::timecode_s ? punctuated(value, buffer) : value;
}

QueryPlan::QueryPlan(const Query& query, const FieldLayout& layout) : version_(layout.version()) {
    const std::size_t count = std::min<std::size_t>(layout.size(), query.criteria().size());
    for (unsigned i = 0; i < count; ++i) {
        const TextSearch::Criteria& criteria = query.criteria()[i];
        if (criteria.empty()) continue;
        const String& wanted = criteria.getCriterion(0).text();
        if (layout.in_range_pair(i)) {
            if (range_pair_of(layout.name(i))) tests_.push_back(range_test(wanted, i, layout));
            continue;  // renamed since its flag was computed: no condition
        }
        const DBFieldTypes::eType type = layout.type(i);
        const unsigned flags = search_flags(type, query.word_only());
        tests_.push_back({Test::text, i, type, Needle(wanted, flags), String(), -1, -1});
    }
}

QueryPlan::Test QueryPlan::range_test(const String& wanted, unsigned field, const FieldLayout& layout) {
    const FieldPair& pair = *range_pair_of(layout.name(field));
    const int start = layout.find(pair.start), end = layout.find(pair.end);
    return {start < 0 ? Test::nothing : Test::range, field, layout.type(field), Needle(), wanted, start, end};
}

bool QueryPlan::in_pair_of(unsigned field, const String& wanted, const FieldLayout& layout, const dbrecord& record) {
    return !range_pair_of(layout.name(field)) || holds(range_test(wanted, field, layout), record);
}

bool QueryPlan::holds(const Test& test, const dbrecord& record) noexcept {
    if (test.kind == Test::nothing) return false;
    if (test.kind == Test::range) {
        const auto end = test.end < 0 ? std::string_view() : record.field_text(static_cast<unsigned>(test.end));
        return in_range(test.wanted, record.field_text(static_cast<unsigned>(test.start)), end);
    }
    CalendarBuffer buffer;
    return test.needle.found_in(searched_text(record.field_text(test.field), test.type, buffer));
}

bool QueryPlan::matches(const dbrecord& record) const noexcept {
    return std::all_of(tests_.begin(), tests_.end(), [&](const Test& test) { return holds(test, record); });
}

bool QueryPlan::matches_field(const dbrecord& record, unsigned field) const noexcept {
    return std::all_of(tests_.begin(), tests_.end(),
                       [&](const Test& test) { return test.field != field || holds(test, record); });
}

}  // namespace kel
