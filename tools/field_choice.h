// Fields as the command line names them. What is not found is told, with the names that there are.
#ifndef KELDB_TOOLS_FIELD_CHOICE_H
#define KELDB_TOOLS_FIELD_CHOICE_H

#include <optional>
#include <string>
#include <vector>

#include "keldb/support/string.h"
#include "open_table.h"

namespace tool {

// The field's number; case is ignored.
std::optional<unsigned> field_named(const OpenTable& input, const std::string& name);

// The fields of lists such as "Name,Reel". A text that names a field as it stands is that field, commas or not.
std::optional<std::vector<unsigned>> fields_listed(const OpenTable& input, const std::vector<std::string>& lists);

std::vector<unsigned> all_fields(const keldb& table);

struct FieldValue {
    unsigned field;
    String value;
};

// "FIELD=VALUE" for each text, no field twice. The name ends at the first equals sign that makes it a field's name.
std::optional<std::vector<FieldValue>> field_values(const OpenTable& input, const std::vector<std::string>& texts);

}  // namespace tool

#endif
