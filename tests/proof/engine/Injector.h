// Injector.h - runs an operation and makes one of its system calls fail.
//
// The operation runs in a forked process that is traced from Enter() to Leave(). Each of its system
// calls is seen, also those that the C library and others make for it. So are those of a child that
// it forks, up to the command that it starts; those of commands are not. At the chosen call the
// kernel is kept from making it, and the process gets a failure instead. Sleeping is left out: it
// takes no time.
#ifndef QOR_PROOF_INJECTOR_H
#define QOR_PROOF_INJECTOR_H

#include <functional>
#include <string>
#include <vector>

#include "proof/engine/Fault.h"
#include "proof/engine/Proof.h"

namespace qor::proof {

struct TracedRun {
    std::vector<SystemCall> calls;  // in their order; those that nothing can happen to are left out
    bool met = false;               // the fault's call was made
    std::string path;               // of that call
    Worker::End end;
};

// What the system call of that number does: "open", or "999" where it has no name here.
std::string NameOfCall(long number);

// process: calls Enter() and Leave() around the operation, and returns a report. Throws when
// tracing fails.
TracedRun RunWithFault(const Fault& fault, const std::function<std::string()>& process);

}  // namespace qor::proof

#endif  // QOR_PROOF_INJECTOR_H
