// JSON texts as RFC 8259 writes them.
#ifndef KELDB_TOOLS_JSON_TEXT_H
#define KELDB_TOOLS_JSON_TEXT_H

#include <string>
#include <string_view>

namespace tool {

// Appends the text between double quotes. JSON is UTF-8: each byte of `text` that is not becomes the replacement
// character U+FFFD, and the result is false.
bool append_json_text(std::string& out, std::string_view text);

std::string json_text(std::string_view text);

}  // namespace tool

#endif
