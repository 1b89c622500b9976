// keldb map: which fields a table's list display shows, and in which order.

#include <algorithm>
#include <optional>

#include "change_file.h"
#include "display_text.h"
#include "field_choice.h"
#include "keldb/fieldmap/field_map.h"
#include "mapped_fields.h"
#include "messages.h"
#include "output.h"

namespace tool {
namespace {

struct MapOptions {
    InputChoice input;
    std::vector<std::string> set;
    ChangeOptions change;
};

// A field as --set names it.
std::string entry_text(const std::string& name, bool visible) { return (visible ? "" : "-") + name; }

// Tells what the map leaves open. False when one of its numbers is that of no field.
bool tell_gaps(const OpenTable& input, const FieldMap& map) {
    std::string left_out;
    for (const unsigned field : all_fields(input.table)) {
        const std::string name = input.table.get_fieldname(field);
        if (!map.containsField(String(name))) left_out += (left_out.empty() ? "" : ", ") + name;
    }
    if (!left_out.empty()) tell("{}: not in the map, and so not shown: {}", input.name, left_out);
    bool whole = true;
    for (int i = 0; i < map.size(); ++i) whole &= input.table.get_fieldnum(map.getName(i)) >= 0;
    if (!whole) tell("{}: the map has a number that is no field's", input.name);
    return whole;
}

int print_map(const MapOptions& options) {
    const std::unique_ptr<OpenTable> input = open_table(options.input);
    if (!input) return kFault;
    if (!has_field_map(input->table)) tell("{}: no field map is stored: every field is shown", input->name);
    const FieldMap map(input->table);
    for (int i = 0; i < map.size(); ++i) {
        const String name = map.getName(i);
        if (input->table.get_fieldnum(name) >= 0) print(entry_text(displayable(name), map.isVisible(i)));
    }
    return tell_gaps(*input, map) && input->whole() ? kDone : kFindings;
}

struct Entry {
    unsigned field;
    bool visible;
};

// A '-' in front hides the field, unless the name itself begins with it.
std::optional<Entry> entry_named(const OpenTable& input, const std::string& text) {
    const bool hides = text.starts_with('-') && input.table.get_fieldnum(text.c_str()) < 0;
    const std::optional<unsigned> field = field_named(input, hides ? text.substr(1) : text);
    return field ? std::optional(Entry{*field, !hides}) : std::nullopt;
}

// Whether the stored form gives the entry back; otherwise that is told.
bool can_be_stored(const OpenTable& input, const Entry& entry) {
    const unsigned last = entry.visible ? FieldMap::kLastVisible : FieldMap::kLastHidden;
    if (entry.field < last) return true;
    tell("{}: \"{}\" is field {}, and a map can {} the first {} only", input.name,
         input.table.get_fieldname(entry.field), entry.field + 1, entry.visible ? "show" : "hide", last);
    return false;
}

bool append_entry(const OpenTable& input, const std::string& text, FieldMap& map) {
    const std::optional<Entry> entry = entry_named(input, text);
    if (!entry || !can_be_stored(input, *entry)) return false;
    const String name = input.table.get_fieldname(entry->field);
    if (map.containsField(name)) {
        tell("the field \"{}\" is given twice", name.view());
        return false;
    }
    map.append(name, entry->visible);
    return true;
}

// One list such as "Name,Reel,-Notes", or a name with a comma in it alone.
bool append_list(const OpenTable& input, const std::string& list, FieldMap& map) {
    const bool hides = list.starts_with('-');
    if (input.table.get_fieldnum(list.c_str() + (hides ? 1 : 0)) >= 0) return append_entry(input, list, map);
    for (std::size_t at = 0; at <= list.size();) {
        const std::size_t comma = std::min(list.find(',', at), list.size());
        if (!append_entry(input, list.substr(at, comma - at), map)) return false;
        at = comma + 1;
    }
    return true;
}

int store_map(const MapOptions& options) {
    const std::unique_ptr<OpenTable> input = open_for_change(options.input, options.change);
    if (!input) return kFault;
    FieldMap map(input->table);
    map.clear();
    for (const std::string& list : options.set) {
        if (!append_list(*input, list, map)) return kFault;
    }
    const String text = map.asString();
    const char* before = input->table.get_param_val(FieldMap::kParameter);
    const bool changed = !before || text != before;
    if (input->table.add_param(FieldMap::kParameter, text.c_str()) < 0) {
        tell("{}: there is no room for another parameter", input->name);
        return kFault;
    }
    const std::string done =
        fmt::format("{} shown, {} hidden{}", counted(static_cast<std::size_t>(map.numVisible()), "field"),
                    map.size() - map.numVisible(), changed ? "" : ", as before");
    return save_changes(*input, changed, done, options.change);
}

int map(const MapOptions& options) { return options.set.empty() ? print_map(options) : store_map(options); }

}  // namespace

void add_map(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<MapOptions>();
    CLI::App& command = *app.add_subcommand("map", "Print or store the field map: the fields that a list shows");
    add_input(command, options->input);
    CLI::Option* set =
        add_repeatable(command, "--set", options->set, "Store this map: A,B,-C shows A and B and hides C");
    add_change_options(command, options->change);
    for (const char* name : {"--dry-run", "--force"}) command.get_option(name)->needs(set);
    choose(command, chosen, options, map);
}

}  // namespace tool
