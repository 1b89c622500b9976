// keldb: looks at, checks, converts and edits record tables from the command line.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "command.h"
#include "keldb/library/version.h"
#include "messages.h"

namespace {

using tool::Action;
using tool::ExitCode;

void add_subcommands(CLI::App& app, Action& chosen) {
    tool::add_show(app, chosen);
    tool::add_info(app, chosen);
    tool::add_check(app, chosen);
    tool::add_convert(app, chosen);
    tool::add_map(app, chosen);
    tool::add_items(app, chosen);
    tool::add_set(app, chosen);
    tool::add_tag(app, chosen);
    tool::add_delete(app, chosen);
    tool::add_merge(app, chosen);
}

// The first word is neither an option nor a subcommand.
bool names_no_command(CLI::App& app, int argc, char** argv) {
    if (argc < 2 || argv[1][0] == '-') return false;
    const std::vector<CLI::App*> known = app.get_subcommands(nullptr);
    return std::none_of(known.begin(), known.end(), [&](CLI::App* command) { return command->check_name(argv[1]); });
}

// Help and version end well, everything else that the command line does not take is a fault.
int answer(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    tool::tell("keldb: {}; keldb --help says more", error.what());
    return ExitCode::kFault;
}

int run(int argc, char** argv) {
    CLI::App app("Record tables: clip logs, bins, reel lists.", "keldb");
    app.set_version_flag("--version", KELDB_TOOL_VERSION, "Print the version and leave");
    app.require_subcommand(1);
    app.footer(
        "- stands for standard input or output.\n"
        "Exit status: 0 done, 1 findings or nothing matched, 2 wrong usage, input or output.");
    Action chosen;
    add_subcommands(app, chosen);
    if (names_no_command(app, argc, argv)) {
        tool::tell("keldb: there is no command \"{}\"; keldb --help lists them", argv[1]);
        return ExitCode::kFault;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return answer(app, error);
    }
    return chosen();
}

// A standard stream that is closed becomes one that cannot be used either. Otherwise the next file opened would take
// its place: a temporary would be read as standard input, or messages would go into a table.
void occupy_closed_streams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        const bool closed = ::fcntl(stream, F_GETFD) < 0 && errno == EBADF;
        if (closed) ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);  // takes the lowest free number
    }
}

// The results count only when they have been written.
int finish(int code) {
    errno = 0;
    const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (written) return code;
    tool::tell("keldb: standard output cannot be written{}{}", errno != 0 ? ": " : "",
               errno != 0 ? std::strerror(errno) : "");
    return ExitCode::kFault;
}

}  // namespace

int main(int argc, char** argv) {
    occupy_closed_streams();
    try {
        return finish(run(argc, argv));
    } catch (const std::bad_alloc&) {
        std::fputs("keldb: out of memory\n", stderr);
        return ExitCode::kFault;
    }
}
