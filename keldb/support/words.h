// Eight bytes of a text as one number, the first byte the lowest, so that eight are looked at in one step.
#ifndef KELDB_SUPPORT_WORDS_H
#define KELDB_SUPPORT_WORDS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kel {

inline constexpr std::size_t kWord = sizeof(std::uint64_t);

inline std::uint64_t load_word(const char* bytes) noexcept {
    std::uint64_t word;
    std::memcpy(&word, bytes, kWord);
    if constexpr (std::endian::native == std::endian::big) {
        word = __builtin_bswap64(word);
    }
    return word;
}

// The eight bytes from `at`, which lies inside the text; bytes past its end read as 0.
inline std::uint64_t load_word_at(std::string_view text, std::size_t at) noexcept {
    if (text.size() - at >= kWord) {
        return load_word(text.data() + at);
    }
    if (text.size() >= kWord) {
        return load_word(text.data() + text.size() - kWord) >> (at + kWord - text.size()) * 8;
    }
    std::uint64_t word = 0;
    for (std::size_t i = text.size(); i > at; --i) {
        word = word << 8 | static_cast<unsigned char>(text[i - 1]);
    }
    return word;
}

constexpr std::uint64_t word_of(unsigned char byte) { return std::uint64_t{0x0101010101010101} * byte; }

// The top bit of each byte that is 0, exactly; all other bits clear.
constexpr std::uint64_t zero_bytes(std::uint64_t word) {
    constexpr std::uint64_t kLow = 0x7F7F7F7F7F7F7F7F;
    return ~(((word & kLow) + kLow) | word | kLow);
}

// Index of the first byte that is not 0; the word must not be 0.
inline std::size_t first_byte_set(std::uint64_t word) { return static_cast<std::size_t>(std::countr_zero(word)) / 8; }

}  // namespace kel

#endif
