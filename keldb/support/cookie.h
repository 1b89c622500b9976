// Cookie: the identifier of a record or of a container item, and lists of them.
//
// A Cookie is its text, compared byte by byte; copying one is cheap. Its first character is its kind. Invalid is only
// the empty text, and 'I' followed by nothing but digits: those have the kind 'I'. Another text that begins with I (a
// clip called Interview 1) is a good identifier and its kind reads 'i'.
#ifndef KELDB_SUPPORT_COOKIE_H
#define KELDB_SUPPORT_COOKIE_H

#include <cstddef>
#include <vector>

#include "keldb/support/export.h"
#include "keldb/support/string.h"
#include "keldb/support/wstring.h"

using CookieType = char;

class KELDB_API Cookie {
public:
    Cookie() = default;  // the empty, invalid identifier
    // `item` is true for items of containers, false elsewhere; the text is kept the same way for both. Null is empty.
    Cookie(const char* text, bool item);
    Cookie(const String& text, bool item);
    Cookie(const WString& baseName, bool item);

    // Negative, zero, positive: the order of the bytes; the key order of maps from identifiers.
    int compare(const Cookie& other) const noexcept;
    String asString(bool /*item*/) const { return text_; }  // the same text for table fields and for container items
    char kind() const noexcept;
    bool valid() const noexcept { return kind() != 'I'; }

    const String& text() const noexcept { return text_; }
    friend bool operator==(const Cookie& a, const Cookie& b) noexcept { return a.compare(b) == 0; }
    friend bool operator<(const Cookie& a, const Cookie& b) noexcept { return a.compare(b) < 0; }

private:
    String text_;
};

// The same identifier under another kind: `type` ('M' or 'B') is put in front of its text. The last argument is 255 in
// every call and has no meaning here.
KELDB_API Cookie convertCookie(const Cookie& cookie, CookieType type, unsigned char reserved);

// Identifiers in the order they were added, repeats included. Indexes must lie below size().
class KELDB_API CookieVec {
public:
    explicit CookieVec(std::size_t reserve = 0) { ids_.reserve(reserve); }
    void add(const Cookie& id) { ids_.push_back(id); }
    void push_back(const Cookie& id) { ids_.push_back(id); }
    std::size_t size() const noexcept { return ids_.size(); }
    bool empty() const noexcept { return ids_.empty(); }
    const Cookie& operator[](std::size_t i) const { return ids_[i]; }
    Cookie& operator[](std::size_t i) { return ids_[i]; }
    void swap(CookieVec& other) noexcept { ids_.swap(other.ids_); }
    void clear() noexcept { ids_.clear(); }

private:
    std::vector<Cookie> ids_;
};

// Each identifier once, in ascending order.
class KELDB_API CookieSet {
public:
    void add(const Cookie& id);  // an identifier that is there already changes nothing
    std::size_t size() const noexcept { return ids_.size(); }
    bool empty() const noexcept { return ids_.empty(); }
    bool contains(const Cookie& id) const noexcept;
    const Cookie& operator[](std::size_t i) const { return ids_[i]; }

private:
    std::vector<Cookie> ids_;  // sorted, no repeats
};

#endif
