#include "keldb/support/atomic_file.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

#include "keldb/support/log.h"
#include "keldb/support/platform.h"

namespace kel {

namespace {

constexpr int kMostLinks = 40;  // as many as the kernel follows
constexpr int kMostNames = 100;
constexpr std::size_t kSuffix = 14;  // ".XXXXXXXX.part"

bool is_interrupted(ssize_t result) { return result < 0 && errno == EINTR; }

// Length of the path up to and with its last '/'; 0 when there is none.
std::size_t folder_length(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

// Most likely another number at every call and in every process. O_EXCL makes names safe, this only makes them quick.
std::uint32_t next_mark() {
    static constinit std::atomic<std::uint32_t> calls{0};
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const auto process = static_cast<std::uint32_t>(::getpid());
    return static_cast<std::uint32_t>(now.tv_nsec) ^ process << 12 ^ calls.fetch_add(1) << 24;
}

// The part of a name that leaves room for the rest of a temporary's name, never ending inside a UTF-8 sequence.
std::string_view shortened(std::string_view name) {
    std::size_t length = NAME_MAX - 1 - kSuffix;
    if (name.size() <= length) {
        return name;
    }
    while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) {
        --length;
    }
    return name.substr(0, length);
}

std::string temporary_name(const std::string& folder, std::string_view name) {
    constexpr char kHex[] = "0123456789abcdef";
    std::string path = folder;
    path.append(".").append(shortened(name)).append(".");
    std::uint32_t mark = next_mark();
    for (int i = 0; i < 8; ++i, mark >>= 4) {
        path.push_back(kHex[mark & 15]);
    }
    return path.append(".part");
}

int open_uninterrupted(const char* path, int flags, mode_t mode) {
    int file = -1;
    do {
        file = OS().open(path, flags | O_CLOEXEC | O_NOCTTY, mode);
    } while (is_interrupted(file));
    return file;
}

// A failing flush may have dropped the bytes, and the next one would then succeed: only an interrupted one is repeated.
int sync_uninterrupted(int file) {
    int result = 0;
    do {
        result = OS().sync(file);
    } while (is_interrupted(result));
    return result;
}

}  // namespace

AtomicFile::AtomicFile(std::string target, std::string like) : target_(std::move(target)), like_(std::move(like)) {}

AtomicFile::~AtomicFile() {
    if (file_ >= 0) {
        OS().close(file_);
    }
    if (!temporary_.empty()) {
        OS().unlink(temporary_.c_str());
    }
}

bool AtomicFile::fail() { return fail(errno); }

bool AtomicFile::fail(int code) {
    if (error_ == 0) {
        error_ = code ? code : EIO;
    }
    return false;
}

bool AtomicFile::open() {
    if (error_ != 0 || file_ >= 0) {
        return fail(EBUSY);
    }
    if (target_.find('\0') != std::string::npos) {
        return fail(EINVAL);
    }
    if (!inspect_target()) {
        return false;
    }
    if (straight_) {
        return open_straight();
    }
    return look_at_model() && open_temporary();
}

// What stands at the target, links followed. A device is left under the name it was given by: what a link such as
// /dev/stdout says need not be a path.
bool AtomicFile::inspect_target() {
    const bool stands = OS().stat(target_.c_str(), &old_) == 0;
    if (!stands && errno != ENOENT) {
        return fail();
    }
    if (stands && S_ISDIR(old_.st_mode)) {
        return fail(EISDIR);
    }
    straight_ = stands && !S_ISREG(old_.st_mode);
    if (straight_) {
        return true;
    }
    if (!resolve_links() || !split_target()) {
        return false;
    }
    takes_mode_ = stands;
    if (!stands) {
        return true;
    }
    struct ::stat resolved {};
    if (OS().stat(target_.c_str(), &resolved) != 0) {
        return fail();
    }
    if (resolved.st_dev != old_.st_dev || resolved.st_ino != old_.st_ino) {
        return fail(ESTALE);
    }
    return OS().access(target_.c_str(), W_OK) == 0 || fail();
}

// A model that stands and cannot be looked at is a failure: the new file would be more open than it.
bool AtomicFile::look_at_model() {
    if (like_.empty()) {
        return true;
    }
    struct ::stat model {};
    if (OS().stat(like_.c_str(), &model) != 0) {
        return errno == ENOENT || fail();
    }
    old_ = model;
    takes_mode_ = true;
    return true;
}

bool AtomicFile::resolve_links() {
    for (int links = 0; links < kMostLinks; ++links) {
        char link[PATH_MAX];
        const ssize_t length = OS().readLink(target_.c_str(), link, sizeof link);
        if (length < 0) {
            return errno == EINVAL || errno == ENOENT || fail();  // no link; nothing there yet
        }
        if (static_cast<std::size_t>(length) == sizeof link) {
            return fail(ENAMETOOLONG);
        }
        const std::string_view to(link, static_cast<std::size_t>(length));
        target_.resize(to.starts_with('/') ? 0 : folder_length(target_));
        target_ += to;
    }
    return fail(ELOOP);
}

bool AtomicFile::split_target() {
    const std::size_t length = folder_length(target_);
    const std::string_view name = std::string_view(target_).substr(length);
    folder_ = length ? target_.substr(0, length) : "./";
    return !target_.empty() ? (!name.empty() && name != "." && name != "..") || fail(EISDIR) : fail(ENOENT);
}

// A temporary that will take the old file's mode starts closed to everyone else; a new file starts as the umask says.
bool AtomicFile::open_temporary() {
    const std::string_view name = std::string_view(target_).substr(folder_length(target_));
    const mode_t mode = takes_mode_ ? 0600 : 0666;
    for (int tries = 0; tries < kMostNames; ++tries) {
        std::string path = temporary_name(folder_, name);
        file_ = open_uninterrupted(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
        if (file_ >= 0) {
            temporary_ = std::move(path);
            return true;
        }
        if (errno != EEXIST) {
            return fail();
        }
    }
    return fail(EEXIST);
}

bool AtomicFile::open_straight() {
    file_ = open_uninterrupted(target_.c_str(), O_WRONLY, 0);
    return file_ >= 0 || fail();
}

bool AtomicFile::write(std::string_view bytes) {
    if (error_ != 0 || file_ < 0) {
        return fail(EBADF);
    }
    while (!bytes.empty()) {
        const ssize_t written = OS().write(file_, bytes.data(), bytes.size());
        if (is_interrupted(written)) {
            continue;
        }
        if (written <= 0) {
            return written < 0 ? fail() : fail(EIO);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool AtomicFile::commit() {
    if (error_ != 0 || file_ < 0) {
        return fail(EBADF);
    }
    if (straight_) {
        return close_file();
    }
    if (!match_owner_and_mode()) {
        return false;
    }
    if (sync_uninterrupted(file_) != 0) {
        return fail();
    }
    if (!close_file()) {
        return false;
    }
    if (OS().rename(temporary_.c_str(), target_.c_str()) != 0) {
        return fail();
    }
    temporary_.clear();
    flush_folder();
    return true;
}

// The old file's owner and group are kept where the system allows it, so that the others of a shared folder can go on
// working. Where the group cannot be kept, the new one gets no more than everybody had.
bool AtomicFile::match_owner_and_mode() {
    if (!takes_mode_) {
        return true;
    }
    mode_t mode = old_.st_mode & 0777;
    constexpr auto kSame = static_cast<uid_t>(-1);
    if (OS().changeOwner(file_, old_.st_uid, old_.st_gid) != 0 && OS().changeOwner(file_, kSame, old_.st_gid) != 0) {
        mode &= ~static_cast<mode_t>(070) | (mode & 07) << 3;
    }
    return OS().changeMode(file_, mode) == 0 || fail();
}

// The descriptor is gone whatever close says, so it is never closed twice.
bool AtomicFile::close_file() {
    const int file = file_;
    file_ = -1;
    return OS().close(file) == 0 || fail();
}

// The new file stands; that its name reaches the disk is all that is at stake.
void AtomicFile::flush_folder() noexcept {
    const int folder = open_uninterrupted(folder_.c_str(), O_RDONLY | O_DIRECTORY, 0);
    bool flushed = folder >= 0 && (sync_uninterrupted(folder) == 0 || errno == EINVAL);  // EINVAL: needs no flush
    const int error = errno;
    if (folder >= 0) {
        OS().close(folder);
    }
    if (!flushed) {
        LogPrint("%s: the folder could not be flushed to the disk: error %d", folder_.c_str(), error);
    }
}

}  // namespace kel
