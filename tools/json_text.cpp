#include "json_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "keldb/support/wstring.h"

namespace tool {
namespace {

void append_escaped(std::string& out, std::string_view text) {
    for (const char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < ' ') {
                out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
            } else {
                out += c;
            }
        }
    }
}

bool is_ascii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
}

// Puts the replacement character where fromUTF8 found a byte that is no UTF-8. True when there was none.
bool replace_other_bytes(std::wstring& text) {
    const auto is_byte = [](wchar_t c) { return c >= 0xDC80 && c <= 0xDCFF; };
    const bool clean = std::none_of(text.begin(), text.end(), is_byte);
    std::replace_if(text.begin(), text.end(), is_byte, L'\uFFFD');
    return clean;
}

}  // namespace

bool append_json_text(std::string& out, std::string_view text) {
    bool clean = true;
    out += '"';
    if (is_ascii(text)) {
        append_escaped(out, text);
    } else {
        std::wstring characters = fromUTF8(String(text)).text();
        clean = replace_other_bytes(characters);
        append_escaped(out, toUTF8(WString(std::move(characters))));
    }
    out += '"';
    return clean;
}

std::string json_text(std::string_view text) {
    std::string out;
    append_json_text(out, text);
    return out;
}

}  // namespace tool
