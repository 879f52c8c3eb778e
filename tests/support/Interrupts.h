// Interrupts.h - a signal meets a child in the midst of a system call, which fails with EINTR.
//
//     ChildProcess child([] {
//         CatchInterrupts();
//         return ReadFile(kFifo) == "text" ? 0 : 1;
//     });
//     ASSERT_TRUE(InterruptIn(child, SYS_read));    // and it reads again
#ifndef QOR_TEST_INTERRUPTS_H
#define QOR_TEST_INTERRUPTS_H

#include <functional>
#include <string>

#include "support/Processes.h"

namespace qor::test {

// Whether proc(5) shows the system calls of this program. It shows those of an emulator that runs
// it.
bool ShowsOwnCalls();

// At the begin of a test that uses what follows.
#define QOR_SKIP_WITHOUT_OWN_CALLS() \
    if (!test::ShowsOwnCalls())      \
    GTEST_SKIP() << "/proc/PID/syscall is not about this program: it runs in an emulator"

// From now on SIGUSR1 does nothing but end the system call that it meets, which is not restarted.
void CatchInterrupts();

// Waits until the child sleeps in the system call (its number, SYS_...), sends SIGUSR1, and waits
// until the signal is taken and the child sleeps there again. False: it has not come to that.
bool InterruptIn(const ChildProcess& child, long call);

// Makes a FIFO at `path` and runs `reader` in a child, which a signal meets while it waits there
// for the second half of "text". Returns the child's status as of InChild().
int ReadInterrupted(const char* path, const std::function<int()>& reader);

// Makes a full FIFO at `path` and runs `writer` in a child, which a signal meets while it waits
// there to write "text". Returns what it wrote, up to those four bytes, and adds a failure unless
// it ends with 0.
std::string WriteInterrupted(const char* path, const std::function<int()>& writer);

}  // namespace qor::test

#endif  // QOR_TEST_INTERRUPTS_H
