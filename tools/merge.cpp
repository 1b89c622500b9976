// keldb merge: appends the records of tables to a table.

#include <algorithm>

#include "change_file.h"
#include "field_choice.h"
#include "keldb/support/paths.h"
#include "messages.h"
#include "output.h"
#include "storage_text.h"
#include "tag_field.h"

namespace tool {
namespace {

struct MergeOptions {
    std::string out;
    std::vector<std::string> files;
    bool add_fields = false, drop_fields = false;
    ChangeOptions change;
};

// The input's fields that find no place in `out`: those it has no name for, and, where two are of one name, the second.
std::vector<unsigned> fields_without_place(const keldb& out, const keldb& input) {
    std::vector<unsigned> fields = all_fields(input);
    std::erase_if(fields, [&](unsigned field) {
        const String name = input.get_fieldname(field);
        return out.get_fieldnum(name) >= 0 && input.get_fieldnum(name) == static_cast<int>(field);
    });
    return fields;
}

void add_fields(keldb& out, keldb& input, const std::vector<unsigned>& fields) {
    for (const unsigned field : fields) {
        const String name = input.get_fieldname(field);
        const bool can_be_found = input.get_fieldnum(name) == static_cast<int>(field);
        if (can_be_found) out.addField({name, input.get_field_type(field)});
    }
}

void tell_without_place(const OpenTable& out, const OpenTable& input, const std::vector<unsigned>& fields, bool added) {
    std::string names;
    for (const unsigned field : fields) {
        names += (names.empty() ? "\"" : "\", \"") + std::string(input.table.get_fieldname(field));
    }
    tell("{}: {} no place for {}\"; {}--drop-fields leaves them out", input.name, out.name + " has", names,
         added ? "they have no name of their own to be added under; " : "--add-fields adds them, ");
}

// Makes the layouts fit as the options allow. False, told, when they do not say what becomes of a field.
bool make_room(OpenTable& out, OpenTable& input, const MergeOptions& options) {
    std::vector<unsigned> missing = fields_without_place(out.table, input.table);
    if (missing.empty()) return true;
    if (options.add_fields) {
        add_fields(out.table, input.table, missing);
        missing = fields_without_place(out.table, input.table);
    }
    if (missing.empty() || options.drop_fields) return true;
    tell_without_place(out, input, missing, options.add_fields);
    return false;
}

// Appends the input's records, by position when the layouts are equal, else by field name. False, told, when it cannot.
bool append(OpenTable& out, OpenTable& input, const MergeOptions& options, std::vector<std::string>& report) {
    const unsigned before = out.table.get_num_records();
    const char* how = "the fields are the same";
    if (out.table.add_keldb(&input.table) < 0) {
        if (!make_room(out, input, options)) return false;
        how = "by field name";
        if (out.table.merge_all_matching(&input.table) == 0) {
            tell("{}: none of its fields is a field of {}", input.name, out.name);
            return false;
        }
    }
    const unsigned appended = out.table.get_num_records() - before;
    report.push_back(fmt::format("{}: {} appended, {}", input.name, counted(appended, "record"), how));
    return true;
}

std::unique_ptr<OpenTable> open_input(const std::string& file, const MergeOptions& options) {
    std::unique_ptr<OpenTable> input = read_table({file, ""});
    if (!input) return nullptr;
    tell_findings(*input);
    if (!input->valid()) return nullptr;
    if (!input->whole() && !options.change.force) {
        tell("{}: nothing merged, since it was not read to its end; --force merges what was read", input->name);
        return nullptr;
    }
    return input;
}

// A table that does not exist yet, with the fields and parameters of the first one that goes into it. Null, told, when
// its name does not fit.
std::unique_ptr<OpenTable> start_table(const std::string& file, const OpenTable& first) {
    if (names_csv(file)) {
        tell("{}: what is merged becomes a table, and no table can be read from a .csv", file);
        return nullptr;
    }
    auto out = std::make_unique<OpenTable>();
    out->name = out->path = file;
    out->table = keldb(first.table, 0);
    out->report.end = LoadReport::End::file_end;
    if (out->table.get_num_params() == 0) out->table.add_param("source", first.name.c_str());
    return out;
}

int merge(const MergeOptions& options) {
    std::vector<std::unique_ptr<OpenTable>> inputs;
    for (const std::string& file : options.files) {
        inputs.push_back(open_input(file, options));
        if (!inputs.back()) return kFault;
    }
    const bool exists = is_standard_stream(options.out) || fileExists(fromUTF8(String(options.out)));
    const std::unique_ptr<OpenTable> out =
        exists ? open_for_change({options.out, ""}, options.change) : start_table(options.out, *inputs.front());
    if (!out) return kFault;

    std::vector<std::string> report;
    for (const std::unique_ptr<OpenTable>& input : inputs) {
        if (!append(*out, *input, options, report)) return kFault;
    }
    take_tags(out->table);
    const std::string done = counted(out->table.get_num_records(), "record") + " now";
    return save_changes(*out, true, done, options.change, report);
}

}  // namespace

void add_merge(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<MergeOptions>();
    CLI::App& command = *app.add_subcommand("merge", "Append the records of tables to a table");
    command.add_option("OUT", options->out, "The table that grows; made when there is none")->required();
    command.add_option("IN", options->files, "Tables or .csv files; - is standard input")->required();
    command.add_flag("--add-fields", options->add_fields, "Give OUT the fields that it lacks");
    command.add_flag("--drop-fields", options->drop_fields, "Leave out the fields that OUT lacks");
    add_change_options(command, options->change);
    choose(command, chosen, options, merge);
}

}  // namespace tool
