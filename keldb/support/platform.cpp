#include "keldb/support/platform.h"

#include <fcntl.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "keldb/support/string.h"

void* PlatformService::reallocate(void* block, std::size_t bytes) {
    void* moved = std::realloc(block, bytes);
    if (!moved) {
        throw Qv::Exception::BadAlloc();
    }
    return moved;
}

void PlatformService::free(void* block) noexcept { std::free(block); }

int PlatformService::open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
ssize_t PlatformService::read(int file, void* buffer, std::size_t bytes) { return ::read(file, buffer, bytes); }
ssize_t PlatformService::write(int file, const void* buffer, std::size_t bytes) { return ::write(file, buffer, bytes); }
int PlatformService::sync(int file) { return ::fsync(file); }
int PlatformService::close(int file) { return ::close(file); }
int PlatformService::stat(const char* path, struct ::stat* out) { return ::stat(path, out); }
int PlatformService::fileStat(int file, struct ::stat* out) { return ::fstat(file, out); }
int PlatformService::changeMode(int file, mode_t mode) { return ::fchmod(file, mode); }
int PlatformService::changeOwner(int file, uid_t owner, gid_t group) { return ::fchown(file, owner, group); }
int PlatformService::access(const char* path, int how) { return ::access(path, how); }
int PlatformService::rename(const char* from, const char* to) { return ::rename(from, to); }
int PlatformService::unlink(const char* path) { return ::unlink(path); }
ssize_t PlatformService::readLink(const char* path, char* buffer, std::size_t bytes) {
    return ::readlink(path, buffer, bytes);
}

namespace {
// A name with a zero byte inside would reach the system cut short, and mean another file.
bool is_path(const String& bytes) { return !bytes.empty() && bytes.view().find('\0') == std::string_view::npos; }
}  // namespace

bool PlatformService::remove(const WString& path) {
    const String bytes = toUTF8(path);
    return is_path(bytes) && unlink(bytes.c_str()) == 0;
}

bool PlatformService::move(const WString& from, const WString& to, unsigned /*flags*/) {
    const String old_name = toUTF8(from);
    const String new_name = toUTF8(to);
    return is_path(old_name) && is_path(new_name) && rename(old_name.c_str(), new_name.c_str()) == 0;
}

void PlatformService::addHolder(int& holders) noexcept {
    if (__libc_single_threaded) {
        ++holders;
    } else {
        __atomic_fetch_add(&holders, 1, __ATOMIC_RELAXED);
    }
}

bool PlatformService::releaseHolder(int& holders) noexcept {
    if (__libc_single_threaded) {
        return --holders == 0;
    }
    return __atomic_fetch_sub(&holders, 1, __ATOMIC_ACQ_REL) == 1;
}

namespace {

// Null stands for the built-in object, which needs no set-up before main and is never destroyed.
constinit std::atomic<PlatformService*> replacement{nullptr};

PlatformService& built_in() noexcept {
    alignas(PlatformService) static std::byte place[sizeof(PlatformService)];
    static PlatformService* const service = ::new (place) PlatformService;
    return *service;
}

}  // namespace

PlatformService& OS() noexcept {
    PlatformService* service = replacement.load(std::memory_order_acquire);
    return service ? *service : built_in();
}

PlatformService* setOS(PlatformService* service) noexcept {
    PlatformService* before = replacement.exchange(service, std::memory_order_acq_rel);
    return before ? before : &built_in();
}
