// Small conversions between texts and values. Number texts are read as the C locale reads them.
#ifndef KELDB_SUPPORT_CONVERSIONS_H
#define KELDB_SUPPORT_CONVERSIONS_H

#include "keldb/support/export.h"
#include "keldb/support/string.h"

KELDB_API String StringFromInteger(int value);

// The unsigned decimal number that `text` holds: white space around it is allowed, nothing else. A text that holds no
// such number, or one above the unsigned 32-bit range, gives `fallback`.
KELDB_API unsigned UIntFromString(const String& text, unsigned fallback);

KELDB_API void toLower(String& text);  // A-Z only, in place

// True for a line without visible characters: nothing in it but white space and control characters.
KELDB_API bool isEssentiallyEmpty(std::string_view line) noexcept;

// "true", "t", "yes", "y", "1" and "false", "f", "no", "n", "0", in any case, set `value` and return true; any other
// text returns false and leaves `value` unchanged.
KELDB_API bool BoolFromString(const String& text, bool& value);
KELDB_API String BoolAsString(bool value);  // "true" or "false"

#endif
