#include "keldb/search/key_words.h"

#include <algorithm>
#include <array>

namespace kel {
namespace {

constexpr std::size_t kStepBytes = 16;

// Bytes of an encoding, up to the end of the wanted step.
class Encoding {
public:
    explicit Encoding(unsigned step) : end_(kStepBytes * (step + 1)) {}
    bool full() const noexcept { return size_ >= end_; }
    void put(unsigned char byte) noexcept {
        if (!full()) bytes_[size_++] = byte;
    }
    void fill(unsigned char byte) noexcept {
        while (!full()) put(byte);
    }
    KeyStep step(unsigned k) const noexcept { return {word(kStepBytes * k), word(kStepBytes * k + 8)}; }

private:
    std::uint64_t word(std::size_t at) const noexcept {
        std::uint64_t word = 0;
        for (std::size_t i = at; i < at + 8; ++i) word = word << 8 | bytes_[i];
        return word;
    }

    std::array<unsigned char, kStepBytes * kKeySteps> bytes_{};
    std::size_t end_;
    std::size_t size_ = 0;
};

// End marks of an exact natural encoding with runs of digits; smaller than any byte of a text that has one.
constexpr unsigned char kZerosFollow = 1;
constexpr unsigned char kNoZeros = 2;
constexpr std::size_t kMostRuns = 8;  // of digits, in an exact encoding
constexpr std::size_t kMostZeros = 200;

struct DigitRun {
    std::size_t zeros;  // at its start
    bool decided;       // whether their number alone orders it among runs of the same value
};

// Encodes one run of digits that begins at `at`, and moves `at` behind it. After zeros alone, what follows them
// decides.
DigitRun put_run(Encoding& out, std::string_view text, std::size_t& at) noexcept {
    constexpr std::size_t kLongestRun = 254;
    const std::size_t start = at;
    while (at < text.size() && text[at] == '0') ++at;
    const std::size_t zeros = at - start;
    std::size_t end = at;
    while (end < text.size() && is_digit(text[end])) ++end;
    const std::size_t digits = std::min(end - at, kLongestRun);
    out.put('0');
    out.put(static_cast<unsigned char>(digits + 1));  // never a zero byte, which would look like an end
    if (digits == kLongestRun) out.fill(0xFF);        // too long for one byte of length: left to the comparison
    if (digits % 2 != 0) out.put(static_cast<unsigned char>(text[at++] - '0' + 1));
    for (; at < end && !out.full(); at += 2)
        out.put(static_cast<unsigned char>((text[at] - '0') * 10 + (text[at + 1] - '0') + 1));
    at = end;
    return {zeros, digits != 0};
}

void put_natural(Encoding& out, std::string_view text) noexcept {
    for (std::size_t at = 0; at < text.size() && !out.full();) {
        if (is_digit(text[at]))
            put_run(out, text, at);
        else
            out.put(folded(text[at++]));
    }
}

bool put_exact_natural(Encoding& out, std::string_view text) noexcept {
    std::array<unsigned char, kMostRuns> zeros{};
    std::size_t runs = 0;
    bool any_zeros = false, undecided = false;
    for (std::size_t at = 0; at < text.size();) {
        if (!is_digit(text[at])) {
            if (static_cast<unsigned char>(text[at]) <= kNoZeros) return false;
            out.put(folded(text[at++]));
            continue;
        }
        const DigitRun run = put_run(out, text, at);
        if (run.zeros > kMostZeros || runs == kMostRuns) return false;
        undecided |= !run.decided;
        any_zeros |= run.zeros != 0;
        zeros[runs++] = static_cast<unsigned char>(run.zeros);
    }
    if (undecided) {
        out.put(kNoZeros);
        out.fill(0xFF);
    } else if (runs != 0) {
        out.put(any_zeros ? kZerosFollow : kNoZeros);
        for (std::size_t i = 0; any_zeros && i < runs; ++i) out.put(static_cast<unsigned char>(0xFF - zeros[i]));
    }
    return true;
}

void put_folded(Encoding& out, std::string_view text) noexcept {
    for (std::size_t at = 0; at < text.size() && !out.full(); ++at) out.put(folded(text[at]));
}

bool put_exact_folded(Encoding& out, std::string_view text) noexcept {
    put_folded(out, text);
    return text.find('\0') == std::string_view::npos;
}

}  // namespace

KeyStep key_step(std::string_view value, const KeyRule& rule, unsigned k) noexcept {
    Encoding out(k);
    switch (rule.kind) {
    case KeyRule::natural:
        put_natural(out, value);
        break;
    case KeyRule::from:
        put_folded(out, rest_from(value, rule.offset));
        break;
    case KeyRule::last:
        put_folded(out, last_bytes(value, rule.offset));
        break;
    case KeyRule::timecode:
        put_folded(out, value.substr(0, kTimecodeSeparator));
        if (value.size() < kTimecodeSeparator) break;
        put_folded(out, rest_from(value, kTimecodeSeparator + 1));
    }
    return out.step(k);
}

bool exact_key_steps(std::string_view value, const KeyRule& rule, unsigned first, std::span<KeyStep> steps) noexcept {
    if (rule.kind == KeyRule::timecode) {
        const auto number = timecode_number(value);
        std::fill(steps.begin(), steps.end(), KeyStep{0, 0});
        if (number && first == 0) steps[0].low = (*number + 1) << 8;
        return number.has_value();
    }
    Encoding out(first + static_cast<unsigned>(steps.size()) - 1);
    bool exact = false;
    if (rule.kind == KeyRule::natural) {
        exact = put_exact_natural(out, value);
    } else {
        const bool from = rule.kind == KeyRule::from;
        exact = put_exact_folded(out, from ? rest_from(value, rule.offset) : last_bytes(value, rule.offset));
    }
    for (unsigned i = 0; i < steps.size(); ++i) steps[i] = out.step(first + i);
    return exact;
}

std::optional<std::uint64_t> timecode_number(std::string_view value) noexcept {
    if (value.size() != 11 || value[2] != ':' || value[5] != ':') return std::nullopt;
    std::uint64_t number = 0;
    for (const std::size_t i : {0U, 1U, 3U, 4U, 6U, 7U, 9U, 10U}) {
        if (!is_digit(value[i])) return std::nullopt;
        number = number * 10 + static_cast<std::uint64_t>(value[i] - '0');
    }
    return number;
}

}  // namespace kel
