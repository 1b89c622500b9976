#include "mapped_fields.h"

#include "field_choice.h"
#include "keldb/fieldmap/field_map.h"

namespace tool {

bool has_field_map(const keldb& table) { return table.get_param_val(FieldMap::kParameter) != nullptr; }

std::vector<unsigned> mapped_fields(keldb& table) {
    if (!has_field_map(table)) return all_fields(table);
    const FieldMap map(table);
    std::vector<unsigned> fields;
    for (int k = 0; k < map.numVisible(); ++k) {
        const int field = map.getVisibleFieldIndex(k);
        if (field >= 0) fields.push_back(static_cast<unsigned>(field));
    }
    return fields;
}

}  // namespace tool
