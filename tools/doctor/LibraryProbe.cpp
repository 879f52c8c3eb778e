#include "LibraryProbe.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <utility>

namespace doctor {
namespace {

using Outcome = ProbeResult::Outcome;

constexpr std::chrono::milliseconds kPatience{10000};
constexpr std::chrono::milliseconds kLook{50};  // how often to see whether the child is still there

// What the child writes: a letter, and the reason behind it; in front of them their length, since
// a process that the library has started may hold the pipe open. It and its like are in the
// child's process group.
using Length = std::size_t;
constexpr char kGood = 'g';
constexpr char kNotLoadable = 'l';
constexpr char kNoEntryPoint = 'e';

std::string Answer(const std::string& path, const char* entryPoint, int binding)
{
    void* const library = ::dlopen(path.c_str(), binding | RTLD_LOCAL);
    if (library == nullptr)
        return kNotLoadable + std::string(::dlerror());
    (void)::dlerror();  // clears; a symbol may well be null
    (void)::dlsym(library, entryPoint);
    const char* const error = ::dlerror();
    return error == nullptr ? std::string(1, kGood) : kNoEntryPoint + std::string(error);
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

[[noreturn]] void RunChild(int out, const std::string& path, const char* entryPoint, int binding)
{
    Seclude();
    std::string answer = Answer(path, entryPoint, binding);
    const Length length = answer.size();
    answer.insert(0, reinterpret_cast<const char*>(&length), sizeof length);
    const ssize_t written = ::write(out, answer.data(), answer.size());
    ::_exit(written == static_cast<ssize_t>(answer.size()) ? 0 : 1);
}

// Takes the length off an answer that is complete.
bool TakeLength(std::string& answer)
{
    Length length = 0;
    if (answer.size() < sizeof length)
        return false;
    std::memcpy(&length, answer.data(), sizeof length);
    if (answer.size() - sizeof length < length)
        return false;
    answer.erase(0, sizeof length);
    return true;
}

// Leaves it to be waited for.
bool HasEnded(pid_t child)
{
    siginfo_t info = {};
    return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == child;
}

// The child's answer, empty when it ends without one. False: neither came within the time.
bool ReadAnswer(int in, pid_t child, std::string& answer)
{
    std::string all;
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < end) {
        const bool hasEnded = HasEnded(child);  // before the look at what it has written
        pollfd wait = {in, POLLIN, 0};
        const int ready = ::poll(&wait, 1, hasEnded ? 0 : static_cast<int>(kLook.count()));
        char piece[1024];
        const ssize_t length = ready > 0 ? ::read(in, piece, sizeof piece) : 0;
        all.append(piece, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
        if (TakeLength(all)) {
            answer = all;
            return true;
        }
        if (ready == 0 && hasEnded)
            return true;
        if (ready > 0 && length == 0)
            in = -1;  // closed: poll(2) waits all the same, for the child's end
    }
    return false;
}

std::string HowItEnded(int status, bool inTime)
{
    if (!inTime)
        return "it did not come back within ten seconds";
    if (WIFSIGNALED(status))
        return "it ends the process by signal " + std::to_string(WTERMSIG(status)) + " (" +
               ::strsignal(WTERMSIG(status)) + ")";
    return "it ends the process with status " + std::to_string(WEXITSTATUS(status));
}

ProbeResult ToResult(const std::string& answer, const std::string& end)
{
    if (answer.empty())
        return {Outcome::kNoAnswer, end};
    const std::string reason = answer.substr(1);
    if (answer[0] == kGood)
        return {Outcome::kGood, reason};
    return {answer[0] == kNotLoadable ? Outcome::kNotLoadable : Outcome::kNoEntryPoint, reason};
}

ProbeResult Probe(const std::string& path, const char* entryPoint, int binding)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return {Outcome::kNotTried, std::strerror(errno)};
    const pid_t child = ::fork();
    if (child == 0)
        RunChild(ends[1], path, entryPoint, binding);
    const int error = errno;
    (void)::close(ends[1]);
    std::string answer;
    if (child > 0)
        (void)::setpgid(child, child);  // whichever of the two is first
    const bool inTime = child > 0 && ReadAnswer(ends[0], child, answer);
    (void)::close(ends[0]);
    if (child < 0)
        return {Outcome::kNotTried, std::strerror(error)};

    // It has answered, has ended, or is too late.
    (void)::kill(-child, SIGKILL);  // what the library has started; not waited for yet, it is ours
    (void)::kill(child, SIGKILL);   // should the library have moved it to another group
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return ToResult(inTime ? answer : "", HowItEnded(status, inTime));
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
