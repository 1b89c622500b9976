// A part of a host that needs the library and comes and goes while the host runs.
#include <vector>

#include "keldb/table/keldb.h"

extern "C" __attribute__((visibility("default"))) bool removes_ampersands() {
    const keldb table(std::vector<DBFieldDesc>{{"Sound & Vision", DBFieldTypes::text}});
    return String(table.get_fieldname(0)) == "Sound  Vision";
}
