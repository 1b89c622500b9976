#include "keldb/support/conversions.h"

#include <algorithm>
#include <string>

#include "keldb/support/ascii.h"

String StringFromInteger(int value) {
    String text;
    text += value;
    return text;
}

unsigned UIntFromString(const String& text, unsigned fallback) { return kel::read_unsigned(text, fallback); }

void toLower(String& text) {
    const std::string_view old = text;
    if (std::any_of(old.begin(), old.end(), kel::is_upper)) {
        std::string lower(old);
        std::transform(lower.begin(), lower.end(), lower.begin(), kel::to_lower);
        text = String(lower);
    }
}

bool isEssentiallyEmpty(std::string_view line) noexcept {
    return std::all_of(line.begin(), line.end(), [](char c) { return kel::is_space(c) || kel::is_control(c); });
}

bool BoolFromString(const String& text, bool& value) {
    const auto is_text = [&](const char* word) { return kel::equal_ignoring_case(text, word); };
    constexpr const char* kYes[] = {"true", "t", "yes", "y", "1"};
    constexpr const char* kNo[] = {"false", "f", "no", "n", "0"};
    const bool yes = std::any_of(std::begin(kYes), std::end(kYes), is_text);
    const bool no = std::any_of(std::begin(kNo), std::end(kNo), is_text);
    if (yes || no) {
        value = yes;
    }
    return yes || no;
}

String BoolAsString(bool value) { return value ? "true" : "false"; }
