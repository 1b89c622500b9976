// Any bytes as a container file: a reader answers as the table in the file says, and its items, put into a writer and
// saved, read back equal unless the text format is known to lose something of them.
#include <vector>

#include "fuzz/target.h"
#include "keldb/container/qv_container_file.h"
#include "keldb/support/ascii.h"
#include "keldb/support/platform.h"
#include "keldb/textfile/unstorable.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/temp_dir.h"

namespace {

using QVContainerFile::Reader;
using QVContainerFile::Writer;

struct UnflushedFiles : PlatformService {
    UnflushedFiles() : before(setOS(this)) {}
    ~UnflushedFiles() { setOS(before); }
    int sync(int) override { return 0; }
    PlatformService* const before;
};

// The same fields, attributes and items.
Writer writer_of(const Reader& reader, keldb& table) {
    std::vector<DBFieldDesc> fields;
    for (unsigned i = 0; i < table.get_num_fields(); ++i) {
        fields.push_back({String(table.get_fieldname(i)), table.get_field_type(i)});
    }
    fields.push_back({});
    Writer writer(fields.data());
    for (int i = 0; i < static_cast<int>(table.get_num_params()); ++i) {
        const String name(table.get_nth_param_name(i));
        writer.setAttrib(name, reader.getAttrib(name));
    }
    for (unsigned row = 0; row < reader.getNumItems(); ++row) {
        Writer::Item item = writer.addItem(reader.getItem(row).getCookie());
        for (unsigned i = 0; i < table.get_num_fields(); ++i) item.setAttrib(i, reader.getItem(row).getAttrib(i));
    }
    return writer;
}

// What a writer keeps of a value: it drops white space at the start.
std::string kept(const String& value) { return std::string(kel::skip_leading_space(value)); }

const char* fault_after_saving(const Reader& reader, keldb& table, const WString& path) {
    writer_of(reader, table).save(path);
    const Reader again(path, false);
    if (!again.valid()) return "what was saved is not valid";
    if (again.getName() != reader.getName() || again.isPermanent() != reader.isPermanent()) return "attributes differ";
    unsigned next = 0;
    for (unsigned row = 0; row < reader.getNumItems(); ++row) {
        const Reader::Item item = reader.getItem(row);
        if (!item.valid()) continue;
        const Reader::Item back = again.getItem(next++);
        for (unsigned i = 0; i < table.get_num_fields(); ++i) {
            if (kept(item.getAttrib(i)) != back.getAttrib(i).view()) return "an attribute of an item differs";
        }
    }
    return next == again.getNumItems() ? "" : "another number of items";
}

}  // namespace

std::string fault_of(std::string_view bytes) {
    static const testing_kit::TempDir folder;
    const UnflushedFiles files;
    const std::string path = folder.path("Clips.rak");
    testing_kit::write_file(path, bytes);
    const Reader reader(testing_kit::wide(path), false), header(testing_kit::wide(path), true);
    keldb table;
    testing_kit::load_bytes(table, bytes);
    const int cookie = table.get_fieldnum("Cookie");
    if (reader.valid() != (table.get_valid() != 0 && cookie >= 0)) return "validity differs from the table's";
    if (header.valid() != reader.valid() || header.getNumItems() != 0) return "the header alone says something else";
    if (reader.getNumItems() != table.get_num_records()) return "the number of items differs from the table's";
    for (unsigned row = 0; row < reader.getNumItems(); ++row) {
        const Reader::Item item = reader.getItem(row);
        if (!reader.valid() && item.valid()) return "a valid item in a file that is not";
        if (!reader.valid()) continue;
        if (item.getCookie().text() != table.getField(row, static_cast<unsigned>(cookie))) return "another identity";
        if (row < 10 && !reader.contains(item.getCookie())) return "an item that is not contained";
    }
    // Names are handed over up to their first zero byte.
    const bool comparable =
        reader.valid() && bytes.find('\0') == std::string_view::npos && storage_losses(table).empty();
    return comparable ? fault_after_saving(reader, table, testing_kit::wide(folder.path("again.rak"))) : "";
}
