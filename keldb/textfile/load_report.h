// LoadReport: what keldb::loadFromFile saw while it read a file.
//
// It says where reading ended and why, and lists line by line whatever the loader met that reads back as something else
// than it seems to say, is dropped, or kept it from reading on. A report without findings belongs to a file that was
// read whole and as it stands. Asking for a report costs a second look at odd lines only.
#ifndef KELDB_TEXTFILE_LOAD_REPORT_H
#define KELDB_TEXTFILE_LOAD_REPORT_H

#include <cstddef>
#include <vector>

#include "keldb/support/export.h"
#include "keldb/support/string.h"

struct LoadFinding {
    enum class Kind {
        // The file as a whole; the table is not valid.
        unreadable,       // missing, a directory, not permitted, a failing read (line 0)
        no_parameters,    // the first line is no "KELDB:" parameter line
        no_marker,        // a line without a colon, or the end, before the marker line
        header_cut,       // the file ends where `expected` items of a header row should stand; with 0, inside the blank
                          // rows of a table without fields: then the table is valid
        header_mismatch,  // the type or name row has `count` items instead of `expected`
        out_of_memory,    // line 0

        // Parameter lines and the marker line
        other_revision,          // of the file format; `text` is the one stated
        nameless_parameter,      // begins with a colon: dropped
        surplus_parameter,       // beyond 40: dropped
        surplus_parameter_text,  // `count` values behind the first one of the line: dropped

        // Header rows
        unknown_type,  // `text` names no type: the field becomes text
        ampersands,    // taken out of the field name `text`

        // Values of a line: `count` of them, the first is `column`
        value_cut,
        blanks_dropped,
        stray_quote,
        open_quote,
        controls_dropped,
        too_many_values,

        // The end of the records
        value_count,  // the line has `count` values instead of `expected`: the load ends
        blank_line,   // a line without visible characters: the load ends
        not_read,     // from this line on `count` lines were not read

        // Comma-separated files, as above: `count` pieces, the first is `column`
        quotes_kept,           // double quotes belong to the value
        first_piece_lost,      // the line begins with a comma: its empty first piece is dropped, the others move up
        line_break_in_quotes,  // the line ends inside quotes: the value ends here, the next line is another record
        surplus_pieces,        // more than there are fields: dropped
    };

    Kind kind;
    std::size_t line = 0;  // 1-based; 0: the file as a whole
    int column = -1;       // 0-based number of a value in the line; -1: the line as a whole
    std::size_t count = 1;
    std::size_t expected = 0;
    String text = {};
};

struct LoadReport {
    LoadReport() { findings.reserve(1); }  // so that a load that runs out of memory has room to say so

    enum class End {
        unreadable,    // the file could not be read
        not_a_table,   // no parameter lines, no marker line or no matching header rows
        file_end,      // everything was read; lines without visible characters at the very end do not count
        blank_line,    // a line without visible characters stood before others
        bad_record,    // a record line with another number of values than there are fields
        enough,        // as many records were read as were asked for
        out_of_memory  // the table is not valid
    };

    End end = End::unreadable;
    std::size_t lines = 0;              // of the file
    std::size_t lines_read = 0;         // up to the one that ended the reading, itself included
    std::size_t first_record_line = 0;  // 1-based: record i stood on line first_record_line + i; 0 when none was read
    std::vector<LoadFinding> findings;  // by line

    bool complete() const noexcept { return end == End::file_end; }

    KELDB_API void clear() noexcept;  // as a new one
};

// The finding in words: what is wrong and what it does to the data. One line, without file and line number.
KELDB_API String describe(const LoadFinding& finding);

#endif
