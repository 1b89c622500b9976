#include "output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "keldb/support/wstring.h"
#include "messages.h"

namespace tool {

void write_standard_output(std::string_view bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }

void print(std::string_view line) { write_standard_output(std::string(line) + '\n'); }

void StandardOutput::hand_on() {
    write_standard_output(text_);
    text_.clear();
}

void StandardOutput::end_line() {
    constexpr std::size_t kLargePiece = 1U << 16U;
    text_.push_back('\n');
    if (text_.size() >= kLargePiece) hand_on();
}

bool save_file(const TextFile& file, const std::string& path) {
    errno = 0;
    if (file.save(fromUTF8(String(path)), 1)) return true;
    tell_unwritten(path, errno);
    return false;
}

void tell_unwritten(const std::string& path, int error) {
    std::error_code none;
    const bool folder = std::filesystem::is_directory(path, none);
    const int reason = error == 0 && folder ? EISDIR : error;
    tell("{}: cannot be written{}{}", path, reason != 0 ? ": " : "", reason != 0 ? std::strerror(reason) : "");
}

}  // namespace tool
