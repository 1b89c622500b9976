#include "keldb/search/record_order.h"

#include <algorithm>

#include "keldb/fields/dbrecord.h"
#include "keldb/search/key_text.h"

namespace kel {

SortState& sort_state() noexcept {
    static constinit SortState state;
    return state;
}

int compare_ascending(const dbrecord& a, const dbrecord& b) noexcept {
    const bool a_blank = a.is_blank() != 0, b_blank = b.is_blank() != 0;
    if (a_blank || b_blank) return a_blank - b_blank;
    const SortState& state = sort_state();
    for (const int* key = state.keys; key && *key >= 0; ++key) {
        const KeyRule rule = rule_of(*key, state);
        const std::string_view x = key_value(a, *key), y = key_value(b, *key);
        if (x.empty() || y.empty()) return x.empty() - y.empty();
        if (const int order = compare_key(x, y, rule)) return order;
    }
    return 0;
}

int compare_descending(const dbrecord& a, const dbrecord& b) noexcept {
    for (const int* key = sort_state().keys; key && *key >= 0; ++key) {
        const auto field = static_cast<unsigned>(*key);
        if (const int order = compare_ignoring_case(a.field_text(field), b.field_text(field))) return -order;
    }
    return 0;
}

}  // namespace kel
