// The platform service object. Every operation on a file goes through OS(), and so does the memory of shared texts
// (String) and of the arrays of records. All other memory comes from the global operators, and the log writes to
// standard error by itself.
//
// A host (or a test that wants the n-th operation to fail) derives from PlatformService and puts its object in place
// with setOS; the object must outlive its use, and a block is freed through the same kind of memory that gave it. The
// file operations mean what the POSIX calls of these names mean: they return -1 and set errno on failure, are called
// with paths in bytes, and are never retried here; who calls them continues short writes and interrupted calls.
#ifndef KELDB_SUPPORT_PLATFORM_H
#define KELDB_SUPPORT_PLATFORM_H

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

#include "keldb/support/bad_alloc.h"
#include "keldb/support/export.h"
#include "keldb/support/wstring.h"

class KELDB_API PlatformService {
public:
    virtual ~PlatformService() = default;

    // Gives `block` (null for a new one) a size of `bytes` (at least 1), keeping its contents; the block may move.
    // Raises Qv::Exception::BadAlloc and leaves `block` as it was when there is no memory.
    virtual void* reallocate(void* block, std::size_t bytes);
    virtual void free(void* block) noexcept;  // null is ignored

    virtual int open(const char* path, int flags, mode_t mode);
    virtual ssize_t read(int file, void* buffer, std::size_t bytes);
    virtual ssize_t write(int file, const void* buffer, std::size_t bytes);
    virtual int sync(int file);  // fsync
    virtual int close(int file);
    virtual int stat(const char* path, struct ::stat* out);  // follows links
    virtual int fileStat(int file, struct ::stat* out);
    virtual int changeMode(int file, mode_t mode);
    virtual int changeOwner(int file, uid_t owner, gid_t group);  // -1 leaves that one as it is
    virtual int access(const char* path, int how);
    virtual int rename(const char* from, const char* to);
    virtual int unlink(const char* path);
    virtual ssize_t readLink(const char* path, char* buffer, std::size_t bytes);

    // Removes the file at `path`; moves the file `from` to `to`, replacing what stands there (flags is 0 in every
    // call). True on success.
    bool remove(const WString& path);
    bool move(const WString& from, const WString& to, unsigned flags);

    // The counts of shared texts and of reference-counted objects: plain arithmetic while the process has one thread,
    // atomic once it has more. `release` returns true for the last holder.
    static void addHolder(int& holders) noexcept;
    static bool releaseHolder(int& holders) noexcept;
};

// The object in use; never null.
KELDB_API PlatformService& OS() noexcept;
// Puts another object in place and returns the one before; null puts the built-in one back.
KELDB_API PlatformService* setOS(PlatformService* service) noexcept;

#endif
