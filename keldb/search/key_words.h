// Sort keys as numbers: a value's first bytes, put so that pairs of unsigned numbers compare as the values do.
//
// A value under a rule is encoded as bytes, of which one step holds sixteen: bytes 16k to 16k + 15, big-endian, zero
// bytes after the end. Of two values a smaller step (the steps before being equal) means the smaller value. A step
// whose last byte is zero is a value's last, when the encoding is exact.
//
// Natural order: a run of digits becomes '0', the count of its digits without leading zeros, and these digits in pairs;
// so runs compare by value, and with other bytes as digits do. Other bytes are folded to lower case.
//
// Exact encodings that are ended are equal only for values that the comparison finds equal. Natural ones get there by
// an end mark that says how many leading zeros each run had (more of them come first, as in plain text); where that
// does not decide, as for a run of zeros alone, they do not end. A text with bytes 0 to 2, very many runs or very
// many zeros has no exact encoding.
#ifndef KELDB_SEARCH_KEY_WORDS_H
#define KELDB_SEARCH_KEY_WORDS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "keldb/search/key_text.h"

namespace kel {

struct KeyStep {
    std::uint64_t high;
    std::uint64_t low;
    bool is_last() const noexcept { return (low & 0xFF) == 0; }
    bool is_empty() const noexcept { return high == 0 && low == 0; }  // of no text but the empty one, when exact
    bool operator==(const KeyStep&) const = default;
};

inline constexpr unsigned kKeySteps = 3;  // further bytes are left to the comparison

// The k-th step of a value under a rule; `natural` and the others of KeyRule as record_order.h describes them.
KeyStep key_step(std::string_view value, const KeyRule& rule, unsigned k) noexcept;

// Steps of its exact encoding, from step `first` on, as many as there is room for; false when it has none.
bool exact_key_steps(std::string_view value, const KeyRule& rule, unsigned first, std::span<KeyStep> steps) noexcept;

// A timecode in its usual form, hh:mm:ss and any separator and ff, as one number that orders exactly as the timecode
// rule does and is equal only for values equal under it; nothing for any other text.
std::optional<std::uint64_t> timecode_number(std::string_view value) noexcept;

}  // namespace kel

#endif
