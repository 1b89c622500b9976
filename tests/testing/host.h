// What tests ask of the machine: a folder that lives as long as the object, files, descriptors, and a child process.
#ifndef KELDB_TESTS_TESTING_HOST_H
#define KELDB_TESTS_TESTING_HOST_H

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include "keldb/support/wstring.h"

namespace testing_kit {

class TempDir {
public:
    TempDir() : path_((std::filesystem::temp_directory_path() / "keldb_XXXXXX").string()) {
        if (!::mkdtemp(path_.data())) throw std::runtime_error("no temporary folder: " + path_);
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

private:
    std::string path_;
};

inline WString wide(std::string_view path) { return fromUTF8(String(path)); }

inline void write_file(const std::string& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// "(none)" when nothing can be read there, so that a missing file never equals an empty one.
inline std::string file_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "(none)";
}

// Everything in a folder, hidden names too.
inline std::set<std::string> names_in(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
    return names;
}

inline std::size_t open_descriptors() { return names_in("/proc/self/fd").size(); }

// Runs `work` in a child process, where it may die half-way or give up its rights, and returns the exit status that it
// returns (0 to 255); -1 when a signal ended it.
template <class Work>
int in_child(const Work& work) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(work());
    int status = 0;
    const bool ended = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status);
    return ended ? WEXITSTATUS(status) : -1;
}

}  // namespace testing_kit

#endif
