// A parameter line: "NAME:VALUE". Nothing in name or value is escaped.
#ifndef KELDB_TEXTFILE_PARAMETER_LINE_H
#define KELDB_TEXTFILE_PARAMETER_LINE_H

#include <string>
#include <string_view>

namespace kel {

std::string parameter_line(std::string_view name, std::string_view value);

// What a line says about a parameter, from its first value.
struct ParameterText {
    enum class Kind {
        parameter,
        marker,    // KELDB, in any case: the parameter lines are over
        nameless,  // begins with a colon
        no_colon,  // no parameter line at all; nothing there, too
    };
    Kind kind;
    std::string_view name;   // up to the first colon, without leading white space
    std::string_view value;  // what follows it, without leading white space
};
ParameterText read_parameter(std::string_view first_value) noexcept;

// Whether a file whose first line begins with this value is a table file: "KELDB:...", in any case.
bool is_revision_entry(std::string_view first_value) noexcept;

// The number that starts at the first digit of the revision entry's value ("Rev 1"); 0 when there is none.
int revision_of(std::string_view value) noexcept;

}  // namespace kel

#endif
