// Replacing a file so that at every instant the old or the new one stands there complete.
//
// The new bytes go to a hidden temporary beside the target (.NAME.XXXXXXXX.part, cut so that any file name fits), which
// commit() flushes, gives the old file's mode, and its owner and group where the system allows it, and renames over the
// target. Until then, and on every failure, the target is untouched; the destructor removes a temporary that was not
// committed. Symbolic links are followed to the file they name. A target that is a pipe or a device is written
// straight. Every operation goes through OS().
#ifndef KELDB_SUPPORT_ATOMIC_FILE_H
#define KELDB_SUPPORT_ATOMIC_FILE_H

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace kel {

class AtomicFile {
public:
    // Bytes of the paths; an empty target fails to open. The new file gets mode, owner and group of the one it
    // replaces, or those of `like`, when that is given and stands.
    explicit AtomicFile(std::string target, std::string like = {});
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();

    bool open();                         // makes the temporary; false when the target or its folder may not be written
    bool write(std::string_view bytes);  // continues short and interrupted writes; false on failure
    bool commit();                       // true once the new content stands at the target
    int error() const noexcept { return error_; }  // errno of the first failure, 0 while there is none

private:
    bool fail();
    bool fail(int code);
    bool inspect_target();
    bool look_at_model();
    bool resolve_links();
    bool split_target();
    bool open_temporary();
    bool open_straight();
    bool match_owner_and_mode();
    bool close_file();
    void flush_folder() noexcept;

    std::string target_;     // every link followed
    std::string folder_;     // of the target, with its final '/'; "./" when the target names none
    std::string temporary_;  // empty while there is none
    int file_ = -1;
    int error_ = 0;
    std::string like_;
    bool takes_mode_ = false;  // of the file that `old_` describes
    bool straight_ = false;    // the target is no regular file
    struct ::stat old_ {};
};

}  // namespace kel

#endif
