// Reading record lines: one at a time through dbrecord::read, or all that follow through a TableReader.

#include <memory>

#include "keldb/support/conversions.h"
#include "keldb/support/log.h"
#include "keldb/textfile/line_splitter.h"
#include "keldb/textfile/table_reader.h"

int dbrecord::read(TextFile& file) {
    const std::string_view line = file.nextLine();
    if (isEssentiallyEmpty(line)) {
        take_no_values();
        return 0;
    }
    kel::ValueBuilder values;
    kel::split_line(line, values);
    take_values(values);
    return 1;
}

void dbrecord::take_values(const kel::ValueBuilder& values) {
    values_.pack(values);
    note_change();
    if (container_) container_->set_mod_time(1);
}

void dbrecord::take_no_values() noexcept {
    values_ = kel::FieldValues();
    note_quiet_write();
}

int keldb::load_text(int maxRecords) {
    TextFile file;
    return file.load(file_name_, '\n', false) ? add_text(file, 1, maxRecords) : 0;
}

int keldb::add_text(TextFile& file, int skipFirst, int maxRecords) {
    return kel::TableReader(*this, file).append(skipFirst != 0, maxRecords);
}

namespace kel {

int TableReader::append(bool skip_first, int most) {
    if (table_.records_.size() >= table_.records_.capacity() || most <= 0) return 0;
    appending_ = true;
    if (skip_first) {
        if (!next_line() || !fits_table(0)) return 0;
        table_.set_mod_time(1);
    }
    int records = 0;
    const End end = read_records(most, records);
    if (skip_first && records == 0 && end == End::blank_line) {
        LogPrint("keldb::add_text: returning because no more lines\n");
    }
    return records;
}

// Reads records until `most` were read or a line ends it, and counts them in `records`. The time of the last one is the
// table's: taken once, since a clock is no cheaper to ask than a record is to read.
TableReader::End TableReader::read_records(int most, int& records) {
    End end = End::enough;
    for (; records < most; ++records) {
        if (!next_line()) {
            end = End::blank_line;
            break;
        }
        if (!fits_table(records)) {
            end = End::bad_record;
            break;
        }
        append_record();
    }
    if (records != 0) table_.set_mod_time(1);
    return end;
}

// Whether the line has as many values as the table has fields. A first value KELDB makes no difference: a clip may be
// called that.
bool TableReader::fits_table(int records) {
    if (appending_) table_.changed_ = 1;
    if (count() == table_.layout_.size()) return true;
    table_.set_mod_time(1);
    table_.fill_error_info(dberror::kValueCount, records, 0, 0);
    LogBoth("keldb::add_text: returning because not all fields filled\n");
    found({.kind = Kind::value_count, .count = values_.size(), .expected = table_.layout_.size()});
    return false;
}

void TableReader::append_record() {
    std::unique_ptr<dbrecord> record(dbrecord::make_packed(values_));
    record->values_.resize(static_cast<unsigned short>(table_.layout_.size()));
    record->set_container(&table_);
    record->set_changed(appending_ ? 1 : 0);
    table_.records_.append(record.get());
    static_cast<void>(record.release());
    while (table_.records_.size() >= table_.records_.capacity()) table_.add_chunk();
}

}  // namespace kel
