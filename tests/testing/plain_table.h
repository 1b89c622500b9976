// What a table file is meant to keep of a table, as texts that compare; and loading and saving without a disk.
#ifndef KELDB_TESTS_TESTING_PLAIN_TABLE_H
#define KELDB_TESTS_TESTING_PLAIN_TABLE_H

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "keldb/support/text_file.h"
#include "keldb/table/keldb.h"
#include "keldb/textfile/load_report.h"
#include "keldb/textfile/table_reader.h"
#include "keldb/textfile/unstorable.h"

namespace testing_kit {

// First what stands before the records: state, revision, the parameter lines and names, the fields with their types.
// Then the values of each record, and behind them its tag when no field named Tag holds it.
using PlainTable = std::vector<std::vector<std::string>>;

inline PlainTable plain(keldb& table) {
    TextFile lines;  // whole, where the pointers below end at a zero byte
    table.save_params(lines);
    table.save_column_header(lines, true);
    PlainTable rows(
        1, {std::to_string(table.get_valid()), std::to_string(table.get_revision()), std::string(lines.bytes())});
    for (unsigned i = 0; i < table.get_num_params(); ++i)
        rows[0].emplace_back(table.get_nth_param_name(static_cast<int>(i)));
    for (unsigned i = 0; i < table.get_num_fields(); ++i)
        rows[0].push_back(table.get_fieldname(i) + std::to_string(table.get_field_type(i)));
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        const dbrecord& record = table[row];
        std::vector<std::string>& values = rows.emplace_back();
        for (unsigned i = 0; i < record.get_num_fields(); ++i) values.emplace_back(record.field_text(i));
        if (table.get_fieldnum("Tag") < 0) values.push_back(std::to_string(record.get_tag()));
    }
    return rows;
}

inline constexpr int kAllRecords = std::numeric_limits<int>::max();

// Loads what loadFromFile would load from a file of these bytes.
inline void load_bytes(keldb& table, std::string_view bytes, bool comma_separated = false,
                       LoadReport* report = nullptr) {
    if (report) *report = LoadReport();
    table.free();
    TextFile file = TextFile::fromBytes(bytes);
    kel::TableReader(table, file, report).load(comma_separated, kAllRecords);
}

// The bytes that save_text would write, with its effects on the table.
inline std::string saved_bytes(keldb& table) {
    TextFile file;
    table.save_params(file);
    table.save_column_header(file, false);
    const int tag = table.get_fieldnum("Tag");
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        if (tag >= 0) table[row].set_field(tag, static_cast<int>(table[row].get_tag()));
        table[row].write(file);
    }
    return std::string(file.bytes());
}

// Saves and loads the table: what is wrong with the promise that all comes back but what storage_losses names, which
// does not; "" when it holds. Where more is named than values of a length that comes back, all behind may be lost.
inline std::string round_trip_fault(keldb& table) {
    const PlainTable before = plain(table);
    const std::vector<StorageLoss> losses = storage_losses(table);
    const std::string bytes = saved_bytes(table);
    keldb loaded;
    load_bytes(loaded, bytes);
    if (!loaded.ok()) return "an invariant of the loaded table is broken:\n" + bytes;
    PlainTable back = plain(loaded);
    const auto is_short_value = [&before](const StorageLoss& loss) {
        using enum StorageLoss::Kind;
        return loss.kind == tag_value || (loss.kind == value && before[loss.row + 1][loss.field].size() <= 4095);
    };
    if (!std::all_of(losses.begin(), losses.end(), is_short_value))
        return back == before ? "something is named as lost, yet the table came back equal:\n" + bytes : "";
    for (const StorageLoss& loss : losses) {
        const std::string& value = before[loss.row + 1][loss.field];
        std::string& value_back = back.at(loss.row + 1).at(loss.field);
        if (value_back == value) return std::string(describe(loss).view()) + ", yet it came back:\n" + bytes;
        value_back = value;
    }
    return back == before ? "" : "the table came back different where nothing is named:\n" + bytes;
}

// What loading any bytes at all must keep to: invariants, results that agree with each other, and the round trip of
// what was loaded. "" when all holds.
inline std::string load_fault(std::string_view bytes, bool comma_separated) {
    keldb table;
    LoadReport report;
    load_bytes(table, bytes, comma_separated, &report);
    if (!table.ok()) return "an invariant of the table is broken";
    const bool valid = table.get_valid() != 0;
    if (valid == (report.end == LoadReport::End::not_a_table)) return "validity and report disagree";
    if (!valid && table.get_num_records() != 0) return "a table that is not valid has records";
    if (report.lines_read > report.lines) return "more lines read than there are";
    if (!report.complete() && report.findings.empty()) return "an early end without a finding";
    for (const LoadFinding& finding : report.findings) {
        if (finding.line > report.lines || describe(finding).empty()) return "a finding that says nothing";
    }
    dberror error;
    const bool bad_record = table.read_error_info(error) != 0 && error.kind == dberror::kValueCount;
    if (bad_record != (report.end == LoadReport::End::bad_record)) return "error information and report disagree";
    if (bad_record && error.index != static_cast<int>(table.get_num_records())) return "the error names another record";
    return valid ? round_trip_fault(table) : "";
}

}  // namespace testing_kit

#endif
