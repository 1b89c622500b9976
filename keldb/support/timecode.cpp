#include "keldb/support/timecode.h"

#include <string_view>

#include "keldb/support/ascii.h"

namespace {

constexpr int kParts = 4;

unsigned char digit(char c) { return static_cast<unsigned char>(c - '0'); }

// Takes one or two digits off the front.
bool take_part(std::string_view& text, unsigned char& part) {
    if (text.empty() || !kel::is_digit(text[0])) {
        return false;
    }
    const bool two = text.size() > 1 && kel::is_digit(text[1]);
    part = static_cast<unsigned char>(two ? digit(text[0]) * 10 + digit(text[1]) : digit(text[0]));
    text.remove_prefix(two ? 2 : 1);
    return true;
}

// 10:00:00:05, one or two digits a part; a ';' anywhere means drop-frame.
bool read_punctuated(std::string_view text, unsigned char* parts, bool& drop) {
    drop = text.find(';') != std::string_view::npos;
    for (int i = 0; i < kParts; ++i) {
        if (i > 0) {
            if (text.empty() || std::string_view(":;.,").find(text[0]) == std::string_view::npos) {
                return false;
            }
            text.remove_prefix(1);
        }
        if (!take_part(text, parts[i])) {
            return false;
        }
    }
    return text.empty();
}

// 10000005, with a ';' at the end when drop-frame.
bool read_digits(std::string_view text, unsigned char* parts, bool& drop) {
    drop = text.ends_with(';');
    if (drop) {
        text.remove_suffix(1);
    }
    if (text.size() != 2 * kParts) {
        return false;
    }
    for (int i = 0; i < kParts; ++i) {
        if (!kel::is_digit(text[1]) || !take_part(text, parts[i])) {
            return false;
        }
    }
    return true;
}

char* put(char* out, unsigned char part) {
    *out++ = static_cast<char>('0' + part / 10);
    *out++ = static_cast<char>('0' + part % 10);
    return out;
}

}  // namespace

time_def::time_def(const String& text, int /*kind*/) : text_(text) {
    const std::string_view code = kel::skip_trailing_space(kel::skip_leading_space(text));
    valid_ = read_punctuated(code, parts_, drop_) || read_digits(code, parts_, drop_);
    drop_ = valid_ && drop_;
}

String time_def::get_punctuated_str() const {
    if (!valid_) {
        return text_;
    }
    char out[11];
    char* end = out;
    for (int i = 0; i < kParts; ++i) {
        if (i > 0) {
            *end++ = drop_ && i == kParts - 1 ? ';' : ':';
        }
        end = put(end, parts_[i]);
    }
    return String(out, static_cast<std::size_t>(end - out));
}

String time_def::get_database_str() const {
    if (!valid_) {
        return text_;
    }
    char out[9];
    char* end = out;
    for (const unsigned char part : parts_) {
        end = put(end, part);
    }
    if (drop_) {
        *end++ = ';';
    }
    return String(out, static_cast<std::size_t>(end - out));
}
