#include "keldb/textfile/value_quoting.h"

#include <algorithm>
#include <cstring>

namespace kel {
namespace {

char* put_changed(char* to, char c) noexcept {
    switch (c) {
    case '"':
        *to++ = '"';
        *to++ = '"';
        break;
    case '\n':
        *to++ = '\\';
        *to++ = 'n';
        break;
    default:
        break;
    }
    return to;
}

}  // namespace

// Plain stretches are copied in steps as they are looked at. What that writes too much is written over by what follows.
char* put_with_care(char* to, std::string_view value, std::size_t readable) noexcept {
    const char* from = value.data();
    const char* const end = from + value.size();
    const char* const readable_end = from + readable;
    while (from != end) {
        const auto left = static_cast<std::size_t>(end - from);
        char last[kStepBytes] = {};  // the value's last bytes, when a whole step would read too far
        const bool near_end = readable_end - from < static_cast<std::ptrdiff_t>(kStepBytes);
        if (near_end) std::memcpy(last, from, left);
        const ByteStep step(near_end ? last : from);
        step.copy_to(to);
        const std::size_t marked = step.first_of<'"', '\n', '\r'>();
        const std::size_t plain = std::min(marked, left);
        to += plain;
        from += plain;
        if (marked < std::min(left, kStepBytes)) to = put_changed(to, *from++);
    }
    *to++ = '"';
    return to;
}

}  // namespace kel
