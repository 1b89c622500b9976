#include "keldb/textfile/load_report.h"

#include <string>

namespace {

std::string number(std::size_t value) { return std::to_string(value); }

// "3 values", "1 value".
std::string counted(std::size_t count, const char* noun) {
    return number(count) + ' ' + noun + (count == 1 ? "" : "s");
}

// "value 3", or "value 3 and 2 more" when several are meant.
std::string values_of(const LoadFinding& finding) {
    const std::string first = "value " + std::to_string(finding.column + 1);
    return finding.count > 1 ? first + " and " + number(finding.count - 1) + " more" : first;
}

std::string quoted(const String& text) { return '"' + std::string(text.view()) + '"'; }

std::string words(const LoadFinding& finding) {
    using Kind = LoadFinding::Kind;
    switch (finding.kind) {
    case Kind::unreadable:
        return "the file cannot be read";
    case Kind::no_parameters:
        return "no \"KELDB:\" parameter line at the start: the file is not read";
    case Kind::no_marker:
        return "no \"KELDB\" marker line after the parameter lines: the file is not read";
    case Kind::header_cut:
        return std::string("the file ends before its header rows are complete: ") +
               (finding.expected == 0 ? "the table has no fields" : "it is not read");
    case Kind::header_mismatch:
        return counted(finding.count, "item") + " in a header row where the width row has " + number(finding.expected) +
               ": the file is not read";
    case Kind::out_of_memory:
        return "out of memory: the table is not valid";
    case Kind::other_revision:
        return "revision " + std::string(finding.text.view()) +
               " of the file format where this library knows revision 1: read as revision 1";
    case Kind::nameless_parameter:
        return "a parameter without a name: it is dropped";
    case Kind::surplus_parameter:
        return "more than 40 parameters: this one is dropped";
    case Kind::surplus_parameter_text:
        return "a line before the header rows holds one value: " + counted(finding.count, "further value") +
               (finding.count == 1 ? " is" : " are") + " dropped";
    case Kind::unknown_type:
        return "field " + std::to_string(finding.column + 1) + ": the type " + quoted(finding.text) +
               " is unknown: the field becomes text";
    case Kind::ampersands:
        return "field " + std::to_string(finding.column + 1) + ": the ampersands of the name " + quoted(finding.text) +
               " are dropped";
    case Kind::value_cut:
        return values_of(finding) + ": longer than 4095 bytes: cut there, one byte is lost and the rest is read as " +
               "further values";
    case Kind::blanks_dropped:
        return values_of(finding) + ": blanks at the ends of the quoted text are dropped";
    case Kind::stray_quote:
        return values_of(finding) + ": a double quote in the middle is dropped";
    case Kind::open_quote:
        return values_of(finding) + ": no closing double quote: all that follows in the line belongs to the value";
    case Kind::controls_dropped:
        return values_of(finding) + ": control characters before it are dropped";
    case Kind::too_many_values:
        return "more than 65535 values: only as many as the low 16 bits of their number say are kept";
    case Kind::value_count:
        return counted(finding.count, "value") + " where the table has " + counted(finding.expected, "field") +
               ": the load ends here";
    case Kind::blank_line:
        return "a line without visible characters: the load ends here";
    case Kind::not_read:
        return finding.count == 1 ? "this line was not read"
                                  : "this and " + counted(finding.count - 1, "further line") + " were not read";
    case Kind::quotes_kept:
        return values_of(finding) + ": the double quotes are kept as a part of the text";
    case Kind::first_piece_lost:
        return "the line begins with a comma: its empty first value is dropped and the others move up by one field";
    case Kind::line_break_in_quotes:
        return "the line ends inside quotes: the value ends here and the next line becomes a record of its own";
    case Kind::surplus_pieces:
        return counted(finding.count, "value") + " beyond the last field " + (finding.count == 1 ? "is" : "are") +
               " dropped";
    }
    return {};
}

}  // namespace

void LoadReport::clear() noexcept {
    end = End::unreadable;
    lines = lines_read = first_record_line = 0;
    findings.clear();
}

String describe(const LoadFinding& finding) { return String(words(finding)); }
