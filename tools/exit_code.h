// What the command answers to its caller.
#ifndef KELDB_TOOLS_EXIT_CODE_H
#define KELDB_TOOLS_EXIT_CODE_H

namespace tool {

enum ExitCode : int {
    kDone = 0,
    kFindings = 1,  // something was found, was read or kept in part only, or nothing matched
    kFault = 2,     // usage, or an input or output that cannot be used
};

}  // namespace tool

#endif
