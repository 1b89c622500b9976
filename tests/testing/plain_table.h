// What a table file is meant to keep of a table, as plain values that compare; and loading and saving without a disk.
#ifndef KELDB_TESTS_TESTING_PLAIN_TABLE_H
#define KELDB_TESTS_TESTING_PLAIN_TABLE_H

#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "keldb/support/ascii.h"
#include "keldb/support/text_file.h"
#include "keldb/table/keldb.h"
#include "keldb/textfile/load_report.h"
#include "keldb/textfile/table_reader.h"
#include "keldb/textfile/unstorable.h"

namespace testing_kit {

struct PlainTable {
    bool valid = false;
    int revision = 0;
    std::vector<std::pair<std::string, std::string>> parameters;
    std::vector<std::pair<std::string, int>> fields;  // name and type code
    std::vector<std::vector<std::string>> records;
    std::vector<int> tags;  // as a field named Tag gives them, when there is one
    std::string lines;      // of parameters and names: whole, where the pointers above end at a zero byte

    explicit PlainTable(keldb& table) : valid(table.get_valid() != 0), revision(table.get_revision()) {
        for (int i = 0; i < static_cast<int>(table.get_num_params()); ++i)
            parameters.emplace_back(table.get_nth_param_name(i), table.get_nth_param_val(i));
        for (unsigned i = 0; i < table.get_num_fields(); ++i)
            fields.emplace_back(table.get_fieldname(i), table.get_field_type(i));
        const int tag = table.get_fieldnum("Tag");
        for (unsigned row = 0; row < table.get_num_records(); ++row) {
            const dbrecord& record = table[row];
            records.emplace_back();
            for (unsigned i = 0; i < record.get_num_fields(); ++i) records.back().emplace_back(record.field_text(i));
            tags.push_back(tag < 0 ? record.get_tag() : kel::read_int(record.field_text(static_cast<unsigned>(tag))));
        }
        TextFile file;
        table.save_params(file);
        table.save_column_header(file, true);
        lines = file.bytes();
    }
    friend bool operator==(const PlainTable&, const PlainTable&) = default;
};

inline constexpr int kAllRecords = std::numeric_limits<int>::max();

// Loads what loadFromFile would load from a file of these bytes.
inline void load_bytes(keldb& table, std::string_view bytes, bool comma_separated = false,
                       LoadReport* report = nullptr) {
    if (report) *report = LoadReport();
    table.free();
    TextFile file = TextFile::fromBytes(bytes);
    kel::TableReader(table, file, report).load(comma_separated, kAllRecords);
}

inline PlainTable loaded(std::string_view bytes) {
    keldb table;
    load_bytes(table, bytes);
    return PlainTable(table);
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

// Saves and loads the table: what is wrong with the promise that it comes back equal exactly when storage_losses names
// nothing; "" when it holds.
inline std::string round_trip_fault(keldb& table) {
    const PlainTable before(table);
    const std::vector<StorageLoss> losses = storage_losses(table);
    const std::string bytes = saved_bytes(table);
    keldb loaded;
    load_bytes(loaded, bytes);
    if (!loaded.ok()) return "an invariant of the loaded table is broken:\n" + bytes;
    if ((PlainTable(loaded) == before) == losses.empty()) return "";
    if (losses.empty()) return "nothing is named as lost, yet the table came back different:\n" + bytes;
    return std::string(describe(losses.front()).view()) + ", yet the table came back equal:\n" + bytes;
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
