// Reading the table that a command is given: a file name, or "-" for standard input.
#ifndef KELDB_TOOLS_OPEN_TABLE_H
#define KELDB_TOOLS_OPEN_TABLE_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "keldb/table/keldb.h"
#include "keldb/textfile/load_report.h"

namespace tool {

// A table, where it came from, and what the loader saw. Its tags are those of the Tag field.
struct OpenTable {
    std::string name;  // as messages call it
    std::string path;  // empty for standard input
    bool comma_separated = false;
    keldb table;
    LoadReport report;

    bool from_standard_input() const { return path.empty(); }
    bool valid() const { return table.get_valid() != 0; }
    bool whole() const { return report.complete(); }  // no line was left unread
};

// The argument and, for standard input, what stands there.
struct InputChoice {
    std::string file;
    std::string format;  // "csv", "table", or empty for a table; files say it with their names
};

bool is_standard_stream(std::string_view file);  // "-"
bool names_csv(std::string_view file);           // ends in ".csv"; lower case alone counts, as in the library

// Reads a table whatever its state; one that is not valid has a finding that says why. Null, told, when the file cannot
// be read at all, when memory runs out, or when a format is stated for a named file.
std::unique_ptr<OpenTable> read_table(const InputChoice& input);

// The same for a command that needs a usable table. Null, told, when it is none. When the load ended early, that is
// told.
std::unique_ptr<OpenTable> open_table(const InputChoice& input);

// "FILE:LINE: what is wrong", or "FILE: ..." for line 0.
std::string located(std::string_view file, std::size_t line, std::string_view text);

// Tells what the loader found: everything, or only what kept it from reading on.
void tell_findings(const OpenTable& input);
void tell_why_it_ended(const OpenTable& input);

}  // namespace tool

#endif
