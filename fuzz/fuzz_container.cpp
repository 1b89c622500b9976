// Any bytes as a container file: a reader answers as the table in the file says.
#include "fuzz/target.h"
#include "keldb/container/qv_container_file.h"
#include "tests/testing/host.h"
#include "tests/testing/plain_table.h"

using QVContainerFile::Reader;

std::string fault_of(std::string_view bytes) {
    static const testing_kit::TempDir folder;
    const WString path = testing_kit::wide(folder.path("Clips.rak"));
    testing_kit::write_file(folder.path("Clips.rak"), bytes);
    const Reader reader(path, false), header(path, true);
    keldb table;
    testing_kit::load_bytes(table, bytes);
    const int cookie = table.get_fieldnum("Cookie");
    if (reader.valid() != (table.get_valid() != 0 && cookie >= 0)) return "validity differs from the table's";
    if (header.valid() != reader.valid() || header.getNumItems() != 0) return "the header alone says something else";
    if (reader.getNumItems() != table.get_num_records()) return "the number of items differs from the table's";
    for (unsigned row = 0; row < reader.getNumItems(); ++row) {
        const Cookie id = reader.getItem(row).getCookie();
        const String expected = reader.valid() ? table.getField(row, static_cast<unsigned>(cookie)) : String();
        if (id.text() != expected) return "another identity";
        if (row < 10 && reader.contains(id) != reader.valid()) return "an item that is not contained";
    }
    return "";
}
