// WString: the wide text value of the suite, used for file names.
//
// A file name on this system is a string of bytes that need not be UTF-8. Reading bytes into a WString turns each byte
// that is not part of valid UTF-8 into the code point U+DC00 + byte, and toUTF8 turns it back, so that every file name
// survives the trip unchanged. Allocation failure raises std::bad_alloc.
#ifndef KELDB_SUPPORT_WSTRING_H
#define KELDB_SUPPORT_WSTRING_H

#include <string>

#include "keldb/support/export.h"
#include "keldb/support/string.h"

class KELDB_API WString {
public:
    WString() = default;
    WString(const wchar_t* text) : text_(text ? text : L"") {}  // null reads as the empty name
    explicit WString(std::wstring text) : text_(std::move(text)) {}

    const wchar_t* c_str() const noexcept { return text_.c_str(); }
    std::size_t size() const noexcept { return text_.size(); }
    bool empty() const noexcept { return text_.empty(); }
    const std::wstring& text() const noexcept { return text_; }
    bool endsWith(std::wstring_view ending) const noexcept;  // case counts

    WString& operator+=(const WString& more) {
        text_ += more.text_;
        return *this;
    }
    friend WString operator+(WString a, const WString& b) { return a += b; }
    friend bool operator==(const WString&, const WString&) = default;

private:
    std::wstring text_;
};

KELDB_API WString fromUTF8(const String& bytes);
KELDB_API String toUTF8(const WString& text);  // the exact bytes that fromUTF8 read

namespace Qv {
// The name of a file given as bytes; bytes beyond ASCII are read as UTF-8. Null reads as the empty name.
KELDB_API WString WStringFromAscii(const char* text);
}  // namespace Qv
using Qv::WStringFromAscii;

#endif
