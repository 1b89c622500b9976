// What saving a table and loading it again would not give back, each with its place.
#ifndef KELDB_TOOLS_STORAGE_TEXT_H
#define KELDB_TOOLS_STORAGE_TEXT_H

#include <cstddef>
#include <string>
#include <vector>

#include "open_table.h"

namespace tool {

struct LossText {
    std::size_t line;  // of the file that the table came from; 0 when that is unknown
    std::string text;
};

// Empty when everything comes back. An empty Tag value of an untagged record counts as coming back: it is saved as 0,
// which says the same.
std::vector<LossText> losses_of(const OpenTable& input);

// Tells them, without a line number: what is saved is not the file that was read. Returns whether there were any.
bool tell_losses(const OpenTable& input, const std::string& saved_as);

}  // namespace tool

#endif
