// keldb delete: takes chosen records out of a table.

#include "change_file.h"
#include "messages.h"
#include "record_choice.h"

namespace tool {
namespace {

struct DeleteOptions {
    std::string file;
    RecordChoice records;
    ChangeOptions change;
};

int delete_records(const DeleteOptions& options) {
    const std::unique_ptr<OpenTable> input = open_for_change({options.file, ""}, options.change);
    if (!input) return kFault;
    std::optional<Selection> records = choose_records(*input, options.records);
    if (!records) return kFault;
    if (records->size() == 0) return pass_on(*input, options.change);

    const unsigned count = records->size();
    records->delete_records();
    const std::string done =
        fmt::format("{} deleted, {} left", counted(count, "record"), input->table.get_num_records());
    return save_changes(*input, true, done, options.change);
}

}  // namespace

void add_delete(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<DeleteOptions>();
    CLI::App& command = *app.add_subcommand("delete", "Delete the chosen records");
    command.add_option("FILE", options->file, "A table; - is standard input, and the result goes to standard output")
        ->required();
    add_record_choice(command, options->records, "Delete");
    add_change_options(command, options->change);
    choose(command, chosen, options, delete_records);
}

}  // namespace tool
