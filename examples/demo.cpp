// A day at the editing suite: load a clip log, look at it through a view, find and sort clips, show them in the columns
// that the assistant chose, edit, save, and read back.
//
//     demo FOLDER_OF_EXAMPLE_DATA
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>

#include "keldb/fieldmap/field_map.h"
#include "keldb/table/keldb.h"
#include "keldb/views/odb_view.h"
#include "same_records.h"

namespace {

constexpr int kAll = std::numeric_limits<int>::max();

void print(const char* title, const ODBView& view, const FieldMap& columns) {
    std::printf("\n%s\n", title);
    for (int row = 0; row < view->size(); ++row) {
        std::printf("  ");
        for (int k = 0; k < columns.numVisible(); ++k) {
            const auto field = static_cast<unsigned>(columns.getVisibleFieldIndex(k));
            std::printf("%-16.16s", view->getField(static_cast<unsigned>(row), field).c_str());
        }
        std::printf("\n");
    }
}

}  // namespace

int main(int count, char** arguments) {
    const std::filesystem::path data = count > 1 ? arguments[1] : "examples/data";

    keldb log(WStringFromAscii((data / "day1.keldb").c_str()), kAll, true);
    if (!log.get_valid()) {
        std::fprintf(stderr, "demo: no table in %s\n", (data / "day1.keldb").c_str());
        return 1;
    }
    std::printf("%u clips with %u fields\n", log.get_num_records(), log.get_num_fields());

    // Everything, then only the clips that were running at 01:05: a timecode asked of "Start time" is looked for
    // between start and end.
    ODBView clips(&log);
    clips->displayAllRecords();
    const std::unique_ptr<dbrecord> wanted(log.make_dummy_record());
    wanted->set_field(log.get_fieldnum("Start time"), "01:05", true);
    log.set_query(wanted.get());
    std::printf("%d clips cover 01:05\n", clips->tagMatches(0));
    const ODBView running(clips, true);

    // The columns for a screen, kept with the log.
    FieldMap columns;
    for (const char* name : {"Reel", "Start time", "End time", "Name"}) columns.append(name, true);
    columns.append("Notes", false);
    columns.setSourceDb(clips);
    log.add_param(FieldMap::kParameter, columns.asString().c_str());

    log.set_sortfield(log.get_fieldnum("Name"));
    running->sort(1, 0);
    print("Clips that cover 01:05, by name:", running, columns);

    // An edit through the view reaches the record of the table, and the log knows that it has changed.
    if (running->size() > 0) {
        running->set_field(0, static_cast<unsigned>(log.get_fieldnum("Notes")), "circled for the assembly");
        log.set_tag(static_cast<unsigned>(running->baseIndex(0)), 1);
    }
    std::printf("\nchanged: %s\n", log.get_changed() ? "yes" : "no");

    log.set_filename(L"edited.keldb");
    const int saved = log.save_text();
    keldb again(L"edited.keldb", kAll, true);
    std::printf("%d clips saved, read back %s\n", saved, same_records(log, again) ? "equal" : "DIFFERENT");
    return saved == static_cast<int>(log.get_num_records()) && same_records(log, again) ? 0 : 1;
}
