// What stands at the other end of standard output and standard error.
#ifndef KELDB_TOOLS_TERMINAL_H
#define KELDB_TOOLS_TERMINAL_H

#include <cstddef>

namespace tool {

// The columns of the terminal that standard output is, 0 when it is none: then nothing is cut to fit.
std::size_t terminal_width();

bool errors_go_to_a_terminal();

// Standard output is a terminal, one that can show colour, and the environment variable NO_COLOR is empty or not set.
bool colour_wanted();

}  // namespace tool

#endif
