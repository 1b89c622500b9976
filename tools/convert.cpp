// keldb convert: a table or a .csv becomes a table, comma-separated lines or JSON.

#include <algorithm>

#include "command.h"
#include "field_choice.h"
#include "keldb/support/ascii.h"
#include "messages.h"
#include "output.h"
#include "selection.h"
#include "storage_text.h"
#include "table_text.h"
#include "write_records.h"

namespace tool {
namespace {

struct ConvertOptions {
    InputChoice input;
    std::string out, to;
    bool force = false;
};

enum class Format { table, csv, json };

Format format_of(const ConvertOptions& options) {
    const bool named = !is_standard_stream(options.out);
    const auto asked = [&](const std::string& format) {
        return named ? kel::ends_ignoring_case(options.out, "." + format) : options.to == format;
    };
    if (asked("csv")) return Format::csv;
    return asked("json") ? Format::json : Format::table;
}

std::string name_of(const ConvertOptions& options) {
    return is_standard_stream(options.out) ? "(standard output)" : options.out;
}

bool write_text(const TextFile& file, const std::string& out) {
    if (!is_standard_stream(out)) return save_file(file, out);
    write_standard_output(file.bytes());
    return true;
}

int write_table(OpenTable& input, const ConvertOptions& options) {
    if (input.table.get_num_params() == 0) input.table.add_param("source", input.name.c_str());
    const bool lost = tell_losses(input, name_of(options));
    if (!write_text(table_text(input.table), options.out)) return kFault;
    return lost ? kFindings : kDone;
}

// What neither comma-separated lines nor JSON have a place for.
void tell_left_out(const OpenTable& input, const ConvertOptions& options) {
    if (input.comma_separated) return;
    tell("{}: field types and {} are left out", name_of(options), counted(input.table.get_num_params(), "parameter"));
}

int write_csv(OpenTable& input, const ConvertOptions& options) {
    tell_left_out(input, options);
    FileOutput out;
    write_csv(Selection(input.table), all_fields(input.table), out);
    return write_text(out.file(), options.out) ? kDone : kFault;
}

int write_json(OpenTable& input, const ConvertOptions& options) {
    tell_left_out(input, options);
    FileOutput out;
    const std::size_t changed = write_json(Selection(input.table), all_fields(input.table), out);
    if (changed != 0)
        tell("{}: {} with bytes that are no UTF-8: they became U+FFFD", name_of(options), counted(changed, "value"));
    if (!write_text(out.file(), options.out)) return kFault;
    return changed != 0 ? kFindings : kDone;
}

int write_as(Format format, OpenTable& input, const ConvertOptions& options) {
    switch (format) {
    case Format::csv:
        return write_csv(input, options);
    case Format::json:
        return write_json(input, options);
    case Format::table:
        break;
    }
    return write_table(input, options);
}

int convert(const ConvertOptions& options) {
    if (!options.to.empty() && !is_standard_stream(options.out)) {
        tell("{}: --to is for standard output: the name of a file says what it gets", options.out);
        return kFault;
    }
    const std::unique_ptr<OpenTable> input = read_table(options.input);
    if (!input) return kFault;
    tell_findings(*input);
    if (!input->valid()) return kFault;
    if (!input->whole() && !options.force) {
        tell("{}: not converted, since it was not read to its end; --force converts what was read", input->name);
        return kFault;
    }
    const int read = input->report.findings.empty() ? kDone : kFindings;
    return std::max(read, write_as(format_of(options), *input, options));
}

}  // namespace

void add_convert(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App& command = *app.add_subcommand("convert", "Write a table or a .csv as a table, .csv or .json");
    command.add_option("IN", options->input.file, "A table, or a .csv; - is standard input")->required();
    command.add_option("OUT", options->out, "Ends in .csv or .json, else a table; - is standard output")->required();
    add_format(command, options->input.format);
    command.add_option("--to", options->to, "What standard output gets")
        ->check(CLI::IsMember({"table", "csv", "json"}));
    command.add_flag("--force", options->force, "Convert what was read of a file that could not be read to its end");
    choose(command, chosen, options, convert);
}

}  // namespace tool
