// keldb set: gives fields of chosen records a value.

#include <string_view>

#include "change_file.h"
#include "field_choice.h"
#include "messages.h"
#include "record_choice.h"
#include "tag_field.h"

namespace tool {
namespace {

struct SetOptions {
    std::string file;
    std::vector<std::string> values;
    RecordChoice records;
    ChangeOptions change;
};

// In the field Tag the empty text says the same as 0, which is what a save puts there.
std::string_view meaning(std::string_view text, bool is_tag) { return is_tag && text.empty() ? "0" : text; }

// Returns whether one of the values said something else before.
bool assign(dbrecord& record, const std::vector<FieldValue>& values, int tags) {
    bool changed = false;
    for (const FieldValue& value : values) {
        const bool is_tag = static_cast<int>(value.field) == tags;
        changed |= meaning(record.field_text(value.field), is_tag) != meaning(value.value, is_tag);
        record.setField(static_cast<unsigned short>(value.field), value.value);
    }
    return changed;
}

int set(const SetOptions& options) {
    const std::unique_ptr<OpenTable> input = open_for_change({options.file, ""}, options.change);
    if (!input) return kFault;
    const std::optional<std::vector<FieldValue>> values = field_values(*input, options.values);
    if (!values) return kFault;
    const std::optional<Selection> records = choose_records(*input, options.records);
    if (!records) return kFault;
    if (records->size() == 0) return pass_on(*input, options.change);

    const int tags = tag_field(input->table);
    unsigned changed = 0;
    for (unsigned i = 0; i < records->size(); ++i) changed += assign(records->record(i), *values, tags) ? 1U : 0U;
    take_tags(input->table);
    const std::string done = fmt::format("{} of {} changed", changed, counted(records->size(), "matching record"));
    return save_changes(*input, changed != 0, done, options.change);
}

}  // namespace

void add_set(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<SetOptions>();
    CLI::App& command = *app.add_subcommand("set", "Give fields of the chosen records a value");
    command.add_option("FILE", options->file, "A table; - is standard input, and the result goes to standard output")
        ->required();
    command.add_option("FIELD=VALUE", options->values, "The new values; an empty one empties the field")->required();
    add_record_choice(command, options->records, "Change");
    add_change_options(command, options->change);
    choose(command, chosen, options, set);
}

}  // namespace tool
