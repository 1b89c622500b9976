// A part of a host that needs the library and comes and goes while the host runs.
#include <vector>

#include "keldb/support/config_block.h"
#include "keldb/table/keldb.h"

// What the two settings do: 10 when a record hands over all its labels, and 1 when names lose their ampersands.
extern "C" __attribute__((visibility("default"))) int settings() {
    constexpr auto kText = DBFieldTypes::text;
    keldb table(std::vector<DBFieldDesc>{{"Name", kText}, {"Lab reel", kText}, {"Sound & Vision", kText}});
    table.add_records(1);
    configb block;
    table[0].update(&block);
    return (block.get("lab_reel") ? 10 : 0) + (String(table.get_fieldname(2)) == "Sound  Vision" ? 1 : 0);
}
