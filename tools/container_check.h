// What can be wrong with a container file beyond what can be wrong with any table.
#ifndef KELDB_TOOLS_CONTAINER_CHECK_H
#define KELDB_TOOLS_CONTAINER_CHECK_H

#include <cstddef>
#include <string>
#include <vector>

#include "open_table.h"

namespace tool {

struct Finding {
    std::size_t line;  // 0: the file as a whole
    std::string text;
};

// A file whose name ends in .rak or .sg, in any case, or a table that has both a Cookie field and the parameter
// "Permanent". A parameter "Name" alone makes none: clip logs have Cookie fields, blank records and names too.
bool is_container(const OpenTable& input);

// Of a valid table: no Cookie field, identities that are invalid or repeated, and a file left beside it by a save.
std::vector<Finding> container_findings(const OpenTable& input);

// For a container that cannot be read: tells when the file that a save left beside it may be the container.
void tell_left_over(const std::string& path);

}  // namespace tool

#endif
