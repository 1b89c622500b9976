// TableReader: fills a table from the lines of a TextFile.
//
// One object reads one file into one table: a whole file into an emptied table (load), or records behind those that are
// there (append). Every loop ends with the lines of the file. What is worth telling a person goes into the LoadReport,
// when there is one. Allocation failure raises and leaves whole records only.
//
// The members are defined by concern: load.cpp (which kind of file, in which order, what is reported), read_header.cpp
// (parameter lines and header rows), read_records.cpp, csv_import.cpp.
#ifndef KELDB_TEXTFILE_TABLE_READER_H
#define KELDB_TEXTFILE_TABLE_READER_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "keldb/fields/field_values.h"
#include "keldb/support/text_file.h"
#include "keldb/table/keldb.h"
#include "keldb/textfile/load_report.h"

namespace kel {

class TableReader {
public:
    TableReader(keldb& table, TextFile& file, LoadReport* report = nullptr)
        : table_(table), file_(file), report_(report) {}

    void load(bool comma_separated,
              int most);                    // what loadFromFile does once the table is empty and the lines are there
    int append(bool skip_first, int most);  // add_text
    bool read_parameters();                 // read_params; line() is then the last line read; false: the first is blank
    const ValueBuilder& line() const noexcept { return values_; }

private:
    using Kind = LoadFinding::Kind;
    using End = LoadReport::End;

    // load.cpp
    End load_table(int most);
    bool next_line();  // splits the next line; false, and no values, when it has no visible characters or is not there
    std::string_view value(std::size_t i) const noexcept { return i < values_.size() ? values_.text(i) : ""; }
    std::uint16_t count() const noexcept { return static_cast<std::uint16_t>(values_.size()); }  // the low 16 bits
    void found(LoadFinding finding);  // in the line last read, unless the finding names one
    void found_odd(std::string_view line);
    End with_unread_lines(End end);

    // read_header.cpp
    bool read_revision();
    void read_further_parameters();
    void store_parameter();
    void found_surplus_values();
    bool read_header();
    bool read_row(unsigned fields, int row);
    void set_types();
    void set_names();

    // read_records.cpp
    End read_records(int most, int& records);
    bool fits_table(int records);
    void append_record();

    // csv_import.cpp
    End import_csv();
    void next_csv_line();
    void make_csv_fields();
    void append_csv_record();
    void found_odd_pieces(std::string_view line, bool open);

    keldb& table_;
    TextFile& file_;
    LoadReport* report_;
    ValueBuilder values_;                   // of the last line
    std::vector<std::string_view> pieces_;  // the same of a comma-separated file
    bool appending_ = false;                // records count as changes of the table
};

}  // namespace kel

#endif
