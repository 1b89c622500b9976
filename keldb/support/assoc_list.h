// AssocList: a small list of keys and texts, in the order the keys came. Keys match without regard to case.
//
// Looking a key up creates nothing: list[key] gives a record that reads as null while the key is absent and adds the
// key when a text is assigned to it. Entries and their texts live until that entry changes or the list is cleared,
// assigned or destroyed, whatever else is added; a record from a look-up must not outlive its list.
#ifndef KELDB_SUPPORT_ASSOC_LIST_H
#define KELDB_SUPPORT_ASSOC_LIST_H

#include <cstddef>
#include <deque>
#include <string_view>

#include "keldb/support/export.h"
#include "keldb/support/string.h"

class AssocList;

// One place in the list, present or not yet.
class KELDB_API AssocListRec {
public:
    AssocListRec(const AssocListRec&) = default;
    AssocListRec& operator=(const AssocListRec& other) { return *this = other.value(); }  // sets the text, as below
    AssocListRec& operator=(const char* text);  // adds or replaces; null stores ""
    AssocListRec& operator=(const String& text);
    operator const char*() const noexcept { return value(); }
    const char* key() const noexcept;    // as the entry spells it; while absent, as asked for: it lives with the record
    const char* value() const noexcept;  // null while absent

private:
    friend class AssocList;
    friend class AssocListIter;
    AssocListRec(AssocList& list, String key) : list_(&list), key_(std::move(key)) {}

    AssocList* list_;
    String key_;
};

class KELDB_API AssocList {
public:
    explicit AssocList(bool /*reserved*/ = false) {}

    AssocListRec operator[](const String& key) { return {*this, key}; }
    const char* find(std::string_view key) const noexcept;  // the text, or null
    void set(const String& key, const String& text);
    void add(const AssocList& other);  // sets all that stands there; when memory is out nothing is set
    std::size_t size() const noexcept { return entries_.size(); }
    bool empty() const noexcept { return entries_.empty(); }
    void clear() noexcept { entries_.clear(); }

    struct Entry {
        String name;
        String text;
        const char* key() const noexcept { return name.c_str(); }
        const char* value() const noexcept { return text.c_str(); }
        operator const char*() const noexcept { return value(); }
    };
    const std::deque<Entry>& entries() const noexcept { return entries_; }

private:
    friend class AssocListRec;
    std::size_t position(std::string_view key) const noexcept;  // size() while absent

    std::deque<Entry> entries_;  // which stay where they are when others are added
};

// Walks a list by position.
class KELDB_API AssocListIter {
public:
    explicit AssocListIter(const AssocList& list) : list_(&list) {}
    const AssocList::Entry* operator*() const noexcept {  // null past the end
        return position_ < list_->size() ? &list_->entries()[position_] : nullptr;
    }
    AssocListIter& operator++() noexcept {
        ++position_;
        return *this;
    }

private:
    const AssocList* list_;
    std::size_t position_ = 0;
};

#endif
