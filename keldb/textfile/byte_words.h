// Looking for single bytes in eight at a time, for readers and writers that copy long plain stretches of text.
#ifndef KELDB_TEXTFILE_BYTE_WORDS_H
#define KELDB_TEXTFILE_BYTE_WORDS_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace kel {

using ByteWord = std::uint64_t;
inline constexpr std::size_t kWordBytes = sizeof(ByteWord);

inline ByteWord load_word(const char* from) noexcept {
    ByteWord word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

inline void store_word(char* to, ByteWord word) noexcept { std::memcpy(to, &word, sizeof word); }

// 0x80 in every byte of the word that equals `wanted`, 0 in the others.
constexpr ByteWord marks_of(ByteWord word, char wanted) noexcept {
    constexpr ByteWord kOnes = 0x0101010101010101, kLow = 0x7F7F7F7F7F7F7F7F;
    const ByteWord differs = word ^ (kOnes * static_cast<unsigned char>(wanted));
    return ~(((differs & kLow) + kLow) | differs | kLow);
}

// Which byte in memory order carries the first mark; there is one.
constexpr std::size_t first_mark(ByteWord marks) noexcept {
    const int bits = std::endian::native == std::endian::little ? std::countr_zero(marks) : std::countl_zero(marks);
    return static_cast<std::size_t>(bits) / 8;
}

}  // namespace kel

#endif
