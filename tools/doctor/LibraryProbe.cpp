#include "LibraryProbe.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace doctor {
namespace {

using Outcome = ProbeResult::Outcome;

constexpr std::chrono::seconds kPatience{10};
constexpr useconds_t kLook = 1000;  // how often to see whether the child is still there

// What the child leaves in memory that it shares with its parent; `isDone` last.
struct Answer {
    std::atomic<bool> isDone{false};
    Outcome outcome = Outcome::kNotLoadable;
    char reason[65536] = {};
};

struct Unmap {
    void operator()(Answer* answer) const { (void)::munmap(answer, sizeof *answer); }
};

void Load(const std::string& path, const char* entryPoint, int binding, Answer& answer)
{
    void* const library = ::dlopen(path.c_str(), binding | RTLD_LOCAL);
    const char* error = ::dlerror();
    if (library != nullptr) {
        (void)::dlsym(library, entryPoint);  // a symbol may well be null
        error = ::dlerror();
        answer.outcome = error == nullptr ? Outcome::kGood : Outcome::kNoEntryPoint;
    }
    (void)std::snprintf(answer.reason, sizeof answer.reason, "%s", error == nullptr ? "" : error);
    answer.isDone = true;
}

// A group of its own, an end at the doctor's at the latest, no core file, and nothing from the
// library's constructors on the doctor's own output.
void Seclude()
{
    (void)::setpgid(0, 0);                     // the parent does the same
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);  // fails for wrong signals only
    const rlimit none = {0, 0};
    (void)::setrlimit(RLIMIT_CORE, &none);  // a core file more is no harm to the check
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int fd = STDIN_FILENO; null >= 0 && fd <= STDERR_FILENO; ++fd)
        (void)::dup2(null, fd);  // of two descriptors that are known to be good
}

// Leaves it to be waited for.
bool HasEnded(pid_t child)
{
    siginfo_t info = {};
    return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == child;
}

std::string HowItEnded(int status)
{
    if (WIFSIGNALED(status))
        return "it ends the process by signal " + std::to_string(WTERMSIG(status)) + " (" +
               ::strsignal(WTERMSIG(status)) + ")";
    return "it ends the process with status " + std::to_string(WEXITSTATUS(status));
}

// Until the child has answered, has ended, or is too late. Ends it, and what the library started.
ProbeResult Await(pid_t child, const Answer& answer)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    bool hasEnded = false;
    while (!answer.isDone && !hasEnded && std::chrono::steady_clock::now() < end) {
        (void)::usleep(kLook);  // or less
        hasEnded = HasEnded(child);
    }
    (void)::kill(-child, SIGKILL);  // not waited for yet, so it is ours
    (void)::kill(child, SIGKILL);   // should the library have moved it to another group
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (answer.isDone)
        return {answer.outcome, answer.reason};
    return {Outcome::kNoAnswer,
            hasEnded ? HowItEnded(status) : "it did not come back within ten seconds"};
}

ProbeResult Probe(const std::string& path, const char* entryPoint, int binding)
{
    void* const memory =
        ::mmap(nullptr, sizeof(Answer), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return {Outcome::kNotTried, std::strerror(errno)};
    const std::unique_ptr<Answer, Unmap> answer(new (memory) Answer);

    const pid_t child = ::fork();
    if (child < 0)
        return {Outcome::kNotTried, std::strerror(errno)};
    if (child == 0) {
        Seclude();
        Load(path, entryPoint, binding, *answer);
        ::_exit(0);
    }
    (void)::setpgid(child, child);  // whichever of the two is first
    return Await(child, *answer);
}

}  // namespace

ProbeResult ProbeLibrary(const std::string& path, const char* entryPoint)
{
    // A library that resolves all of its symbols also opens lazily; one that does not has run no
    // constructor yet.
    const ProbeResult strict = Probe(path, entryPoint, RTLD_NOW);
    if (strict.outcome != Outcome::kNotLoadable)
        return strict;
    const ProbeResult lazy = Probe(path, entryPoint, RTLD_LAZY);
    return lazy.outcome == Outcome::kGood ? ProbeResult{Outcome::kUnresolved, strict.reason} : lazy;
}

}  // namespace doctor
