// Tables as one line of text, so that a test states one and compares one in a single place:
//
//     Name:a Start~time:t | one,10:00:00:00 | *two,
//
// First the fields, separated by blanks: a name (~ stands for a blank in it), a colon and the type code. Then the
// records, each behind a bar: values separated by commas, missing ones empty; a * in front means tagged (with 1).
// Blanks around a record do not count; a line feed inside a value is shown as \n, and no value can hold a comma or a
// bar.
#ifndef KELDB_TESTS_TESTING_TABLE_TEXT_H
#define KELDB_TESTS_TESTING_TABLE_TEXT_H

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "keldb/support/ascii.h"
#include "keldb/table/keldb.h"

namespace testing_kit {

inline std::vector<std::string> pieces(std::string_view text, char separator = '|') {
    std::vector<std::string> found;
    for (;;) {
        const std::size_t end = text.find(separator);
        found.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) return found;
        text.remove_prefix(end + 1);
    }
}

// Appends the record of that text to the table.
inline void add_record(keldb& table, std::string_view text) {
    text = kel::skip_trailing_space(kel::skip_leading_space(text));
    const auto row = static_cast<unsigned>(table.add_records(1));
    if (text.starts_with('*')) {
        table.set_tag(row, 1);
        text.remove_prefix(1);
    }
    unsigned field = 0;
    for (const std::string& value : pieces(text, ',')) table.setField(row, field++, String(value));
}

// A table of that text, with all changed flags clear and no parameters.
inline keldb table_of(std::string_view text) {
    const std::vector<std::string> parts = pieces(text, '|');
    std::vector<DBFieldDesc> fields;
    for (std::string& field : pieces(parts[0], ' ')) {
        if (field.size() < 2) continue;
        const auto type = static_cast<DBFieldTypes::eType>(static_cast<unsigned char>(field.back()));
        field.erase(field.size() - 2);
        std::replace(field.begin(), field.end(), '~', ' ');
        fields.push_back({String(field), type});
    }
    keldb table(fields);
    for (std::size_t i = 1; i < parts.size(); ++i) add_record(table, parts[i]);
    table.clear_changed();
    return table;
}

inline std::string text_of(const dbrecord& record) {
    std::string text = record.get_tag() != 0 ? "*" : "";
    for (unsigned i = 0; i < record.get_num_fields(); ++i) {
        if (i != 0) text += ',';
        for (const char c : record.field_text(i)) text += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return text;
}

// The text of the table's shown records, of a table or a view.
inline std::string text_of(ODBBase& table) {
    std::string text;
    for (unsigned i = 0; i < table.get_num_fields(); ++i) {
        std::string name = table.get_fieldname(i);
        std::replace(name.begin(), name.end(), ' ', '~');
        text += (i == 0 ? "" : " ") + name + ':' + static_cast<char>(table.get_field_type(i));
    }
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        const dbrecord* record = table.get_record(row);
        text += " | " + (record ? text_of(*record) : "(none)");
    }
    return std::string(kel::skip_trailing_space(text));
}

}  // namespace testing_kit

#endif
