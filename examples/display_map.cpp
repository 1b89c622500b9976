// A list display's columns, kept with the log: order and hidden columns survive a save.
#include <cstdio>
#include <limits>

#include "keldb/fieldmap/field_map.h"
#include "keldb/table/keldb.h"

namespace {

void print(const char* when, const FieldMap& map) {
    std::printf("%-12s \"%s\":", when, map.asString().c_str());
    for (int i = 0; i < map.size(); ++i)
        std::printf(" %s%s", map.getName(i).c_str(), map.isVisible(i) ? "" : " (hidden)");
    std::printf("\n");
}

}  // namespace

int main() {
    const DBFieldDesc fields[] = {
        {"Name", DBFieldTypes::text}, {"Reel", DBFieldTypes::text}, {"Scene", DBFieldTypes::text}, {}};
    keldb log(fields);
    log.set_filename(L"columns.keldb");

    FieldMap map(log);
    print("at first", map);

    // Scene to the front, Name hidden.
    map.swap(0, 2);
    map.swap(1, 2);
    map.setVisible(1, false);
    print("arranged", map);
    log.add_param(FieldMap::kParameter, map.asString().c_str());
    if (!log.saveWholeText(WString())) return 1;

    keldb again(L"columns.keldb", std::numeric_limits<int>::max(), true);
    const FieldMap kept(again);
    print("read back", kept);
    return kept.asString() == "3 -1 2" && kept.numVisible() == 2 ? 0 : 1;
}
