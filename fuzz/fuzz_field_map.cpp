// Any text as the stored text of a field map: the map names fields of its source once each, and what it writes reads
// back as the same map.
#include "fuzz/target.h"
#include "keldb/fieldmap/field_map.h"
#include "keldb/fieldmap/map_text.h"
#include "keldb/table/keldb.h"

namespace {

// As many fields as the text form can say both visible and hidden.
keldb& table() {
    static keldb fields;
    for (int i = static_cast<int>(fields.get_num_fields()); i < FieldMap::kLastHidden; ++i)
        fields.addField({String("f" + std::to_string(i)), DBFieldTypes::text});
    return fields;
}

FieldMap map_of(const char* stored) {
    const ODBView view(&table());
    view->add_param(FieldMap::kParameter, stored);
    return FieldMap(view);
}

bool same(const FieldMap& a, const FieldMap& b) {
    bool equal = a.size() == b.size();
    for (int i = 0; equal && i < a.size(); ++i) equal = a[i] == b[i] && a.isVisible(i) == b.isVisible(i);
    return equal;
}

}  // namespace

std::string fault_of(std::string_view text) {
    for (const int number : kel::read_map(text)) {
        if (number == 0 || number < -FieldMap::kLastHidden || number > FieldMap::kLastVisible)
            return "a number too far";
    }
    FieldMap map = map_of(std::string(text).c_str());
    int visible = 0;
    for (int i = 0; i < map.size(); ++i) {
        const int field = table().get_fieldnum(map[i]);
        if (field < 0 && !map[i].empty()) return "an entry that is no field";
        if (map.isVisible(map[i]) != map.isVisible(i)) return "a name twice";
        if (map.isVisible(i) && map.getVisibleFieldIndex(visible++) != field) return "a wrong field";
    }
    if (visible != map.numVisible()) return "a wrong count";
    map.remove("");  // numbers beyond the fields: what is written for them is not read back
    const FieldMap expected = map.size() == 0 ? FieldMap(table()) : map;  // no map is all fields
    return same(map_of(map.asString().c_str()), expected) ? "" : "another map comes back";
}
