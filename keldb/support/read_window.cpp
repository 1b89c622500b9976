#include "keldb/support/read_window.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "keldb/support/byte_order_mark.h"
#include "keldb/support/platform.h"

namespace kel {

ReadWindow::ReadWindow(const char* path) : bytes_(std::make_unique_for_overwrite<char[]>(kBytes)), room_(kBytes) {
    do {
        file_ = OS().open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY, 0);
    } while (file_ < 0 && errno == EINTR);
    failed_ = ended_ = file_ < 0;
    while (end_ < kByteOrderMark.size() && fill()) {
    }
    if (std::string_view(bytes_.get(), end_).starts_with(kByteOrderMark)) begin_ = kByteOrderMark.size();
}

ReadWindow::~ReadWindow() {
    if (file_ >= 0) OS().close(file_);
}

void ReadWindow::make_room() {
    if (end_ < room_) return;
    const std::size_t kept = end_ - begin_;
    if (kept > room_ / 2) {
        auto larger = std::make_unique_for_overwrite<char[]>(2 * room_);
        std::memcpy(larger.get(), bytes_.get() + begin_, kept);
        bytes_ = std::move(larger);
        room_ *= 2;
    } else {
        std::memmove(bytes_.get(), bytes_.get() + begin_, kept);
    }
    begin_ = 0;
    end_ = kept;
}

bool ReadWindow::fill() {
    if (ended_) return false;
    make_room();
    ssize_t got = 0;
    do {
        got = OS().read(file_, bytes_.get() + end_, room_ - end_);
    } while (got < 0 && errno == EINTR);
    failed_ = got < 0;
    ended_ = got <= 0;
    if (got > 0) end_ += static_cast<std::size_t>(got);
    return got > 0;
}

bool ReadWindow::at_end() {
    if (begin_ < end_) return false;
    begin_ = end_ = 0;
    return !fill();
}

std::string_view ReadWindow::next_line() {
    std::size_t searched = 0;
    const void* found = nullptr;
    do {
        const char* from = bytes_.get() + begin_ + searched;
        found = std::memchr(from, '\n', end_ - begin_ - searched);
        searched = end_ - begin_;
    } while (!found && fill());
    const char* start = bytes_.get() + begin_;
    const std::size_t length =
        found ? static_cast<std::size_t>(static_cast<const char*>(found) - start) : end_ - begin_;
    begin_ += found ? length + 1 : length;
    const std::string_view line(start, length);
    return found && line.ends_with('\r') ? line.substr(0, length - 1) : line;
}

}  // namespace kel
