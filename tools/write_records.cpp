#include "write_records.h"

#include <fmt/format.h>

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "csv_text.h"
#include "json_text.h"
#include "progress.h"

namespace tool {
namespace {

template <class Text>
void write_csv_line(const std::vector<unsigned>& fields, const Text& text_of, Output& out) {
    std::string& line = out.line();
    bool first = true;
    for (const unsigned field : fields) {
        if (!first) line += ',';
        first = false;
        append_csv_value(line, text_of(field));
    }
    line += kCsvLineEnd;
    out.end_line();
}

// The field names, made different from each other, each written as a key with its colon.
std::vector<std::string> json_keys(const keldb& table, const std::vector<unsigned>& fields) {
    std::unordered_set<std::string> taken;
    std::unordered_map<std::string, std::size_t> last_number;  // all up to this one are taken for the name
    std::vector<std::string> keys;
    for (const unsigned field : fields) {
        const std::string name = table.get_fieldname(field);
        std::size_t& number = last_number.try_emplace(name, 1).first->second;
        std::string key = name;
        while (!taken.insert(key).second) key = fmt::format("{} ({})", name, ++number);
        keys.push_back(json_text(key) + ": ");
    }
    return keys;
}

std::size_t append_json_object(const dbrecord& record, const std::vector<unsigned>& fields,
                               const std::vector<std::string>& keys, std::string& line) {
    std::size_t changed = 0;
    line += '{';
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (i != 0) line += ", ";
        line += keys[i];
        if (!append_json_text(line, record.field_text(fields[i]))) ++changed;
    }
    line += '}';
    return changed;
}

}  // namespace

void write_csv(const Selection& records, const std::vector<unsigned>& fields, Output& out) {
    Progress progress("writing comma-separated lines", records.size(), !out.on_terminal());
    write_csv_line(
        fields, [&](unsigned field) { return records.table().get_fieldname(field); }, out);
    for (unsigned i = 0; i < records.size(); ++i) {
        const dbrecord& record = records.record(i);
        write_csv_line(
            fields, [&](unsigned field) { return record.field_text(field); }, out);
        progress.step();
    }
}

std::size_t write_json(const Selection& records, const std::vector<unsigned>& fields, Output& out) {
    Progress progress("writing JSON", records.size(), !out.on_terminal());
    const std::vector<std::string> keys = json_keys(records.table(), fields);
    std::size_t changed = 0;
    out.line() += '[';
    for (unsigned i = 0; i < records.size(); ++i) {
        if (i != 0) out.line() += ',';
        out.end_line();
        out.line() += "  ";
        changed += append_json_object(records.record(i), fields, keys, out.line());
        progress.step();
    }
    if (records.size() != 0) out.end_line();
    out.line() += ']';
    out.end_line();
    return changed;
}

}  // namespace tool
