#include "change_file.h"

#include <algorithm>

#include "display_text.h"
#include "messages.h"
#include "output.h"
#include "storage_text.h"
#include "table_text.h"

namespace tool {
namespace {

// What the loader dropped of the text of the file, so that a save would drop it from the file too.
bool drops_text(LoadFinding::Kind kind) {
    using Kind = LoadFinding::Kind;
    switch (kind) {
    case Kind::nameless_parameter:
    case Kind::surplus_parameter:
    case Kind::surplus_parameter_text:
    case Kind::unknown_type:
    case Kind::value_cut:
    case Kind::stray_quote:
    case Kind::open_quote:
    case Kind::too_many_values:
        return true;
    default:
        return false;
    }
}

bool was_read_in_full(const OpenTable& input) {
    const std::vector<LoadFinding>& findings = input.report.findings;
    return input.whole() && std::none_of(findings.begin(), findings.end(),
                                         [](const LoadFinding& finding) { return drops_text(finding.kind); });
}

// Nothing of the file is lost when the table, as it was read, is saved over it. Otherwise that is told.
bool may_be_saved_over(const OpenTable& input) {
    if (!was_read_in_full(input)) {
        tell("{}: not changed, since not all of it was read; --force saves what was read over it", input.name);
        return false;
    }
    if (tell_losses(input, input.name)) {
        tell("{}: not changed, since saving it loses that; --force saves it so", input.name);
        return false;
    }
    return true;
}

bool changes_can_be_saved(const OpenTable& input, const ChangeOptions& options) {
    if (!tell_losses(input, input.name) || options.force) return true;
    tell("{}: not changed, since the new values cannot be kept; --force saves what can be", input.name);
    return false;
}

bool save(OpenTable& input) {
    const TextFile file = table_text(input.table);
    if (!input.from_standard_input()) return save_file(file, input.path);
    write_standard_output(file.bytes());
    return true;
}

void say(const OpenTable& input, std::string_view line) {
    if (input.from_standard_input()) {
        tell_line(line);
    } else {
        print(displayable(line));
    }
}

}  // namespace

void add_change_options(CLI::App& command, ChangeOptions& options) {
    command.add_flag("--dry-run", options.dry_run, "Say what would be done and change nothing");
    command.add_flag("--force", options.force, "Save even when something that stood in the file is lost");
}

std::unique_ptr<OpenTable> open_for_change(const InputChoice& choice, const ChangeOptions& options) {
    std::unique_ptr<OpenTable> input = read_table(choice);
    if (!input) return nullptr;
    tell_findings(*input);
    if (!input->valid()) return nullptr;
    if (input->comma_separated) {
        tell("{}: comma-separated files are not changed in place; keldb convert makes a table of it", input->name);
        return nullptr;
    }
    if (!options.force && !may_be_saved_over(*input)) return nullptr;
    return input;
}

int pass_on(OpenTable& input, const ChangeOptions& options) {
    if (input.from_standard_input() && !options.dry_run) save(input);
    return kFindings;
}

int save_changes(OpenTable& input, bool changed, const std::string& done, const ChangeOptions& options,
                 const std::vector<std::string>& details) {
    if (changed && !changes_can_be_saved(input, options)) return kFault;
    const bool wanted = changed || input.from_standard_input();
    if (wanted && !options.dry_run && !save(input)) return kFault;
    for (const std::string& detail : details) say(input, detail);
    say(input, fmt::format("{}: {}{}", input.name, done, options.dry_run ? " (dry run: not saved)" : ""));
    return kDone;
}

}  // namespace tool
