// Tables as one line of text, so that a test states one and compares one in a single place:
//
//     Name:a Start~time:t | one,10:00:00:00 | *two,
//
// First the fields, separated by blanks: a name (~ stands for a blank in it), a colon and the type code. Then the
// records, each behind a bar: values separated by commas, missing ones empty; a * in front means tagged (with 1).
// Blanks around a record do not count; a line feed inside a value is shown as \n, and no value can hold a comma or a
// bar.
//
// Views as one line of text: the base row of each entry, a * behind it when the entry is tagged.
//
//     ODBView view = view_showing(table, "5 2* 9");       EXPECT_EQ(rows(**view), "5 2* 9");
//
// What an announcer says, message by message; whatever nobody took by the end is a failure.
//
//     -2 3    "recordsDeleted" and its text, which ends with a blank      !     "recordsChanged" without payload
//                                                                         !a,b  the same with the identifiers a and b
#ifndef KELDB_TESTS_TESTING_NOTATION_H
#define KELDB_TESTS_TESTING_NOTATION_H

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "keldb/support/ascii.h"
#include "keldb/support/cookie.h"
#include "keldb/support/notify.h"
#include "keldb/table/deletion.h"
#include "keldb/table/keldb.h"
#include "keldb/views/odb_view.h"

namespace testing_kit {

// --- Tables ---

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

// With its parameters; the flags valid, error, changed and tags-only; and the match of the first record with the query.
inline std::string described(keldb& table) {
    std::string text = text_of(static_cast<ODBBase&>(table)) + ';';
    for (int i = 0; i < static_cast<int>(table.get_num_params()); ++i)
        text += std::string(" ") + table.get_nth_param_name(i) + '=' + table.get_nth_param_val(i);
    for (const int number :
         {table.get_valid(), table.is_error(), table.get_changed(), table.get_show_tags_only(), table.match_record(0)})
        text += ' ' + std::to_string(number);
    return text + (table.ok() ? "" : " BROKEN");
}

// --- Views ---

// A table with one field Name and that many records a, b, c, ...
inline keldb lettered_table(unsigned count) {
    std::string text = "Name:a";
    for (unsigned i = 0; i < count; ++i) text += std::string(" | ") + static_cast<char>('a' + i);
    return table_of(text);
}

// Makes the view show those rows of its base.
inline void show(ODBViewRep& view, std::string_view rows) {
    view.clear();
    for (const std::string& row : pieces(rows, ' ')) {
        if (row.empty()) continue;
        view.append(kel::read_int(row));
        view.set_tag(view.get_num_records() - 1, row.ends_with('*'));
    }
}
inline ODBView view_showing(keldb& table, std::string_view rows) {
    ODBView view(&table);
    show(**view, rows);
    return view;
}
inline ODBView subview_showing(const ODBView& base, std::string_view positions) {
    ODBView view(base, true);
    show(**view, positions);
    return view;
}

inline std::string rows(const ODBViewRep& view) {
    std::string text;
    for (int i = 0; i < view.size(); ++i)
        text += (i == 0 ? "" : " ") + std::to_string(view.recRef(i)->row) + (view.recRef(i)->tag ? "*" : "");
    return text;
}

// With its description and its parameters.
inline std::string described(ODBViewRep& view) {
    GrowString text;
    view.asString(text);
    std::string all = rows(view) + '\n' + text.c_str();
    for (const auto& entry : view.params().entries()) all += std::string(entry.key()) + '=' + entry.value() + ' ';
    return all + (view.ok() ? "" : "BROKEN");
}

// --- Announcements ---

struct Callback : NotifyCallback {
    explicit Callback(std::function<void(const NotifyMsg&)> f) : act(std::move(f)) {}
    int call(const NotifyMsg& message) override { return act(message), 0; }
    std::function<void(const NotifyMsg&)> act;
};

inline Qv::Ptr<Qv::Guard> listen(Notifier& announcer, int type, std::function<void(const NotifyMsg&)> act) {
    return announcer.registerNotification(Qv::Ptr<NotifyCallback>(new Callback(std::move(act))), type);
}

class Announcements {
public:
    explicit Announcements(Notifier& announcer) {
        for (const auto& [mark, type] :
             {std::pair('-', kel::records_deleted_type()), {'!', kel::records_changed_type()}})
            listen(announcer, type, [heard = heard_, mark = mark](const NotifyMsg& message) {
                *heard += mark + std::string(message.text().view());
                const auto* const ids = dynamic_cast<const WrappedData<CookieVec>*>(message.payload().get());
                for (std::size_t i = 0; ids && i < ids->data().size(); ++i)
                    *heard += (i == 0 ? "" : ",") + std::string(ids->data()[i].text().view());
            });
    }
    ~Announcements() { EXPECT_EQ(*heard_, "") << "announced, and not expected"; }

    std::string take() { return std::exchange(*heard_, {}); }

private:
    const std::shared_ptr<std::string> heard_ = std::make_shared<std::string>();  // listeners outlive this
};

}  // namespace testing_kit

#endif
