// ParameterList: the named text parameters kept at the head of a table file.
//
// Entries stay in the order they came. Names match without regard to case, values exactly.
// Invariant: empty, or at most kLimit entries in room for kLimit, so that none of them moves when another is added;
// built by set() alone, the first is the revision entry "KELDB". Owns a copy of every text; a pointer it returns lives
// until that entry changes or the list is emptied or destroyed.
#ifndef KELDB_TABLE_PARAMETER_LIST_H
#define KELDB_TABLE_PARAMETER_LIST_H

#include <string_view>
#include <vector>

#include "keldb/support/string.h"

namespace kel {

// The reserved first parameter and the revision of the file format that the library writes.
inline constexpr const char kRevisionName[] = "KELDB";
inline constexpr int kCurrentRevision = 1;
inline constexpr const char kRevisionText[] = "Rev 1";

class ParameterList {
public:
    ParameterList() = default;
    ParameterList(const ParameterList& other);
    ParameterList(ParameterList&&) = default;
    ParameterList& operator=(ParameterList other) noexcept {
        entries_.swap(other.entries_);
        return *this;
    }
    static constexpr unsigned kLimit = 40;  // counts the revision entry
    enum class Outcome { refused, unchanged, changed };

    // Adds the entry or replaces its value; an equal value is `unchanged`. Refused are null, an empty name, a new name
    // when full, and exactly "KELDB" while the list is empty (the first call with usable arguments, even that one,
    // brings in the revision entry).
    Outcome set(const char* name, const char* value);
    Outcome set(std::string_view name, std::string_view value);

    // Appends what a file says, repeats included; false when full. For the loader only.
    bool append_as_read(String name, String value);

    int find(std::string_view name) const noexcept;         // index of the first match; -1 when there is none
    const char* value_of(const char* name) const noexcept;  // null when absent, and for a null name
    unsigned size() const noexcept { return static_cast<unsigned>(entries_.size()); }  // revision entry included
    const String& name(unsigned i) const { return entries_[i].name; }
    const String& value(unsigned i) const { return entries_[i].value; }
    void clear() noexcept { entries_.clear(); }
    bool ok() const noexcept {
        return entries_.size() <= kLimit && (entries_.empty() || entries_.capacity() >= kLimit);
    }

private:
    struct Entry {
        String name;
        String value;
    };
    std::vector<Entry> entries_;
};

}  // namespace kel

#endif
