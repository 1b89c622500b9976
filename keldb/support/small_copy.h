// Copying a few bytes without a call.
#ifndef KELDB_SUPPORT_SMALL_COPY_H
#define KELDB_SUPPORT_SMALL_COPY_H

#include <cstddef>
#include <cstring>

namespace kel {

// Copies `bytes` (at most 16) with two moves that may overlap. Everything is read before anything is written, so the
// two places may overlap too.
inline void copy_up_to_16(char* to, const char* from, std::size_t bytes) noexcept {
    const auto ends = [&]<class Word>(Word first, Word last) {
        std::memcpy(&first, from, sizeof first);
        std::memcpy(&last, from + bytes - sizeof last, sizeof last);
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + bytes - sizeof last, &last, sizeof last);
    };
    if (bytes >= 8) {
        ends(0ULL, 0ULL);
    } else if (bytes >= 4) {
        ends(0U, 0U);
    } else if (bytes != 0) {
        const char first = from[0], middle = from[bytes / 2], last = from[bytes - 1];
        to[0] = first;
        to[bytes / 2] = middle;
        to[bytes - 1] = last;
    }
}

}  // namespace kel

#endif
