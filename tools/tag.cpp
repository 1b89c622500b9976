// keldb tag: marks chosen records in the Tag field.

#include "change_file.h"
#include "keldb/fields/field_types.h"
#include "messages.h"
#include "record_choice.h"
#include "tag_field.h"

namespace tool {
namespace {

struct TagOptions {
    std::string file;
    RecordChoice records;
    bool clear = false, only = false, add_field = false;
    ChangeOptions change;
};

// The field; -1, told, when there is none and none is wanted.
int find_or_add_field(OpenTable& input, bool add) {
    const int field = tag_field(input.table);
    if (field >= 0) return field;
    if (add) return input.table.addField({"Tag", DBFieldTypes::numeric});
    tell("{}: there is no field \"Tag\" to keep tags in; --add-field adds one", input.name);
    return -1;
}

// Sets the tag and its text; a record that is tagged keeps the number of its tag. Returns whether that changed
// anything.
bool set_tag(dbrecord& record, int field, bool tagged) {
    if ((record.get_tag() != 0) == tagged) return false;
    record.set_tag(tagged ? 1 : 0);
    record.set_field(field, record.get_tag());
    return true;
}

unsigned clear_all_tags(keldb& table, int field) {
    unsigned changed = 0;
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        changed += set_tag(*table.get_record(row), field, false) ? 1U : 0U;
    }
    return changed;
}

int tag(const TagOptions& options) {
    const std::unique_ptr<OpenTable> input = open_for_change({options.file, ""}, options.change);
    if (!input) return kFault;
    const std::optional<Selection> records = choose_records(*input, options.records);
    if (!records) return kFault;
    if (records->size() == 0) return pass_on(*input, options.change);
    const bool added = tag_field(input->table) < 0;
    const int field = find_or_add_field(*input, options.add_field);
    if (field < 0) return kFault;

    const auto before = static_cast<unsigned>(input->table.get_num_tags());
    unsigned changed = options.only ? clear_all_tags(input->table, field) : 0;
    for (unsigned i = 0; i < records->size(); ++i) {
        changed += set_tag(records->record(i), field, !options.clear) ? 1U : 0U;
    }
    const std::string done = fmt::format("{} matching, {} tagged now, {} before", counted(records->size(), "record"),
                                         input->table.get_num_tags(), before);
    return save_changes(*input, changed != 0 || added, done, options.change);
}

}  // namespace

void add_tag(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<TagOptions>();
    CLI::App& command = *app.add_subcommand("tag", "Tag the chosen records, in the field Tag");
    command.add_option("FILE", options->file, "A table; - is standard input, and the result goes to standard output")
        ->required();
    add_record_choice(command, options->records, "Tag");
    CLI::Option* clear = command.add_flag("--clear", options->clear, "Take the tags of the chosen records away");
    command.add_flag("--only", options->only, "Take the tags of all others away")->excludes(clear);
    command.add_flag("--add-field", options->add_field, "Add the field Tag when there is none");
    add_change_options(command, options->change);
    choose(command, chosen, options, tag);
}

}  // namespace tool
