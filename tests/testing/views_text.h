// Views as one line of text: the base row of each entry, a * behind it when the entry is tagged.
//
//     ODBView view = view_showing(table, "5 2* 9");       EXPECT_EQ(rows(*view), "5 2* 9");
//
// What a view announces is written as announcements.h says.
#ifndef KELDB_TESTS_TESTING_VIEWS_TEXT_H
#define KELDB_TESTS_TESTING_VIEWS_TEXT_H

#include <string>
#include <string_view>

#include "keldb/views/odb_view.h"
#include "tests/testing/table_text.h"

namespace testing_kit {

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
    show(*view, rows);
    return view;
}
inline ODBView subview_showing(const ODBView& base, std::string_view positions) {
    ODBView view(base, true);
    show(*view, positions);
    return view;
}

inline std::string rows(const ODBViewRep& view) {
    std::string text;
    for (int i = 0; i < view.size(); ++i)
        text += (i == 0 ? "" : " ") + std::to_string(view.recRef(i)->row) + (view.recRef(i)->tag ? "*" : "");
    return text;
}

}  // namespace testing_kit

#endif
