// A line on standard error that says what takes long. It shows on a terminal only, once the work has taken half a
// second, and is gone when the work ends. It is not for work that writes on the terminal itself.
#ifndef KELDB_TOOLS_PROGRESS_H
#define KELDB_TOOLS_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace tool {

class Progress {
public:
    // What is done, such as "reading clips.keldb"; 0 steps: not counted.
    Progress(const std::string& what, std::size_t steps, bool wanted = true);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void step() {
        if (++done_ % kStepsBetweenLooks == 0 && watched_) look();
    }
    void show_now();  // for work that cannot be counted and is known to be long

private:
    static constexpr std::size_t kStepsBetweenLooks = 4096;
    void look();

    std::string what_;
    std::size_t steps_;
    std::size_t done_ = 0;
    bool watched_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point next_look_;
};

}  // namespace tool

#endif
