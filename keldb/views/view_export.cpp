// Writing a view's entries as a table file.

#include "keldb/support/text_file.h"
#include "keldb/table/keldb.h"
#include "keldb/textfile/parameter_line.h"
#include "keldb/views/odb_view.h"

namespace {

// The view's own parameters, then the header of its table.
void append_head(TextFile& file, ODBViewRep& view) {
    for (const AssocList::Entry& entry : view.params().entries())
        file.appendLine(kel::parameter_line(entry.name, entry.text));
    view.odb()->save_column_header(file, false);
}

}  // namespace

int ODBViewRep::saveAsText(const WString& fileName, bool headerOnly) {
    if (!odb() || fileName.empty()) return 0;
    TextFile file;
    file.startSaving(fileName, WString());
    append_head(file, *this);
    const int tag_field = get_fieldnum("Tag");
    int written = 0;
    for (int i = 0; !headerOnly && i < size(); ++i) {
        const dbrecord* record = (*this)[i];
        if (!record) continue;
        dbrecord copy(*record);
        if (tag_field >= 0) copy.set_field(tag_field, index_[i].tag ? "1" : "0", true);
        copy.write(file);
        ++written;
    }
    return file.finishSaving() ? written : 0;
}

int ODBViewRep::saveAsText(const char* fileName, bool headerOnly) {
    return saveAsText(Qv::WStringFromAscii(fileName), headerOnly);
}

int ODBViewRep::saveOnlyTagged(const WString& fileName) {
    if (!odb() || fileName.empty()) return 0;
    TextFile file;
    file.startSaving(fileName, WString());
    append_head(file, *this);
    for (int i = 0; i < size(); ++i) {
        const dbrecord* record = (*this)[i];
        if (record && record->get_tag() != 0) record->write(file);
    }
    return file.finishSaving() ? size() : 0;
}

int ODBViewRep::saveOnlyTagged(const char* fileName) { return saveOnlyTagged(Qv::WStringFromAscii(fileName)); }
