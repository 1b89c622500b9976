// GrowString: a text that is built up piece by piece. Allocation failure raises std::bad_alloc, the text unchanged.
#ifndef KELDB_SUPPORT_GROW_STRING_H
#define KELDB_SUPPORT_GROW_STRING_H

#include <string>
#include <string_view>

#include "keldb/support/export.h"

class KELDB_API GrowString {
public:
    void append(const char* text) {  // null adds nothing
        if (text) text_ += text;
    }
    void append(std::string_view text) { text_ += text; }
    void append(char c) { text_ += c; }
    const char* c_str() const noexcept { return text_.c_str(); }
    std::size_t size() const noexcept { return text_.size(); }
    operator const char*() const noexcept { return c_str(); }
    std::string_view view() const noexcept { return text_; }

private:
    std::string text_;
};

#endif
