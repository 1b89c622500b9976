#include "container_check.h"

#include <map>

#include "keldb/support/ascii.h"
#include "keldb/support/cookie.h"
#include "keldb/support/paths.h"
#include "keldb/support/wstring.h"
#include "messages.h"

namespace tool {
namespace {

bool names_container(const std::string& file) {
    return kel::ends_ignoring_case(file, ".rak") || kel::ends_ignoring_case(file, ".sg");
}

int cookie_field(const OpenTable& input) { return input.table.get_fieldnum("Cookie"); }

std::string left_over(const std::string& path) { return path + ".tmp"; }
bool is_left_over(const std::string& path) { return fileExists(fromUTF8(String(left_over(path)))); }

void append_identity_findings(const OpenTable& input, std::vector<Finding>& findings) {
    const auto field = static_cast<unsigned>(cookie_field(input));
    std::map<std::string_view, std::size_t> lines;  // where each identity stood first
    for (unsigned row = 0; row < input.table.get_num_records(); ++row) {
        const std::size_t line = input.report.first_record_line + row;
        const std::string_view id = input.table[row].field_text(field);
        const auto [first, is_new] = lines.emplace(id, line);
        if (!Cookie(String(id), true).valid()) {
            findings.push_back({line, fmt::format("the identity \"{}\" is invalid: the item cannot be used", id)});
        } else if (!is_new) {
            findings.push_back({line, fmt::format("the identity \"{}\" is that of line {} too: which item is meant "
                                                  "cannot be told",
                                                  id, first->second)});
        }
    }
}

}  // namespace

bool is_container(const OpenTable& input) {
    if (input.comma_separated) return false;
    const bool marked = cookie_field(input) >= 0 && input.table.get_param_val("Permanent") != nullptr;
    return names_container(input.name) || marked;
}

std::vector<Finding> container_findings(const OpenTable& input) {
    std::vector<Finding> findings;
    if (!input.from_standard_input() && is_left_over(input.path)) {
        findings.push_back(
            {0, left_over(input.path) + " stands beside it: a save did not end; it may be the newer one"});
    }
    if (cookie_field(input) < 0) {
        findings.push_back({0, "there is no field \"Cookie\": it is not read as a container"});
    } else {
        append_identity_findings(input, findings);
    }
    return findings;
}

void tell_left_over(const std::string& path) {
    if (!names_container(path) || !is_left_over(path)) return;
    tell("{}: {} stands there: a save did not end, and the container may be in it", path, left_over(path));
}

}  // namespace tool
