// A host of an installed keldb, as small as it can be: makes a table, fills a row and reads it back.
#include <cstdio>
#include <vector>

#include "keldb/library/version.h"
#include "keldb/table/keldb.h"

int main() {
    keldb log(std::vector<DBFieldDesc>{{"Name", DBFieldTypes::text}, {"Start", DBFieldTypes::timecode}});
    log.add_records(1);
    log.set_field(0U, 0U, "Harbour, wide");
    const String name = log.getField(0, 0);
    std::printf("keldb %s: %s\n", keldbDllVersionStr(), name.c_str());
    return log.get_num_records() == 1 && name == "Harbour, wide" ? 0 : 1;
}
