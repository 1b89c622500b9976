// Selected records as an aligned table for people.
//
// Columns that hold nothing but numbers stand with their decimal points below each other, timecodes to the right, all
// else to the left. Values are shown whole unless the output is a terminal that is too narrow for them.
#ifndef KELDB_TOOLS_PRINT_TABLE_H
#define KELDB_TOOLS_PRINT_TABLE_H

#include <cstddef>
#include <vector>

#include "output.h"
#include "selection.h"

namespace tool {

struct TableStyle {
    std::size_t width = 0;  // of the terminal; 0: no limit
    bool colour = false;
};

void print_table(const Selection& records, const std::vector<unsigned>& fields, const TableStyle& style, Output& out);

}  // namespace tool

#endif
