// Which records an editing command works on: those of --where, or every one with --all.
#ifndef KELDB_TOOLS_RECORD_CHOICE_H
#define KELDB_TOOLS_RECORD_CHOICE_H

#include <optional>
#include <string>
#include <vector>

#include "command.h"
#include "selection.h"

namespace tool {

struct RecordChoice {
    std::vector<std::string> where;
    bool tagged = false;
    bool all = false;
};

void add_record_choice(CLI::App& command, RecordChoice& choice, const std::string& verb);  // such as "Change"

// The chosen records; empty, told, when none matches. Nothing, told, when the choice cannot be understood.
std::optional<Selection> choose_records(OpenTable& input, const RecordChoice& choice);

}  // namespace tool

#endif
