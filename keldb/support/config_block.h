// configb: a block of named settings that a record hands its label texts to, and strp_field, the value it is given.
#ifndef KELDB_SUPPORT_CONFIG_BLOCK_H
#define KELDB_SUPPORT_CONFIG_BLOCK_H

#include <cstddef>

#include "keldb/support/assoc_list.h"
#include "keldb/support/export.h"
#include "keldb/support/string.h"

class KELDB_API strp_field {
public:
    void set(const String& text) { text_ = text; }
    const String& text() const noexcept { return text_; }

private:
    String text_;
};

// Keys match without regard to case and keep the order in which they were first set.
class KELDB_API configb {
public:
    void set(const char* key, const strp_field& value) { values_.set(key, value.text()); }
    // Null while absent. A null key reads as "", as it does in set.
    const char* get(const char* key) const noexcept { return values_.find(key ? key : ""); }
    std::size_t size() const noexcept { return values_.size(); }

private:
    AssocList values_;
};

#endif
