#include "keldb/support/assoc_list.h"

#include <algorithm>

#include "keldb/support/ascii.h"

AssocListRec& AssocListRec::operator=(const char* text) { return *this = String(text); }

AssocListRec& AssocListRec::operator=(const String& text) {
    list_->set(key_, text);
    return *this;
}

const char* AssocListRec::value() const noexcept { return list_->find(key_); }

AssocListRec AssocList::operator[](const String& key) {
    const Entry* present = entry(key);
    return {*this, present ? present->name : key};
}

const char* AssocList::find(const String& key) const noexcept {
    const Entry* present = entry(key);
    return present ? present->value() : nullptr;
}

void AssocList::set(const String& key, const String& text) {
    if (const Entry* present = entry(key)) {
        entries_[static_cast<std::size_t>(present - entries_.data())].text = text;
    } else {
        entries_.push_back({key, text});
    }
}

const AssocList::Entry* AssocList::entry(const String& key) const noexcept {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& e) { return kel::equal_ignoring_case(e.name, key); });
    return found == entries_.end() ? nullptr : &*found;
}
