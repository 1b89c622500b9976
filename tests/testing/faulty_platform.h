// A platform service, in place while it lives, whose n-th file operation fails as a broken disk, a full one or a dying
// machine would fail it. A sweep raises n until `struck()` stays false: then the work has been done once without a
// fault.
#ifndef KELDB_TESTS_TESTING_FAULTY_PLATFORM_H
#define KELDB_TESTS_TESTING_FAULTY_PLATFORM_H

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "keldb/support/platform.h"

namespace testing_kit {

struct Fault {
    enum Kind {
        kError,  // returns -1 with `value` in errno, nothing done; a close has closed all the same
        kPart,   // a read or write moves `value` bytes at most; other operations work
        kDie,    // the process ends there and then
    } kind = kError;
    int value = EIO;
};

// Exit status of a process that a kDie fault ended.
constexpr int kDied = 77;

class FaultyPlatform : public PlatformService {
    using Base = PlatformService;

public:
    static constexpr long kEvery = -1;  // a place: each operation has the fault

    explicit FaultyPlatform(Fault fault, long at = 0) : fault_(fault), at_(at), before_(setOS(this)) {}
    ~FaultyPlatform() override { setOS(before_); }
    FaultyPlatform(const FaultyPlatform&) = delete;
    FaultyPlatform& operator=(const FaultyPlatform&) = delete;

    bool struck() const { return at_ < static_cast<long>(log_.size()); }
    const std::vector<std::string>& log() const { return log_; }  // names of the operations so far, in order
    std::string struck_operation() const { return struck() ? log_[static_cast<std::size_t>(at_)] : "nothing"; }

    int open(const char* p, int flags, mode_t mode) override { return fails("open") ? -1 : Base::open(p, flags, mode); }
    ssize_t read(int file, void* to, std::size_t n) override {
        return fails("read") ? -1 : Base::read(file, to, part_of(n));
    }
    ssize_t write(int file, const void* from, std::size_t n) override {
        return fails("write") ? -1 : Base::write(file, from, part_of(n));
    }
    int sync(int file) override { return fails("sync") ? -1 : Base::sync(file); }
    int close(int file) override {
        const int result = Base::close(file);
        return fails("close") ? -1 : result;
    }
    int stat(const char* path, struct ::stat* out) override { return fails("stat") ? -1 : Base::stat(path, out); }
    int fileStat(int file, struct ::stat* out) override { return fails("fileStat") ? -1 : Base::fileStat(file, out); }
    int changeMode(int file, mode_t mode) override { return fails("changeMode") ? -1 : Base::changeMode(file, mode); }
    int changeOwner(int file, uid_t owner, gid_t group) override {
        return fails("changeOwner") ? -1 : Base::changeOwner(file, owner, group);
    }
    int access(const char* path, int how) override { return fails("access") ? -1 : Base::access(path, how); }
    int rename(const char* from, const char* to) override { return fails("rename") ? -1 : Base::rename(from, to); }
    int unlink(const char* path) override { return fails("unlink") ? -1 : Base::unlink(path); }
    ssize_t readLink(const char* path, char* buffer, std::size_t bytes) override {
        return fails("readLink") ? -1 : Base::readLink(path, buffer, bytes);
    }

private:
    bool fails(const char* operation) {
        log_.push_back(operation);
        if (is_now() && fault_.kind == Fault::kDie) ::_exit(kDied);
        if (!is_now() || fault_.kind != Fault::kError) return false;
        errno = fault_.value;
        return true;
    }
    bool is_now() const { return at_ == kEvery || at_ + 1 == static_cast<long>(log_.size()); }
    std::size_t part_of(std::size_t bytes) const {
        return is_now() && fault_.kind == Fault::kPart ? std::min(bytes, static_cast<std::size_t>(fault_.value))
                                                       : bytes;
    }

    Fault fault_;
    long at_;
    PlatformService* before_;
    std::vector<std::string> log_;
};

}  // namespace testing_kit

#endif
