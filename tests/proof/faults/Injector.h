// Injector.h - runs an operation and makes one of its system calls fail.
//
// The operation runs in a forked process that is traced (ptrace(2)) from Enter() to Leave(). Each
// of its system calls is seen, also those that the C library and others make for it. So are those
// of a child that it forks, up to the command that it starts; those of commands are not. At the
// chosen call the kernel is kept from making it, and the process is told a failure instead.
// Sleeping is left out: it takes no time.
#ifndef QOR_PROOF_INJECTOR_H
#define QOR_PROOF_INJECTOR_H

#include <functional>
#include <string>
#include <vector>

#include "proof/faults/Fault.h"

namespace qor::proof {

struct Run {
    std::vector<Call> calls;  // in their order; those that nothing can happen to are left out
    bool met = false;         // the fault's call was made
    std::string path;         // of that call
    std::string report;       // what the process told
    std::string ending;       // "": with status 0
};

// process: calls Enter() and Leave() around the operation, and returns the report. Throws when
// tracing fails.
Run RunWithFault(const Fault& fault, const std::function<std::string()>& process);

// For the traced process.
void Enter();
void Leave();

}  // namespace qor::proof

#endif  // QOR_PROOF_INJECTOR_H
