// Looking for single bytes in sixteen at a time, for readers and writers that copy plain stretches of text as they
// look.
#ifndef KELDB_TEXTFILE_BYTE_STEPS_H
#define KELDB_TEXTFILE_BYTE_STEPS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kel {

inline constexpr std::size_t kStepBytes = 16;

// For any processor: two words of eight bytes.
class PlainStep {
public:
    explicit PlainStep(const char* from) noexcept { std::memcpy(words_, from, kStepBytes); }
    void copy_to(char* to) const noexcept { std::memcpy(to, words_, kStepBytes); }

    // Where the first byte stands that is one of these; 16 when none is.
    template <char... kWanted>
    unsigned first_of() const noexcept {
        for (unsigned i = 0; i < 2; ++i) {
            const std::uint64_t marks = (marks_of(words_[i], kWanted) | ...);
            if (marks != 0) return 8 * i + first_mark(marks);
        }
        return kStepBytes;
    }
    // Whether any of the sixteen is one of these.
    template <char... kWanted>
    bool has_any() const noexcept {
        return ((marks_of(words_[0], kWanted) | marks_of(words_[1], kWanted)) | ...) != 0;
    }

private:
    // 0x80 in every byte of the word that equals `wanted`, 0 in the others.
    static constexpr std::uint64_t marks_of(std::uint64_t word, char wanted) noexcept {
        constexpr std::uint64_t kOnes = 0x0101010101010101, kLow = 0x7F7F7F7F7F7F7F7F;
        const std::uint64_t differs = word ^ (kOnes * static_cast<unsigned char>(wanted));
        return ~(((differs & kLow) + kLow) | differs | kLow);
    }
    // Which byte in memory order carries the first mark.
    static constexpr unsigned first_mark(std::uint64_t marks) noexcept {
        const int bits = std::endian::native == std::endian::little ? std::countr_zero(marks) : std::countl_zero(marks);
        return static_cast<unsigned>(bits) / 8;
    }

    std::uint64_t words_[2];
};

#if defined(__SSE2__)
class VectorStep {
public:
    explicit VectorStep(const char* from) noexcept : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))) {}
    void copy_to(char* to) const noexcept { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes_); }

    template <char... kWanted>
    unsigned first_of() const noexcept {
        return static_cast<unsigned>(std::countr_zero(marks<kWanted...>() | 0x10000U));
    }
    template <char... kWanted>
    bool has_any() const noexcept {
        return marks<kWanted...>() != 0;
    }

private:
    // A bit for each byte that is wanted, the first byte's the lowest.
    template <char... kWanted>
    unsigned marks() const noexcept {
        return static_cast<unsigned>(_mm_movemask_epi8(either(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(kWanted))...)));
    }
    static __m128i either(__m128i a) noexcept { return a; }
    template <class... More>
    static __m128i either(__m128i a, More... more) noexcept {
        return _mm_or_si128(a, either(more...));
    }

    __m128i bytes_;
};
using ByteStep = VectorStep;
#else
using ByteStep = PlainStep;
#endif

}  // namespace kel

#endif
