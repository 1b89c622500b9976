#include "standard_input.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "messages.h"

namespace tool {
namespace {

bool write_all(int file, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(file, bytes, count);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

bool copy_to(int file) {
    std::array<char, 1 << 16> piece{};
    for (;;) {
        const ssize_t got = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (got == 0) return true;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 || !write_all(file, piece.data(), static_cast<std::size_t>(got))) return false;
    }
}

}  // namespace

StandardInputCopy::StandardInputCopy(const std::string& ending) {
    std::error_code unusable;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(unusable);
    path_ = (unusable ? "/tmp" : folder.string()) + "/keldb-XXXXXX" + ending;
    const int file = ::mkstemps(path_.data(), static_cast<int>(ending.size()));
    ok_ = file >= 0 && copy_to(file);
    const int error = errno;
    if (file < 0) path_.clear();
    if (file >= 0) ::close(file);
    if (!ok_) tell("(standard input): {}", std::strerror(error));
}

StandardInputCopy::~StandardInputCopy() {
    if (!path_.empty()) ::unlink(path_.c_str());
}

}  // namespace tool
