#include "proof/support/Proof.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

#include "support/Descriptors.h"

namespace qor::proof {
namespace {

using test::OwnedFd;

[[noreturn]] void RunAndReport(const std::function<void()>& function, unsigned seconds, int report)
{
    (void)::alarm(seconds);
    std::string failure;
    try {
        function();
    } catch (const std::exception& exception) {
        failure = exception.what();
    }
    // A pipe holds more than any of these texts; what is lost with it shows as exit status 1.
    const ssize_t written = ::write(report, failure.data(), failure.size());
    ::_exit(failure.empty() && written == 0 ? 0 : 1);
}

std::string Ending(int status)
{
    if (WIFSIGNALED(status))
        return "ended by signal " + std::to_string(WTERMSIG(status));
    if (WEXITSTATUS(status) != 0)
        return "ended with status " + std::to_string(WEXITSTATUS(status));
    return "";
}

}  // namespace

Worker::Worker(const std::function<void()>& function, unsigned seconds)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        test::ThrowErrno("pipe2");
    report_ = ends[0];
    const OwnedFd out(ends[1]);
    (void)std::fflush(nullptr);
    pid_ = ::fork();
    if (pid_ < 0)
        test::ThrowErrno("fork");
    if (pid_ == 0)
        RunAndReport(function, seconds, out.get());
}

Worker::~Worker()
{
    const OwnedFd report(report_);
    if (pid_ == 0)
        return;
    (void)::kill(pid_, SIGKILL);
    (void)::waitpid(pid_, nullptr, 0);
}

std::string Worker::Failure()
{
    const OwnedFd report(std::exchange(report_, -1));
    const std::string failure = test::ReadToEnd(report.get());
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0) {
        if (errno != EINTR)
            test::ThrowErrno("waitpid");
    }
    pid_ = 0;
    return failure.empty() ? Ending(status) : failure;
}

std::string FailureInNewProcess(const std::function<void()>& function, unsigned seconds)
{
    return Worker(function, seconds).Failure();
}

void RequireInNewProcess(const std::string& what, const std::function<void()>& function)
{
    const std::string failure = FailureInNewProcess(function);
    Require(failure.empty(), what + ": " + failure);
}

void CloseStandardInput()
{
    const OwnedFd nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (nothing.get() < 0 || ::dup2(nothing.get(), STDIN_FILENO) != STDIN_FILENO)
        test::ThrowErrno("/dev/null");
}

}  // namespace qor::proof
