#include "command.h"

namespace tool {

void add_format(CLI::App& command, std::string& format) {
    command.add_option("--from", format, "What standard input holds; files say it with their names")
        ->check(CLI::IsMember({"table", "csv"}));
}

void add_input(CLI::App& command, InputChoice& input) {
    command.add_option("FILE", input.file, "A table, or a .csv; - is standard input")->required();
    add_format(command, input.format);
}

CLI::Option* add_repeatable(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                            const std::string& help) {
    return command.add_option(name, values, help)->allow_extra_args(false);
}

}  // namespace tool
