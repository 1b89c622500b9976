#include "csv_text.h"

namespace tool {

void append_csv_value(std::string& line, std::string_view value) {
    if (value.find_first_of(",\"\r\n") == std::string_view::npos) {
        line += value;
        return;
    }
    line += '"';
    for (const char c : value) line.append(c == '"' ? 2 : 1, c);
    line += '"';
}

}  // namespace tool
