#include "keldb/support/text_file.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "keldb/support/atomic_file.h"
#include "keldb/support/byte_order_mark.h"
#include "keldb/support/huge_pages.h"
#include "keldb/support/platform.h"
#include "keldb/support/read_window.h"

namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;
constexpr std::size_t kMostReserved = std::size_t{1} << 30;  // a size is a hint; beyond this the text grows as it comes

struct OpenFile {
    explicit OpenFile(const char* path) {
        do {
            descriptor = OS().open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY, 0);
        } while (descriptor < 0 && errno == EINTR);
    }
    ~OpenFile() {
        if (descriptor >= 0) {
            OS().close(descriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int descriptor = -1;
};

std::size_t expected_size(int file) {
    struct ::stat about {};
    const bool known = OS().fileStat(file, &about) == 0 && S_ISREG(about.st_mode) && about.st_size > 0;
    return known ? std::min(static_cast<std::size_t>(about.st_size), kMostReserved) : 0;
}

std::unique_ptr<kel::AtomicFile> atomic_file(const WString& path, const WString& mode_like) {
    const String name = toUTF8(path), like = toUTF8(mode_like);
    return std::make_unique<kel::AtomicFile>(std::string(name.view()), std::string(like.view()));
}

// Takes out each CR that stands before a LF, in place. The first `clean` bytes hold no CR.
void join_line_ends(kel::ByteBuffer& text, std::size_t clean) {
    if (clean == text.size()) return;
    char* const end = text.data() + text.size();
    auto* from = static_cast<char*>(std::memchr(text.data() + clean, '\r', text.size() - clean));
    char* to = from;
    while (from && from != end) {
        const bool dropped = from + 1 != end && from[1] == '\n';
        from += dropped ? 1 : 0;
        auto* next = static_cast<char*>(std::memchr(from + 1, '\r', static_cast<std::size_t>(end - from - 1)));
        const auto length = static_cast<std::size_t>((next ? next : end) - from);
        std::memmove(to, from, length);
        to += length;
        from = next;
    }
    if (to) {
        text.truncate(static_cast<std::size_t>(to - text.data()));
    }
}

}  // namespace

TextFile::TextFile() noexcept = default;
TextFile::TextFile(TextFile&&) noexcept = default;
TextFile& TextFile::operator=(TextFile&&) noexcept = default;
TextFile::~TextFile() = default;

TextFile TextFile::fromBytes(std::string_view bytes) {
    TextFile file;
    file.text_.append(bytes);
    file.tidy(0);
    return file;
}

bool TextFile::load(const WString& path, char /*separator*/, bool /*reserved*/) {
    *this = TextFile();
    const String name = toUTF8(path);
    if (name.view().find('\0') != std::string_view::npos) {
        return false;
    }
    TextFile loaded;
    const OpenFile file(name.c_str());
    if (file.descriptor < 0 || !loaded.read_all(file.descriptor)) {
        return false;
    }
    *this = std::move(loaded);
    return true;
}

bool TextFile::loadLineByLine(const WString& path) {
    *this = TextFile();
    const String name = toUTF8(path);
    if (name.view().find('\0') != std::string_view::npos) {
        return false;
    }
    window_ = std::make_unique<kel::ReadWindow>(name.c_str());
    if (window_->failed()) {
        window_.reset();
    }
    return window_ != nullptr;
}

bool TextFile::readFailed() const noexcept { return window_ && window_->failed(); }

bool TextFile::window_at_end() { return window_->at_end(); }

// Each piece is searched for a CR while it is at hand: most files have none and need no second pass.
bool TextFile::read_all(int file) {
    const std::size_t expected = expected_size(file);
    kel::prefer_huge_pages(text_.room(expected + kPiece), expected);
    std::size_t clean = 0;
    ssize_t got = 1;
    while (got != 0) {
        char* const piece = text_.room(kPiece);
        got = OS().read(file, piece, kPiece);
        if (got < 0 && errno != EINTR) {
            return false;
        }
        const std::size_t bytes = got > 0 ? static_cast<std::size_t>(got) : 0;
        clean += clean == text_.size() && !std::memchr(piece, '\r', bytes) ? bytes : 0;
        text_.take(bytes);
    }
    tidy(clean);
    return true;
}

// Makes bytes as they come from a file into lines.
void TextFile::tidy(std::size_t clean) {
    join_line_ends(text_, clean);
    if (text_.view().starts_with(kel::kByteOrderMark)) {
        const std::size_t left = text_.size() - kel::kByteOrderMark.size();
        std::memmove(text_.data(), text_.data() + kel::kByteOrderMark.size(), left);
        text_.truncate(left);
    }
    if (!text_.view().empty() && text_.view().back() != '\n') {
        text_.append("\n");
    }
}

void TextFile::index_lines() const {
    std::size_t start = ends_.empty() ? 0 : ends_.back();
    while (start < text_.size()) {
        const std::size_t end = text_.view().find('\n', start);
        if (end == std::string::npos) {
            return;  // a line that is still open
        }
        start = end + 1;
        ends_.push_back(start);
    }
}

std::size_t TextFile::numLines() const {
    index_lines();
    return ends_.size();
}

std::string_view TextFile::line(std::size_t line) const {
    index_lines();
    if (line >= ends_.size()) {
        return {};
    }
    const std::size_t start = line ? ends_[line - 1] : 0;
    return text_.view().substr(start, ends_[line] - 1 - start);
}

String TextFile::operator[](std::size_t line) const { return String(this->line(line)); }

std::string_view TextFile::nextLine() {
    if (atEnd()) {
        return {};
    }
    if (window_) {
        const std::string_view line = window_->next_line();
        ++nextNumber_;
        return line;
    }
    const std::string_view rest = text_.view().substr(next_);
    const std::string_view line = rest.substr(0, rest.find('\n'));
    next_ += std::min(line.size() + 1, rest.size());
    ++nextNumber_;
    return line;
}

void TextFile::appendLine(std::string_view line) {
    const std::size_t before = text_.size();
    text_.append(line);
    try {
        text_.append("\n");
    } catch (...) {
        text_.truncate(before);
        throw;
    }
    hand_down_pieces();
}

char* TextFile::startLine(std::size_t bytes) { return text_.room(bytes + 1); }

void TextFile::finishLine(char* end) {
    *end++ = '\n';
    text_.take(static_cast<std::size_t>(end - text_.data()) - text_.size());
    hand_down_pieces();
}

bool TextFile::save(const WString& path, int /*style*/) const { return saveLike(path, WString()); }

bool TextFile::saveLike(const WString& path, const WString& modeLike) const {
    const std::unique_ptr<kel::AtomicFile> file = atomic_file(path, modeLike);
    return file->open() && file->write(text_.view()) && file->commit();
}

// What cannot be opened or written is remembered by the file itself, which takes no more then.
void TextFile::startSaving(const WString& path, const WString& modeLike) {
    saving_ = atomic_file(path, modeLike);
    saving_->open();
}

void TextFile::hand_down_pieces() {
    if (!saving_ || text_.size() < kPieceBytes) return;
    saving_->write(text_.view());
    text_.clear();
    ends_.clear();
    next_ = nextNumber_ = 0;
}

bool TextFile::finishSaving() {
    const std::unique_ptr<kel::AtomicFile> file = std::move(saving_);
    return file && file->write(text_.view()) && file->commit();
}
