// --where FIELD=VALUE: a query by example, put to the table's own search.
#ifndef KELDB_TOOLS_WHERE_CLAUSE_H
#define KELDB_TOOLS_WHERE_CLAUSE_H

#include <optional>
#include <string>
#include <vector>

#include "field_choice.h"
#include "open_table.h"

namespace tool {

// The conditions of a command line; a value that is empty is refused, for it would ask for nothing.
std::optional<std::vector<FieldValue>> read_conditions(const OpenTable& input, const std::vector<std::string>& texts);

// Makes the conditions the table's query. All of them must hold for a record to match.
void set_query(keldb& table, const std::vector<FieldValue>& conditions);

// How the search understands a condition, in words.
std::string explained(keldb& table, const FieldValue& condition);

// Why no value of the field can match, when that can be seen without looking at any; else empty.
std::string why_nothing_can_match(keldb& table, const FieldValue& condition);

// Tells that nothing matched, and what can be said about the reason.
void tell_no_match(OpenTable& input, const std::vector<FieldValue>& conditions);

}  // namespace tool

#endif
