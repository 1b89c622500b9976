#include "keldb/table/field_layout.h"

#include <algorithm>

#include "keldb/fields/well_known_fields.h"

namespace kel {
namespace {

// So that the next push_back cannot fail.
template <class List>
void make_room_for_one(List& list) {
    if (list.size() == list.capacity()) list.reserve(2 * list.size() + 1);
}

}  // namespace

int FieldLayout::find(std::string_view name) const noexcept {
    if (name.empty()) return -1;
    if (!by_name_.empty()) {
        const auto entry = by_name_.find(name);
        return entry == by_name_.end() ? -1 : static_cast<int>(entry->second);
    }
    for (unsigned i = 0; i < size(); ++i) {
        if (equal_ignoring_case(*names_[i], name)) return static_cast<int>(i);
    }
    return -1;
}

bool FieldLayout::same_names(const FieldLayout& other) const {
    return std::equal(names_.begin(), names_.end(), other.names_.begin(), other.names_.end(),
                      [](const auto& a, const auto& b) { return *a == *b; });
}

void FieldLayout::reset(unsigned count) {
    FieldLayout fresh;
    if (count != 0) fresh.names_.assign(count, std::make_shared<const String>());
    fresh.types_.resize(count, DBFieldTypes::text);
    fresh.version_ = version_ + 1;
    *this = std::move(fresh);
}

void FieldLayout::compute_range_flags() {
    range_flags_.assign(size(), false);
    for (unsigned i = 0; i < size(); ++i) range_flags_[i] = range_pair_of(*names_[i]) != nullptr;
    ++version_;
}

void FieldLayout::set_type(unsigned field, DBFieldTypes::eType type) {
    types_[field] = type;
    ++version_;
}

// The field's own entry leaves the map; another field with the same name takes it over.
void FieldLayout::forget(unsigned field) {
    const auto entry = by_name_.find(names_[field]->view());
    if (entry == by_name_.end() || entry->second != field) return;
    for (unsigned i = 0; i < size(); ++i) {
        if (i != field && equal_ignoring_case(*names_[i], *names_[field])) {
            entry->second = i;
            return;
        }
    }
    by_name_.erase(entry);
}

void FieldLayout::rename(unsigned field, const String& name) {
    auto held = std::make_shared<const String>(name);  // which may be the field's own
    // The new entry is the last step that can fail.
    const auto place = held->empty() ? by_name_.end() : by_name_.try_emplace(*held, field).first;
    if (!equal_ignoring_case(*names_[field], *held)) forget(field);
    names_[field] = std::move(held);
    if (place != by_name_.end()) place->second = field;
    ++version_;
}

unsigned FieldLayout::add(const String& name, DBFieldTypes::eType type) {
    const unsigned field = size();
    make_room_for_one(names_);
    make_room_for_one(types_);
    range_flags_.reserve(field + 1U);
    auto held = std::make_shared<const String>(name);
    if (!name.empty()) by_name_.insert_or_assign(name, field);
    names_.push_back(std::move(held));
    types_.push_back(type);
    range_flags_.resize(field);
    range_flags_.push_back(range_pair_of(name) != nullptr);
    ++version_;
    return field;
}

void FieldLayout::remove(unsigned field) {
    decltype(by_name_) left;
    for (unsigned i = 0; i < size(); ++i) {
        if (i != field && !names_[i]->empty()) left.try_emplace(*names_[i], i < field ? i : i - 1);
    }
    by_name_.swap(left);
    names_.erase(names_.begin() + field);
    types_.erase(types_.begin() + field);
    if (field < range_flags_.size()) range_flags_.erase(range_flags_.begin() + field);
    ++version_;
}

bool FieldLayout::ok() const {
    if (types_.size() != names_.size() || range_flags_.size() > names_.size()) return false;
    return by_name_.empty() || std::all_of(names_.begin(), names_.end(), [this](const auto& name) {
               const auto entry = by_name_.find(name->view());
               return name->empty() || (entry != by_name_.end() && equal_ignoring_case(*names_[entry->second], *name));
           });
}

}  // namespace kel
