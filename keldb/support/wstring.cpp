#include "keldb/support/wstring.h"

#include <string_view>

namespace {

constexpr wchar_t kByteBase = 0xDC00;  // stands for a byte that is no UTF-8: kByteBase + byte

bool continues(std::string_view bytes, std::size_t at, unsigned low = 0x80, unsigned high = 0xBF) {
    return at < bytes.size() && static_cast<unsigned char>(bytes[at]) >= low &&
           static_cast<unsigned char>(bytes[at]) <= high;
}

// Length of the well-formed UTF-8 sequence at the start, 0 when there is none. The ranges are those of the Unicode
// standard's table of well-formed sequences: they leave out overlong forms, surrogates and codes above 10FFFF.
std::size_t sequence_length(std::string_view bytes) {
    const unsigned lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return continues(bytes, 1) ? 2 : 0;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        const bool second = continues(bytes, 1, lead == 0xE0 ? 0xA0 : 0x80, lead == 0xED ? 0x9F : 0xBF);
        return second && continues(bytes, 2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const bool second = continues(bytes, 1, lead == 0xF0 ? 0x90 : 0x80, lead == 0xF4 ? 0x8F : 0xBF);
        return second && continues(bytes, 2) && continues(bytes, 3) ? 4 : 0;
    }
    return 0;
}

wchar_t decode(std::string_view sequence) {
    constexpr unsigned kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned code = static_cast<unsigned char>(sequence[0]) & kLeadBits[sequence.size()];
    for (const char c : sequence.substr(1)) {
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3F);
    }
    return static_cast<wchar_t>(code);
}

void put(std::string& out, unsigned byte) { out.push_back(static_cast<char>(byte)); }

void encode(std::string& out, unsigned code) {
    if (code < 0x80) {
        put(out, code);
    } else if (code < 0x800) {
        put(out, 0xC0 | code >> 6);
        put(out, 0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        put(out, 0xE0 | code >> 12);
        put(out, 0x80 | (code >> 6 & 0x3F));
        put(out, 0x80 | (code & 0x3F));
    } else {
        put(out, 0xF0 | code >> 18);
        put(out, 0x80 | (code >> 12 & 0x3F));
        put(out, 0x80 | (code >> 6 & 0x3F));
        put(out, 0x80 | (code & 0x3F));
    }
}

}  // namespace

bool WString::endsWith(std::wstring_view ending) const noexcept { return std::wstring_view(text_).ends_with(ending); }

WString fromUTF8(const String& bytes) {
    std::wstring wide;
    wide.reserve(bytes.size());
    for (std::string_view rest = bytes; !rest.empty();) {
        const std::size_t length = sequence_length(rest);
        wide.push_back(length ? decode(rest.substr(0, length))
                              : static_cast<wchar_t>(kByteBase + static_cast<unsigned char>(rest[0])));
        rest.remove_prefix(length ? length : 1);
    }
    return WString(std::move(wide));
}

String toUTF8(const WString& text) {
    constexpr unsigned kReplacement = 0xFFFD;  // for a number that is no code point at all
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t c : text.text()) {
        const auto code = static_cast<unsigned>(c);
        if (code >= kByteBase + 0x80U && code <= kByteBase + 0xFFU) {
            put(bytes, code - kByteBase);
        } else {
            encode(bytes, code <= 0x10FFFF ? code : kReplacement);
        }
    }
    return String(bytes);
}

namespace Qv {
WString WStringFromAscii(const char* text) { return fromUTF8(String(text)); }
}  // namespace Qv
