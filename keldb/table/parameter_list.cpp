#include "keldb/table/parameter_list.h"

#include "keldb/support/ascii.h"

namespace kel {

ParameterList::ParameterList(const ParameterList& other) {
    if (other.entries_.empty()) return;
    entries_.reserve(kLimit);
    entries_.insert(entries_.end(), other.entries_.begin(), other.entries_.end());
}

ParameterList::Outcome ParameterList::set(const char* name, const char* value) {
    return name && value ? set(std::string_view(name), std::string_view(value)) : Outcome::refused;
}

ParameterList::Outcome ParameterList::set(std::string_view name, std::string_view value) {
    if (name.empty()) return Outcome::refused;
    const int found = find(name);
    if (found >= 0) {
        Entry& entry = entries_[static_cast<unsigned>(found)];
        if (entry.value == value) return Outcome::unchanged;
        entry.value = String(value);
        return Outcome::changed;
    }
    Entry added{String(name), String(value)};
    entries_.reserve(kLimit);
    if (entries_.empty()) entries_.push_back({String(kRevisionName), String(kRevisionText)});
    if (added.name == kRevisionName || entries_.size() >= kLimit) return Outcome::refused;
    entries_.push_back(std::move(added));
    return Outcome::changed;
}

bool ParameterList::append_as_read(String name, String value) {
    if (entries_.size() >= kLimit) return false;
    entries_.reserve(kLimit);
    entries_.push_back({std::move(name), std::move(value)});
    return true;
}

int ParameterList::find(std::string_view name) const noexcept {
    for (unsigned i = 0; i < size(); ++i) {
        if (equal_ignoring_case(entries_[i].name, name)) return static_cast<int>(i);
    }
    return -1;
}

const char* ParameterList::value_of(const char* name) const noexcept {
    const int found = name ? find(name) : -1;
    return found < 0 ? nullptr : entries_[static_cast<unsigned>(found)].value.c_str();
}

}  // namespace kel
