// keldb info: what a table is made of.

#include <algorithm>
#include <optional>

#include "command.h"
#include "display_text.h"
#include "json_text.h"
#include "keldb/fields/field_types.h"
#include "messages.h"
#include "output.h"

namespace tool {
namespace {

struct InfoOptions {
    InputChoice input;
    bool json = false;
};

struct Field {
    std::string name, type;
    unsigned width;  // as a save states it in the width row
};

struct Parameter {
    std::string name, value;
};

std::vector<Field> fields_of(keldb& table) {
    std::vector<Field> fields;
    for (unsigned i = 0; i < table.get_num_fields(); ++i) {
        const std::string name = table.get_fieldname(i);
        const auto longest = static_cast<unsigned>(table.get_fieldsize(i));
        fields.push_back({name, std::string(kel::name_of_type(table.get_field_type(i)).view()),
                          std::max(keldb::getMinFieldSize(name.c_str()), longest)});
    }
    return fields;
}

std::vector<Parameter> parameters_of(const keldb& table) {
    std::vector<Parameter> parameters;
    for (int i = 0; i < static_cast<int>(table.get_num_params()); ++i) {
        parameters.push_back({table.get_nth_param_name(i), table.get_nth_param_val(i)});
    }
    return parameters;
}

std::optional<dberror> error_of(const keldb& table) {
    dberror error;
    return table.read_error_info(error) != 0 ? std::optional(error) : std::nullopt;
}

// The items as a JSON array, each on a line of its own.
template <class Items, class Text>
std::string json_array(const Items& items, const Text& text_of) {
    std::string out = "[";
    for (const auto& item : items) out += (out.size() == 1 ? "\n    " : ",\n    ") + text_of(item);
    return out + (items.empty() ? "]" : "\n  ]");
}

std::string field_json(const Field& field) {
    return fmt::format(R"({{"name": {}, "type": {}, "width": {}}})", json_text(field.name), json_text(field.type),
                       field.width);
}

std::string parameter_json(const Parameter& parameter) {
    return fmt::format(R"({{"name": {}, "value": {}}})", json_text(parameter.name), json_text(parameter.value));
}

std::string error_json(const std::optional<dberror>& error) {
    if (!error) return "null";
    return fmt::format(R"({{"kind": {}, "index": {}, "extra1": {}, "extra2": {}}})", error->kind, error->index,
                       error->extra1, error->extra2);
}

void print_json(OpenTable& input) {
    keldb& table = input.table;
    print("{");
    print(fmt::format("  \"valid\": {},", input.valid()));
    print(fmt::format("  \"revision\": {},", table.get_revision()));
    print(fmt::format("  \"records\": {},", table.get_num_records()));
    print(fmt::format("  \"fields\": {},", json_array(fields_of(table), field_json)));
    print(fmt::format("  \"parameters\": {},", json_array(parameters_of(table), parameter_json)));
    print(fmt::format("  \"error\": {}", error_json(error_of(table))));
    print("}");
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, display_width(text)), ' ');
}

std::string error_text(const std::optional<dberror>& error) {
    if (!error) return "none";
    return fmt::format("kind {}, index {}, extra {} {}", error->kind, error->index, error->extra1, error->extra2);
}

void print_parameters(const keldb& table) {
    const std::vector<Parameter> parameters = parameters_of(table);
    std::size_t width = 0;
    for (const Parameter& parameter : parameters) width = std::max(width, display_width(displayable(parameter.name)));
    if (!parameters.empty()) print("parameters");
    for (const Parameter& parameter : parameters) {
        print(fmt::format("  {}  {}", padded(displayable(parameter.name), width), displayable(parameter.value)));
    }
}

void print_fields(keldb& table) {
    const std::vector<Field> fields = fields_of(table);
    std::size_t names = 0, types = 0;
    for (const Field& field : fields) {
        names = std::max(names, display_width(displayable(field.name)));
        types = std::max(types, field.type.size());
    }
    if (!fields.empty()) print("fields");
    for (const Field& field : fields) {
        print(fmt::format("  {}  {}  {:>4}", padded(displayable(field.name), names), padded(field.type, types),
                          field.width));
    }
}

void print_text(OpenTable& input) {
    keldb& table = input.table;
    print(fmt::format("valid       {}", input.valid() ? "yes" : "no"));
    print(fmt::format("revision    {}", table.get_revision()));
    print(fmt::format("records     {}{}", table.get_num_records(),
                      table.get_num_tags() == 0 ? "" : fmt::format(", {} tagged", table.get_num_tags())));
    print(fmt::format("error       {}", error_text(error_of(table))));
    if (!input.whole()) print(fmt::format("read        {} of {} lines", input.report.lines_read, input.report.lines));
    print_parameters(table);
    print_fields(table);
}

int info(const InfoOptions& options) {
    const std::unique_ptr<OpenTable> input = read_table(options.input);
    if (!input) return kFault;
    tell_why_it_ended(*input);
    if (options.json) {
        print_json(*input);
    } else {
        print_text(*input);
    }
    if (!input->valid()) return kFault;
    return input->whole() ? kDone : kFindings;
}

}  // namespace

void add_info(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<InfoOptions>();
    CLI::App& command = *app.add_subcommand("info", "Say what a table is made of: fields, parameters, state");
    add_input(command, options->input);
    command.add_flag("--json", options->json, "Write JSON");
    choose(command, chosen, options, info);
}

}  // namespace tool
