// One sort key of one record: which part of the value is compared, and how.
#ifndef KELDB_SEARCH_KEY_TEXT_H
#define KELDB_SEARCH_KEY_TEXT_H

#include <string_view>

#include "keldb/fields/dbrecord.h"
#include "keldb/search/record_order.h"
#include "keldb/support/ascii.h"
#include "keldb/support/ordering.h"

namespace kel {

struct KeyRule {
    enum Kind {
        natural,   // strxcmp
        timecode,  // without byte 8
        from,      // from byte `offset` on
        last,      // the last `offset` bytes
    } kind;
    std::size_t offset;
};

inline KeyRule rule_of(int field, const SortState& state) noexcept {
    if (field == state.timecode_key) return {KeyRule::timecode, 0};
    if (state.offset > 0) return {KeyRule::from, static_cast<std::size_t>(state.offset)};
    if (state.plain != 0) return {KeyRule::from, 0};
    if (state.offset < 0) return {KeyRule::last, static_cast<std::size_t>(-static_cast<long long>(state.offset))};
    return {KeyRule::natural, 0};
}

// The value of a key field without its leading white space.
inline std::string_view key_value(const dbrecord& record, int field) noexcept {
    return skip_leading_space(record.field_text(static_cast<unsigned>(field)));
}

inline constexpr std::size_t kTimecodeSeparator = 8;  // the byte between seconds and frames in hh:mm:ss:ff

// The part of a value from a byte on; empty beyond its end.
inline std::string_view rest_from(std::string_view value, std::size_t at) noexcept {
    return value.substr(at < value.size() ? at : value.size());
}

inline std::string_view last_bytes(std::string_view value, std::size_t count) noexcept {
    return value.substr(count < value.size() ? value.size() - count : 0);
}

// Compares two values that are not empty.
inline int compare_key(std::string_view a, std::string_view b, const KeyRule& rule) noexcept {
    switch (rule.kind) {
    case KeyRule::natural:
        return strxcmp(a, b);
    case KeyRule::from:
        return compare_ignoring_case(rest_from(a, rule.offset), rest_from(b, rule.offset));
    case KeyRule::last:
        return compare_ignoring_case(last_bytes(a, rule.offset), last_bytes(b, rule.offset));
    case KeyRule::timecode:
        break;
    }
    const int start = compare_ignoring_case(a.substr(0, kTimecodeSeparator), b.substr(0, kTimecodeSeparator));
    if (start != 0) return start;
    return compare_ignoring_case(rest_from(a, kTimecodeSeparator + 1), rest_from(b, kTimecodeSeparator + 1));
}

}  // namespace kel

#endif
