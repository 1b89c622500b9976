// TextFile: a list of text lines, read from a file or built up to be written to one.
//
// Lines are bytes without their line end. Reading accepts LF and CR LF ends (also mixed), drops a UTF-8 byte-order mark
// at the very start, and takes a final line end as the end of the last line, not as the start of an empty one. Writing
// ends every line with one LF.
//
// Texts returned as std::string_view point into the file's own memory: they live until it is loaded, appended to or
// destroyed. Allocation failure raises std::bad_alloc and leaves the lines as they were; in `load`, empty.
#ifndef KELDB_SUPPORT_TEXT_FILE_H
#define KELDB_SUPPORT_TEXT_FILE_H

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "keldb/support/byte_buffer.h"
#include "keldb/support/export.h"
#include "keldb/support/string.h"
#include "keldb/support/wstring.h"

namespace kel {
class AtomicFile;
class ReadWindow;
}  // namespace kel

class KELDB_API TextFile {
public:
    TextFile() noexcept;
    TextFile(TextFile&&) noexcept;
    TextFile& operator=(TextFile&&) noexcept;
    ~TextFile();
    static TextFile fromBytes(std::string_view bytes);  // the lines that a file of these bytes would load as

    // Replaces the lines by those of the file and goes to the first. `separator` is '\n' and the last argument false in
    // every call. False, and no lines, when the file cannot be read: missing, a directory, not permitted, or a failing
    // read half-way. Pipes and devices are read to their end.
    bool load(const WString& path, char separator, bool reserved);

    // The same for who reads the lines once and in order: only nextLine, getLine, atEnd and lineNumber give them, and
    // the file is held a small part at a time. A line lives until the next one is asked for, or atEnd. A read that
    // fails half-way looks like the end of the file; then readFailed() is true.
    bool loadLineByLine(const WString& path);
    bool readFailed() const noexcept;

    std::size_t numLines() const;
    String operator[](std::size_t line) const;      // empty past the last
    std::string_view line(std::size_t line) const;  // the same without a copy
    std::string_view nextLine();                    // the next line, advancing; empty at the end
    String getLine() { return String(nextLine()); }
    bool atEnd() { return window_ ? window_at_end() : next_ >= text_.size(); }
    std::size_t lineNumber() const noexcept { return nextNumber_; }  // 0-based number of the line nextLine gives next

    void appendLine(std::string_view line);  // a LF inside it ends a line there
    // The same for a line that is formed in place: where to write it, with `bytes` of room; and once that is done, the
    // place behind its last byte.
    char* startLine(std::size_t bytes);
    void finishLine(char* end);

    // Writes all lines to the file, each ended by LF. `style` is 1 in every call. True on success.
    //
    // A regular file, or a name where nothing stands, is written atomically: into a hidden temporary beside the target,
    // flushed to the disk, given the mode of the file it replaces (and its owner and group where the system allows it;
    // a group that cannot be kept gets no more than everybody had), and renamed over it; then the folder is flushed. At
    // every instant the old or the new file stands there complete. On failure (a target that may not be written, a
    // folder that takes no temporary, a full disk) the old file is whole, no temporary is left and the result is false.
    // After the rename the save has succeeded: a failing flush of the folder is only logged. Symbolic links are
    // followed and stay; of a hard-linked file this name gets the new content and the others keep the old. Pipes and
    // devices are written straight. Allocation failure raises std::bad_alloc, the old file whole, no temporary left.
    bool save(const WString& path, int style) const;
    // The same, with the mode of another file, and its owner and group, when that stands.
    bool saveLike(const WString& path, const WString& modeLike) const;

    // saveLike in two steps, for who forms many lines: between them, lines are appended, and handed down to the new
    // file in large pieces instead of being held. Lines that were handed down are lines of this object no more:
    // numbers, nextLine and bytes() begin anew with those that are still held. Returns what save returns.
    void startSaving(const WString& path, const WString& modeLike);
    bool finishSaving();

    std::string_view bytes() const noexcept { return text_.view(); }  // every line held, with its LF

private:
    static constexpr std::size_t kPieceBytes = std::size_t{1} << 20;

    bool window_at_end();
    void hand_down_pieces();
    bool read_all(int file);
    void tidy(std::size_t clean);
    void index_lines() const;

    kel::ByteBuffer text_;  // every line followed by LF
    std::size_t next_ = 0;  // where nextLine reads
    std::size_t nextNumber_ = 0;
    mutable std::vector<std::size_t> ends_;    // for each line, where the next one starts; made on demand
    std::unique_ptr<kel::ReadWindow> window_;  // while reading line by line
    std::unique_ptr<kel::AtomicFile> saving_;  // between startSaving and finishSaving
};

#endif
