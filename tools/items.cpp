// keldb items: what a container file holds.

#include "command.h"
#include "display_text.h"
#include "field_choice.h"
#include "json_text.h"
#include "keldb/container/qv_container_file.h"
#include "keldb/support/ascii.h"
#include "keldb/support/conversions.h"
#include "messages.h"
#include "output.h"
#include "print_table.h"
#include "selection.h"
#include "terminal.h"
#include "write_records.h"

namespace tool {
namespace {

struct ItemsOptions {
    std::string file;
    bool json = false;
};

struct Attribute {
    std::string name, value;
};

// The container's own: its parameters but for the reserved ones and the mark of the format.
std::vector<Attribute> attributes_of(const keldb& table) {
    std::vector<Attribute> attributes;
    for (int i = 1; i < static_cast<int>(table.get_num_params()); ++i) {
        const std::string name = table.get_nth_param_name(i);
        const bool reserved = kel::equal_ignoring_case(name, "Name") || kel::equal_ignoring_case(name, "Permanent");
        if (!reserved) attributes.push_back({name, table.get_nth_param_val(i)});
    }
    return attributes;
}

std::string name_of(const keldb& table) {
    const char* name = table.get_param_val("Name");
    return name ? name : "";
}

bool is_permanent(const keldb& table) {
    bool permanent = false;
    return BoolFromString(String(table.get_param_val("Permanent")), permanent) && permanent;
}

// Empty for standard input, which has no name.
std::string identity_of(const OpenTable& input) {
    if (input.from_standard_input()) return {};
    return QVContainerFile::getCookieFromFilename(fromUTF8(String(input.path))).text().c_str();
}

void print_text(OpenTable& input) {
    print(fmt::format("name        {}", displayable(name_of(input.table))));
    print(fmt::format("identity    {}", displayable(identity_of(input))));
    print(fmt::format("permanent   {}", is_permanent(input.table) ? "yes" : "no"));
    print(fmt::format("items       {}", input.table.get_num_records()));
    const std::vector<Attribute> attributes = attributes_of(input.table);
    if (!attributes.empty()) print("attributes");
    for (const Attribute& attribute : attributes) {
        print(fmt::format("  {}  {}", displayable(attribute.name), displayable(attribute.value)));
    }
    if (input.table.get_num_records() == 0) return;
    print("");
    StandardOutput out;
    print_table(Selection(input.table), all_fields(input.table), {terminal_width(), colour_wanted()}, out);
}

std::string attributes_json(const keldb& table) {
    std::string text;
    for (const Attribute& attribute : attributes_of(table)) {
        text +=
            fmt::format("{}{}: {}", text.empty() ? "" : ", ", json_text(attribute.name), json_text(attribute.value));
    }
    return "{" + text + "}";
}

// Returns whether every value could be shown as it is.
bool print_json(OpenTable& input) {
    print("{");
    print(fmt::format("\"name\": {},", json_text(name_of(input.table))));
    print(fmt::format("\"identity\": {},", json_text(identity_of(input))));
    print(fmt::format("\"permanent\": {},", is_permanent(input.table)));
    print(fmt::format("\"attributes\": {},", attributes_json(input.table)));
    write_standard_output("\"items\": ");
    std::size_t changed = 0;
    {
        StandardOutput out;
        changed = write_json(Selection(input.table), all_fields(input.table), out);
    }
    print("}");
    if (changed != 0) tell("{}: some bytes are no UTF-8: JSON shows them as U+FFFD", input.name);
    return changed == 0;
}

int items(const ItemsOptions& options) {
    const std::unique_ptr<OpenTable> input = open_table({options.file, ""});
    if (!input) return kFault;
    if (input->table.get_fieldnum("Cookie") < 0) {
        tell("{}: there is no field \"Cookie\": it is no container", input->name);
        return kFault;
    }
    bool as_it_is = true;
    if (options.json) {
        as_it_is = print_json(*input);
    } else {
        print_text(*input);
    }
    return as_it_is && input->whole() ? kDone : kFindings;
}

}  // namespace

void add_items(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<ItemsOptions>();
    CLI::App& command = *app.add_subcommand("items", "List a container: name, permanence, attributes, items");
    command.add_option("FILE", options->file, "A container; - is standard input")->required();
    command.add_flag("--json", options->json, "Write JSON");
    choose(command, chosen, options, items);
}

}  // namespace tool
