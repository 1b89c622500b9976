// FieldLayout: the names and types of a table's fields.
//
// Invariants: names, types and range flags have one entry per field (the flags: from the time compute_range_flags first
// ran); the name map is empty, or finds every current name, ignoring case: of equal names the one set last, and after a
// field was removed the first.
#ifndef KELDB_TABLE_FIELD_LAYOUT_H
#define KELDB_TABLE_FIELD_LAYOUT_H

#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "keldb/fields/field_types.h"
#include "keldb/support/ascii.h"
#include "keldb/support/string.h"

namespace kel {

class FieldLayout {
public:
    unsigned size() const noexcept { return static_cast<unsigned>(names_.size()); }
    const String& name(unsigned field) const { return *names_[field]; }  // stays where it is until renamed or removed
    DBFieldTypes::eType type(unsigned field) const { return types_[field]; }

    // Whether the field is half of a range pair by the name it had when the flag was computed; renaming leaves it.
    bool in_range_pair(unsigned field) const { return field < range_flags_.size() && range_flags_[field]; }

    // The field of that name, ignoring case; -1 when there is none, and for the empty name.
    int find(std::string_view name) const noexcept;

    void reset(unsigned count);  // that many nameless text fields, an empty map, no flags
    void compute_range_flags();  // from the current names
    void set_type(unsigned field, DBFieldTypes::eType type);
    void rename(unsigned field, const String& name);  // the empty name is entered nowhere
    unsigned add(const String& name, DBFieldTypes::eType type);
    void remove(unsigned field);

    bool same_names(const FieldLayout& other) const;
    bool operator==(const FieldLayout& other) const { return same_names(other) && types_ == other.types_; }

    // Another number after every change, for what is worked out from a layout and kept.
    unsigned long long version() const noexcept { return version_; }

    bool ok() const;

private:
    struct CaseBlind {
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const { return compare_ignoring_case(a, b) < 0; }
    };
    void forget(unsigned field);

    std::vector<std::shared_ptr<const String>> names_;  // none is null; shared with copies of the layout
    std::vector<DBFieldTypes::eType> types_;
    std::vector<bool> range_flags_;
    std::map<String, unsigned, CaseBlind> by_name_;
    unsigned long long version_ = 0;
};

}  // namespace kel

#endif
