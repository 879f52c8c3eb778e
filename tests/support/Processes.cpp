#include "support/Processes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "support/Descriptors.h"
#include "support/Files.h"

namespace qor::test {
namespace {

const unsigned kLongestLife = 110;  // seconds; ctest waits 120

void FlushStreams()
{
    (void)std::fflush(stdout);  // a lost line of a report shows by itself
    (void)std::fflush(stderr);
}

// noexcept: an exception must not travel on into the copy of the test that called fork.
int RunChecked(const std::function<int()>& function) noexcept
{
    const bool failedBefore = testing::Test::HasFailure();
    const int result = function();
    return result == 0 && !failedBefore && testing::Test::HasFailure() ? kExpectationFailed
                                                                       : result;
}

pid_t Start(const std::function<int()>& function)
{
    FlushStreams();
    const pid_t pid = ::fork();
    if (pid < 0)
        ThrowErrno("fork");
    if (pid > 0)
        return pid;

    (void)::alarm(kLongestLife);  // returns the time left of an earlier one: none in a new child
    const int result = RunChecked(function);
    FlushStreams();
    ::_exit(result);
}

int WaitFor(pid_t pid)
{
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            ThrowErrno("waitpid");
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

struct Pipe {
    OwnedFd in;
    OwnedFd out;
};

Pipe MakePipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        ThrowErrno("pipe2");
    return {OwnedFd(ends[0]), OwnedFd(ends[1])};
}

int ExecShell(const std::string& command, int output)
{
    const OwnedFd input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (::dup2(input.get(), 0) != 0 || ::dup2(output, 1) != 1 || ::dup2(output, 2) != 2)
        return 126;
    (void)::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);  // returns on failure only
    return 127;
}

}  // namespace

int InChild(const std::function<int()>& function)
{
    return WaitFor(Start(function));
}

ChildProcess::ChildProcess(const std::function<int()>& function) : pid_(Start(function)) {}

ChildProcess::~ChildProcess()
{
    if (waited_)
        return;
    Kill(SIGKILL);
    (void)::waitpid(pid_, nullptr, 0);  // fails only when the test has waited for it by itself
}

int ChildProcess::Wait()
{
    if (!waited_) {
        status_ = WaitFor(pid_);
        waited_ = true;
    }
    return status_;
}

void ChildProcess::Kill(int signal)
{
    if (!waited_)
        (void)::kill(pid_, signal);  // a child that has just ended is as good as killed
}

bool ChildProcess::Running() const
{
    if (waited_)
        return false;

    siginfo_t info = {};
    const int result = ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
    return result == 0 && info.si_pid == 0;
}

// proc(5): the state follows the name, which stands in parentheses and may hold some itself.
bool Sleeps(pid_t thread)
{
    const std::string stat = ReadFile("/proc/self/task/" + std::to_string(thread) + "/stat");
    return stat.at(stat.rfind(')') + 2) == 'S';
}

ShellResult RunShell(const std::string& command)
{
    Pipe pipe = MakePipe();
    const int output = pipe.out.get();
    ChildProcess shell([&] { return ExecShell(command, output); });
    pipe.out.Reset();

    std::string text = ReadToEnd(pipe.in.get());
    return {shell.Wait(), std::move(text)};
}

void ForbidForking()
{
    if (::unshare(CLONE_NEWPID) != 0)
        ThrowErrno("unshare");
    (void)InChild([] { return 0; });
}

std::string CaptureStderr(const std::function<void()>& function)
{
    const OwnedFd file(::memfd_create("stderr", MFD_CLOEXEC));
    const OwnedFd saved(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    if (file.get() < 0 || saved.get() < 0)
        ThrowErrno("CaptureStderr");

    struct Redirection {
        Redirection(int target, int previous) : previous_(previous)
        {
            FlushStreams();
            (void)::dup2(target, STDERR_FILENO);  // both descriptors are known to be good
        }
        ~Redirection()
        {
            FlushStreams();
            (void)::dup2(previous_, STDERR_FILENO);
        }
        int previous_;
    };
    {
        const Redirection redirection(file.get(), saved.get());
        function();
    }
    if (::lseek(file.get(), 0, SEEK_SET) != 0)
        ThrowErrno("lseek");
    return ReadToEnd(file.get());
}

}  // namespace qor::test
