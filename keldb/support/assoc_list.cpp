#include "keldb/support/assoc_list.h"

#include <algorithm>

#include "keldb/support/ascii.h"

AssocListRec& AssocListRec::operator=(const char* text) { return *this = String(text); }

AssocListRec& AssocListRec::operator=(const String& text) {
    list_->set(key_, text);
    return *this;
}

const char* AssocListRec::key() const noexcept {
    const std::size_t at = list_->position(key_);
    return at == list_->size() ? key_.c_str() : list_->entries_[at].key();
}

const char* AssocListRec::value() const noexcept { return list_->find(key_); }

const char* AssocList::find(std::string_view key) const noexcept {
    const std::size_t at = position(key);
    return at == size() ? nullptr : entries_[at].value();
}

void AssocList::set(const String& key, const String& text) {
    const std::size_t at = position(key);
    if (at == size()) {
        entries_.push_back({key, text});
    } else {
        entries_[at].text = text;
    }
}

void AssocList::add(const AssocList& other) {
    AssocList sum(*this);
    for (const Entry& entry : other.entries_) sum.set(entry.name, entry.text);
    entries_.resize(sum.size());  // those that are here stay where they are
    std::move(sum.entries_.begin(), sum.entries_.end(), entries_.begin());
}

std::size_t AssocList::position(std::string_view key) const noexcept {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& e) { return kel::equal_ignoring_case(e.name, key); });
    return static_cast<std::size_t>(found - entries_.begin());
}
