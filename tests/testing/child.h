// Work done in a child process, which may die half-way, give up its rights or become another program.
#ifndef KELDB_TESTS_TESTING_CHILD_H
#define KELDB_TESTS_TESTING_CHILD_H

#include <sys/wait.h>
#include <unistd.h>

namespace testing_kit {

// Runs `work` in a child process and returns the exit status that it returns (0 to 255); -1 when a signal ended it.
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
