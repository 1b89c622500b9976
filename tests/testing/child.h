// Work done in a child process, which may die half-way or give up its rights.
#ifndef KELDB_TESTS_TESTING_CHILD_H
#define KELDB_TESTS_TESTING_CHILD_H

#include <sys/wait.h>
#include <unistd.h>

namespace testing_kit {

constexpr int kBroken = -1;          // ended by a signal, or never started
constexpr unsigned kNobody = 65534;  // a user without rights

// Runs `work` in a child process and returns the exit status that it returns (0 to 255), or kBroken.
template <class Work>
int in_child(const Work& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work());
    }
    int status = 0;
    const bool ended = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status);
    return ended ? WEXITSTATUS(status) : kBroken;
}

// The same without the rights of root, to whom every file is writable; 255 when they could not be given up.
template <class Work>
int in_child_without_rights(const Work& work) {
    return in_child([&] {
        const bool dropped = ::geteuid() != 0 || (::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
        return dropped ? work() : 255;
    });
}

}  // namespace testing_kit

#endif
