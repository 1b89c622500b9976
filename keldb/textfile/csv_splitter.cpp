#include "keldb/textfile/csv_splitter.h"

namespace kel {

bool split_csv_line(std::string_view line, std::vector<std::string_view>& pieces) {
    pieces.clear();
    bool inside = false;
    std::size_t start = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"' && (i == 0 || line[i - 1] != '\\')) inside = !inside;
        if (line[i] != ',' || inside) continue;
        if (i != 0 || line.size() == 1) pieces.push_back(line.substr(start, i - start));
        start = i + 1;
    }
    if (start < line.size() || line.empty()) pieces.push_back(line.substr(start));
    return inside;
}

}  // namespace kel
