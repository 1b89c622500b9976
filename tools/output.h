// Where a command's results go: standard output, or a file that is written whole at the end.
//
// Writers append a line's bytes to line() and end it with end_line().
#ifndef KELDB_TOOLS_OUTPUT_H
#define KELDB_TOOLS_OUTPUT_H

#include <string>
#include <string_view>

#include "keldb/support/text_file.h"
#include "terminal.h"

namespace tool {

class Output {
public:
    virtual ~Output() = default;
    virtual std::string& line() = 0;
    virtual void end_line() = 0;
    virtual bool on_terminal() const { return false; }  // so that progress must not be shown in between
};

// Handed on in large pieces, the last one by the destructor. main reports what could not be written.
class StandardOutput final : public Output {
public:
    ~StandardOutput() override { hand_on(); }
    std::string& line() override { return text_; }
    void end_line() override;
    bool on_terminal() const override { return terminal_width() != 0; }

private:
    void hand_on();
    std::string text_;
};

class FileOutput final : public Output {
public:
    std::string& line() override { return line_; }
    void end_line() override {
        file_.appendLine(line_);
        line_.clear();
    }
    const TextFile& file() const { return file_; }

private:
    std::string line_;
    TextFile file_;
};

void write_standard_output(std::string_view bytes);

// One line on standard output.
void print(std::string_view line);

// Writes the file atomically, as TextFile::save does. False when it fails, which was told then.
bool save_file(const TextFile& file, const std::string& path);

// Why a file could not be written, in words, from errno as the failed save left it.
void tell_unwritten(const std::string& path, int error);

}  // namespace tool

#endif
