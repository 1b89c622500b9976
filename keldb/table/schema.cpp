// Changing a table's fields under its records.

#include <limits>

#include "keldb/table/keldb.h"

int keldb::addField(const DBFieldDesc& field) {
    const int known = layout_.find(field.name);
    if (known >= 0) return known;
    const unsigned number = layout_.size();
    if (number == std::numeric_limits<unsigned short>::max()) return static_cast<int>(number);  // full
    const auto before = static_cast<unsigned short>(number);
    const auto after = static_cast<unsigned short>(number + 1);
    unsigned widened = 0;
    try {
        for (; widened < records_.size(); ++widened) records_[widened]->values_.resize(after);
        layout_.add(field.name, DBFieldTypes::text);
    } catch (...) {
        while (widened > 0) records_[--widened]->values_.resize(before);  // narrowing never fails
        throw;
    }
    set_fieldtype(number, field.type);
    return static_cast<int>(number);
}

void keldb::removeField(const String& name) {
    const int found = layout_.find(name);
    if (found < 0) return;
    layout_.remove(static_cast<unsigned>(found));
    for (dbrecord* record : records_) record->removeField(static_cast<unsigned short>(found));
}

void keldb::setFieldWidth(unsigned /*field*/, int /*width*/) {}

bool keldb::sameColumns(keldb* other) const { return other && layout_.same_names(other->layout_); }
