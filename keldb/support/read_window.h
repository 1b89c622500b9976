// ReadWindow: the lines of a file, one after the other, through a window of memory that holds a small part of it.
//
// The lines are those that TextFile::load would give. A line longer than the window makes it grow. Reading stops at the
// first error, which looks like the end of the file until failed() is asked.
#ifndef KELDB_SUPPORT_READ_WINDOW_H
#define KELDB_SUPPORT_READ_WINDOW_H

#include <cstddef>
#include <memory>
#include <string_view>

namespace kel {

class ReadWindow {
public:
    static constexpr std::size_t kBytes = std::size_t{1} << 20;

    explicit ReadWindow(const char* path);  // reads the first part
    ReadWindow(const ReadWindow&) = delete;
    ReadWindow& operator=(const ReadWindow&) = delete;
    ~ReadWindow();

    bool failed() const noexcept { return failed_; }
    bool at_end();
    // Lives until the next call of next_line or at_end. Raises std::bad_alloc when the window cannot grow; the line is
    // still the next one then.
    std::string_view next_line();

private:
    bool fill();  // reads more behind what is there; false at the end of the file
    void make_room();

    std::unique_ptr<char[]> bytes_;
    std::size_t room_ = 0;
    std::size_t begin_ = 0;  // of what has not been given out yet
    std::size_t end_ = 0;
    int file_ = -1;
    bool ended_ = false;
    bool failed_ = false;
};

}  // namespace kel

#endif
