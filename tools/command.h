// The subcommands of keldb: each file of a subcommand adds it to the command line with its options.
#ifndef KELDB_TOOLS_COMMAND_H
#define KELDB_TOOLS_COMMAND_H

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "exit_code.h"
#include "open_table.h"

namespace tool {

// What the command line asks for, set when it has been read; it returns an ExitCode.
using Action = std::function<int()>;

void add_show(CLI::App& app, Action& chosen);
void add_info(CLI::App& app, Action& chosen);
void add_check(CLI::App& app, Action& chosen);
void add_convert(CLI::App& app, Action& chosen);
void add_map(CLI::App& app, Action& chosen);
void add_items(CLI::App& app, Action& chosen);
void add_merge(CLI::App& app, Action& chosen);
void add_set(CLI::App& app, Action& chosen);
void add_tag(CLI::App& app, Action& chosen);
void add_delete(CLI::App& app, Action& chosen);

// --- What several subcommands share ---

// Runs `run(options)` when the subcommand was chosen.
template <class Options>
void choose(CLI::App& command, Action& chosen, const std::shared_ptr<Options>& options, int (*run)(const Options&)) {
    command.callback([&chosen, options, run] { chosen = [options, run] { return run(*options); }; });
}

void add_input(CLI::App& command, InputChoice& input);    // FILE, --from
void add_format(CLI::App& command, std::string& format);  // --from alone

// An option that may be given several times, with one value each.
CLI::Option* add_repeatable(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                            const std::string& help);

}  // namespace tool

#endif
