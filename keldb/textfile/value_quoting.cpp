#include "keldb/textfile/value_quoting.h"

#include "keldb/textfile/byte_words.h"

namespace kel {
namespace {

constexpr bool needs_care(char c) { return c == '"' || c == '\n' || c == '\r'; }

char* put_with_care(char* to, char c) noexcept {
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

// Plain stretches are copied in words as they are looked at. What that writes too much lies inside the room.
char* put_quoted(char* to, std::string_view value) noexcept {
    const char* from = value.data();
    const char* const end = from + value.size();
    *to++ = '"';
    while (end - from >= static_cast<std::ptrdiff_t>(kWordBytes)) {
        const ByteWord word = load_word(from);
        store_word(to, word);
        const ByteWord marks = marks_of(word, '"') | marks_of(word, '\n') | marks_of(word, '\r');
        const std::size_t plain = marks != 0 ? first_mark(marks) : kWordBytes;
        to += plain;
        from += plain;
        if (marks != 0) to = put_with_care(to, *from++);
    }
    for (; from != end; ++from) {
        if (needs_care(*from)) {
            to = put_with_care(to, *from);
        } else {
            *to++ = *from;
        }
    }
    *to++ = '"';
    return to;
}

}  // namespace kel
