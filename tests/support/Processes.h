// Processes.h - real child processes, shell commands, and what is written to standard error.
//
// A child of ours that hangs is ended by SIGALRM after 110 seconds, before ctest ends the test:
// nothing is left behind.
#ifndef QOR_TEST_PROCESSES_H
#define QOR_TEST_PROCESSES_H

#include <sys/types.h>

#include <functional>
#include <string>

namespace qor::test {

// What a child ends with when `function` returned 0 although an EXPECT_ or ASSERT_ in it failed;
// the failure's text is on standard error or output.
inline constexpr int kExpectationFailed = 99;

// Runs `function` in a forked child, which leaves by _exit with its result, so that no destructor
// of the parent runs twice. Waits. Returns the exit status (result & 255), or 128 + the signal
// that ended the child. An exception that leaves `function` ends the child with SIGABRT (134).
int InChild(const std::function<int()>& function);

// The same beside the running test:
//
//     ChildProcess server([] { return Serve(); });
//     ...
//     server.Kill(SIGTERM);
//     EXPECT_EQ(0, server.Wait());
class ChildProcess
{
public:
    explicit ChildProcess(const std::function<int()>& function);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Kills the child (SIGKILL) unless Wait() has been called, and waits for its end.
    ~ChildProcess();

    // Waits for the end; status as of InChild(). Further calls return the same.
    int Wait();

    // No effect once Wait() has returned.
    void Kill(int signal);

    // True: still running, or stopped. Leaves the status to Wait().
    bool Running() const;

    pid_t pid() const { return pid_; }

private:
    pid_t pid_;
    bool waited_ = false;
    int status_ = -1;
};

struct ShellResult {
    int status;          // as of InChild()
    std::string output;  // standard output and standard error, in the order written
};

// Whether a thread of this process sleeps in the kernel.
bool Sleeps(pid_t thread);

// Runs "/bin/sh -c command" with an empty standard input.
ShellResult RunShell(const std::string& command);

// From now on the calling process, a child of the test, can start no process, not even as root:
// fork(2) fails with ENOMEM. It has a new name space for processes, whose first one has ended
// (pid_namespaces(7)).
void ForbidForking();

// Runs `function` here and returns all that this process and its children wrote to descriptor 2
// meanwhile.
std::string CaptureStderr(const std::function<void()>& function);

}  // namespace qor::test

#endif  // QOR_TEST_PROCESSES_H
