// Writing a table as text: parameter lines, marker line, width row, type row, name row, then one line for each record.

#include <algorithm>
#include <limits>
#include <vector>

#include "keldb/support/text_file.h"
#include "keldb/table/keldb.h"
#include "keldb/textfile/header_rows.h"
#include "keldb/textfile/parameter_line.h"
#include "keldb/textfile/value_quoting.h"

namespace {

// The length of each field's longest value, in one walk over the records.
std::vector<std::size_t> longest_values(const kel::RecordArray& records, unsigned fields) {
    std::vector<std::size_t> longest(fields);
    for (const dbrecord* record : records) {
        const unsigned count = std::min<unsigned>(fields, record->get_num_fields());
        for (unsigned i = 0; i < count; ++i) longest[i] = std::max(longest[i], record->field_text(i).size());
    }
    return longest;
}

// As the width row states it: a signed number, so the width of a name comes in as one too.
int width_of(const String& name, std::size_t longest) {
    const std::size_t most = std::numeric_limits<int>::max();
    return std::max(static_cast<int>(keldb::getMinFieldSize(name.c_str())), static_cast<int>(std::min(longest, most)));
}

// The tag as the record's own value of the field "Tag". A table that has no such field gives -1.
void store_tag(dbrecord& record, int field) {
    if (field < 0) return;
    String text;
    text += record.get_tag();
    record.set_field(field, text.view(), true);
}

void write_all(const kel::RecordArray& records, int tag_field, TextFile& file) {
    for (dbrecord* record : records) {
        store_tag(*record, tag_field);
        record->write(file);
    }
}

}  // namespace

// The line is formed in room for the worst case.
int dbrecord::write(TextFile& file) const {
    static_assert(kel::FieldValues::kSlack >= 2 * kel::kStepBytes);  // so that the quoting takes its short way
    const std::size_t room = kel::quoted_room(0) + 1;
    char* to = file.startLine(2 * values_.total_size() + room * values_.size() + kel::kQuotingSpill);
    char* const start = to;
    values_.for_each([&](std::string_view text, std::size_t readable) {
        to = kel::put_quoted(to, text, readable);
        *to++ = ',';
    });
    file.finishLine(to == start ? to : to - 1);
    changed_ = 0;
    return 1;
}

void keldb::save_params(TextFile& file) {
    for (unsigned i = 0; i < params_.size(); ++i) {
        file.appendLine(kel::parameter_line(params_.name(i), params_.value(i)));
    }
}

void keldb::save_column_header(TextFile& file, bool namesOnly) {
    std::string widths, types, names;
    const std::vector<std::size_t> longest =
        namesOnly ? std::vector<std::size_t>(layout_.size()) : longest_values(records_, layout_.size());
    for (unsigned i = 0; i < layout_.size(); ++i) {
        kel::append_item(widths, std::to_string(width_of(layout_.name(i), longest[i])));
        kel::append_item(types, kel::name_of_type(layout_.type(i)));
        kel::append_item(names, layout_.name(i));
    }
    if (!namesOnly) {
        file.appendLine(kel::kMarkerLine);
        file.appendLine(widths);
        file.appendLine(types);
    }
    file.appendLine(names);
}

int keldb::save_text() { return saveWholeText(WString()) ? static_cast<int>(records_.size()) : 0; }

bool keldb::saveWholeText(const WString& modeLike) {
    TextFile file;
    file.startSaving(file_name_, modeLike);
    save_params(file);
    save_column_header(file, false);
    write_all(records_, layout_.find("Tag"), file);
    return file.finishSaving();
}

int keldb::save_text_without_header() {
    TextFile file;
    file.startSaving(file_name_, WString());
    save_params(file);
    save_column_header(file, true);
    write_all(records_, layout_.find("Tag"), file);
    return file.finishSaving() ? static_cast<int>(records_.size()) : 0;
}

int keldb::save_tags() {
    TextFile file;
    file.startSaving(file_name_, WString());
    save_params(file);
    save_column_header(file, false);
    for (const dbrecord* record : records_) {
        if (record->get_tag() != 0) record->write(file);
    }
    return file.finishSaving() ? 1 : 0;
}
