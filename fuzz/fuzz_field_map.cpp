// Any text as the stored text of a field map: the map names fields of its source once each, and what it writes reads
// back as the same map.
#include "fuzz/target.h"
#include "keldb/fieldmap/field_map.h"
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

}  // namespace

std::string fault_of(std::string_view text) {
    FieldMap map = map_of(std::string(text).c_str());
    for (int i = 0, visible = 0; i < map.size(); ++i) {
        const int field = table().get_fieldnum(map[i]);
        if (field < 0 && !map[i].empty()) return "an entry that is no field";
        if (map.isVisible(map[i]) != map.isVisible(i)) return "a name twice";
        if (map.isVisible(i) && map.getVisibleFieldIndex(visible++) != field) return "a wrong field";
    }
    map.remove("");  // numbers beyond the fields: what is written for them is not read back
    const String written = map.asString();
    return map.size() == 0 || map_of(written.c_str()).asString() == written ? "" : "another map comes back";
}
