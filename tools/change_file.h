// Opening a table to change it, and saving it where it came from.
//
// Nothing is saved that would lose something, unless --force is given: neither a table whose load ended early, nor one
// of whose values the text format cannot hold. "-" is changed on its way from standard input to standard output.
#ifndef KELDB_TOOLS_CHANGE_FILE_H
#define KELDB_TOOLS_CHANGE_FILE_H

#include <string>
#include <vector>

#include "command.h"

namespace tool {

struct ChangeOptions {
    bool dry_run = false;
    bool force = false;
};

void add_change_options(CLI::App& command, ChangeOptions& options);

// Null, told, for what is no usable table, a .csv, or a table that may not be saved.
std::unique_ptr<OpenTable> open_for_change(const InputChoice& choice, const ChangeOptions& options);

// For a command that found no record to change: a table from standard input goes on as it is to standard output, unless
// it is a dry run. Returns kFindings.
int pass_on(OpenTable& input, const ChangeOptions& options);

// Saves the table unless it is a dry run or nothing was changed. Then it says the result in words, on standard output
// or, when that is where the table goes, on standard error: the lines of `details` as they stand, then `done` behind
// the table's name. Returns kDone, or kFault when it was told why the table is not saved.
int save_changes(OpenTable& input, bool changed, const std::string& done, const ChangeOptions& options,
                 const std::vector<std::string>& details = {});

}  // namespace tool

#endif
