// keldb check: everything that reading a file changes, drops or does not reach, and what saving it again would.

#include <algorithm>
#include <vector>

#include "command.h"
#include "container_check.h"
#include "display_text.h"
#include "keldb/support/ascii.h"
#include "output.h"
#include "storage_text.h"

namespace tool {
namespace {

struct CheckOptions {
    std::vector<std::string> files;
    std::string format;
};

// A name that looks comma-separated and does not count as that.
bool is_csv_by_mistake(const OpenTable& input) {
    return !input.comma_separated && kel::ends_ignoring_case(input.name, ".csv");
}

std::vector<Finding> findings_of(const OpenTable& input) {
    std::vector<Finding> findings;
    for (const LoadFinding& finding : input.report.findings) {
        findings.push_back({finding.line, std::string(describe(finding).view())});
    }
    if (!input.valid() && is_csv_by_mistake(input)) {
        findings.push_back({0, "only a name that ends in .csv, in small letters, is read as comma-separated"});
    }
    if (!input.valid()) return findings;
    for (const LossText& loss : losses_of(input)) {
        if (loss.line != 0 || !input.comma_separated) findings.push_back({loss.line, "saving: " + loss.text});
    }
    if (is_container(input)) {
        for (Finding& finding : container_findings(input)) findings.push_back(std::move(finding));
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.line < b.line; });
    return findings;
}

int check_file(const InputChoice& choice) {
    const std::unique_ptr<OpenTable> input = read_table(choice);
    if (!input) return tell_left_over(choice.file), kFault;
    const std::vector<Finding> findings = findings_of(*input);
    for (const Finding& finding : findings) print(displayable(located(input->name, finding.line, finding.text)));
    return findings.empty() ? kDone : kFindings;
}

// A format is for standard input alone: the files beside it say theirs with their names.
int check(const CheckOptions& options) {
    const bool piped = std::any_of(options.files.begin(), options.files.end(), is_standard_stream);
    int code = kDone;
    for (const std::string& file : options.files) {
        const bool named_beside_it = piped && !is_standard_stream(file);
        code = std::max(code, check_file({file, named_beside_it ? "" : options.format}));
    }
    return code;
}

}  // namespace

void add_check(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App& command = *app.add_subcommand("check", "Name every fault of a file and what it does to the data");
    command.add_option("FILE", options->files, "Tables or .csv files; - is standard input")->required();
    add_format(command, options->format);
    choose(command, chosen, options, check);
}

}  // namespace tool
