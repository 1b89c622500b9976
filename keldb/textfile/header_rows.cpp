#include "keldb/textfile/header_rows.h"

namespace kel {

void append_item(std::string& row, std::string_view text) {
    if (!row.empty()) row.push_back(',');
    row.append(1, '"').append(text).append(1, '"');
}

}  // namespace kel
