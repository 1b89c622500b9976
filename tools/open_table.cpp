#include "open_table.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>

#include "keldb/support/log.h"
#include "keldb/support/wstring.h"
#include "messages.h"
#include "progress.h"
#include "standard_input.h"
#include "tag_field.h"

namespace tool {
namespace {

using Kind = LoadFinding::Kind;

constexpr off_t kLongToRead = 64 << 20;  // bytes

// While it lives the library logs nothing: the load report tells the same with a line number.
class QuietLog {
public:
    QuietLog() {
        setLogSink([](const char*, void*) {}, nullptr);
    }
    ~QuietLog() { setLogSink(nullptr, nullptr); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;
};

bool is_long(const std::string& path) {
    struct ::stat seen {};
    return ::stat(path.c_str(), &seen) == 0 && seen.st_size >= kLongToRead;
}

void load(OpenTable& input, const std::string& path) {
    const QuietLog quiet;
    Progress progress("reading " + input.name, 0);
    if (is_long(path)) progress.show_now();
    input.table.set_filename(fromUTF8(String(path)));
    input.table.loadFromFile(std::numeric_limits<int>::max(), false, &input.report);
}

// Why the loader could not read the file: it does not say.
std::string reason_unreadable(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return std::strerror(errno);
    struct ::stat seen {};
    const bool folder = ::fstat(file, &seen) == 0 && S_ISDIR(seen.st_mode);
    ::close(file);
    return folder ? std::strerror(EISDIR) : "it cannot be read";
}

bool ended_the_load(Kind kind) {
    switch (kind) {
    case Kind::no_parameters:
    case Kind::no_marker:
    case Kind::header_cut:
    case Kind::header_mismatch:
    case Kind::out_of_memory:
    case Kind::value_count:
    case Kind::blank_line:
    case Kind::not_read:
        return true;
    default:
        return false;
    }
}

template <class Choice>
void tell_chosen(const OpenTable& input, const Choice& chosen) {
    for (const LoadFinding& finding : input.report.findings) {
        if (chosen(finding.kind)) tell_line(located(input.name, finding.line, describe(finding)));
    }
}

// Loads the file at `path`. False, told, when it could not be read: that says nothing about what is in it.
bool could_load(OpenTable& input, const std::string& path) {
    using End = LoadReport::End;
    load(input, path);
    if (input.valid() || input.report.end == End::not_a_table) return true;
    const bool out_of_memory = input.report.end == End::out_of_memory;
    tell("{}: {}", input.name,
         out_of_memory ? std::string(describe({.kind = Kind::out_of_memory}).view()) : reason_unreadable(path));
    return false;
}

bool read_standard_input(OpenTable& input) {
    const StandardInputCopy copy(input.comma_separated ? ".csv" : "");
    const bool loaded = copy.ok() && could_load(input, copy.path());
    input.table.set_filename(WString());
    return loaded;
}

}  // namespace

bool is_standard_stream(std::string_view file) { return file == "-"; }
bool names_csv(std::string_view file) { return file.ends_with(".csv"); }

std::string located(std::string_view file, std::size_t line, std::string_view text) {
    return line == 0 ? fmt::format("{}: {}", file, text) : fmt::format("{}:{}: {}", file, line, text);
}

void tell_findings(const OpenTable& input) {
    tell_chosen(input, [](Kind) { return true; });
}

void tell_why_it_ended(const OpenTable& input) { tell_chosen(input, ended_the_load); }

std::unique_ptr<OpenTable> read_table(const InputChoice& choice) {
    auto input = std::make_unique<OpenTable>();
    const bool piped = is_standard_stream(choice.file);
    if (!piped && !choice.format.empty()) {
        tell("{}: --from is for standard input: the name of a file says what it holds", choice.file);
        return nullptr;
    }
    input->name = piped ? "(standard input)" : choice.file;
    input->path = piped ? "" : choice.file;
    input->comma_separated = piped ? choice.format == "csv" : names_csv(choice.file);
    if (!(piped ? read_standard_input(*input) : could_load(*input, input->path))) return nullptr;
    take_tags(input->table);
    return input;
}

std::unique_ptr<OpenTable> open_table(const InputChoice& choice) {
    std::unique_ptr<OpenTable> input = read_table(choice);
    if (!input) return nullptr;
    tell_why_it_ended(*input);
    if (!input->valid()) return nullptr;
    return input;
}

}  // namespace tool
