// Death.h - an operation whose process is killed at a chosen system call.
//
// The operation's calls are counted, with those of all processes that it starts, from its first on.
// At the chosen one the process is killed (SIGKILL) before the call has any effect, or within it: a
// write is cut short by RLIMIT_FSIZE, and the process killed before it learns of that.
#ifndef QOR_PROOF_DEATH_H
#define QOR_PROOF_DEATH_H

#include <functional>
#include <string>

namespace qor::proof {

enum class Manner {
    Tree,       // before the call, with all the processes of the operation
    Caller,     // before the call, alone; the others go on to their end
    Overtaken,  // the main process, before a call of one that it started; that one goes on only
                // after a new process has done its work
    TornFirst,  // within a write, after its first byte, with all processes
    TornHalf,   // after half of its bytes
    TornLast    // after all but one
};

bool IsTorn(Manner manner);

struct Death {
    bool happened = false;  // false: the operation makes fewer calls
    std::string call;       // as NameOfCall() has it
    bool ofMain = false;    // the process of the operation, not one that it started
};

// number: from 1 on, of all calls. For the torn manners, of all writes of two bytes or more to
// regular files. For Overtaken, of the calls of the processes that the operation started.
// 0: nobody dies. afterwards: for Overtaken. Throws std::runtime_error when tracing fails or the
// operation, left alone, does not end with status 0.
Death RunAndKill(const std::function<void()>& operation, Manner manner, unsigned number,
                 const std::function<void()>& afterwards = {});

}  // namespace qor::proof

#endif  // QOR_PROOF_DEATH_H
