#include "LibraryProbe.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <utility>

namespace doctor {
namespace {

using Outcome = ProbeResult::Outcome;

constexpr std::chrono::seconds kPatience{10};

// What the child writes: a letter, and the reason behind it.
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

// No core file, and nothing from the library's constructors on the doctor's own output.
void Seclude()
{
    const rlimit none = {0, 0};
    (void)::setrlimit(RLIMIT_CORE, &none);  // a core file more is no harm to the check
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int fd = STDIN_FILENO; null >= 0 && fd <= STDERR_FILENO; ++fd)
        (void)::dup2(null, fd);  // of two descriptors that are known to be good
}

[[noreturn]] void RunChild(int out, const std::string& path, const char* entryPoint, int binding)
{
    Seclude();
    const std::string answer = Answer(path, entryPoint, binding);
    const ssize_t written = ::write(out, answer.data(), answer.size());
    ::_exit(written == static_cast<ssize_t>(answer.size()) ? 0 : 1);
}

// All that the child writes until it closes its end. False: not within the time.
bool ReadAnswer(int in, std::string& answer)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        pollfd wait = {in, POLLIN, 0};
        if (left.count() <= 0 || (::poll(&wait, 1, static_cast<int>(left.count())) == 0))
            return false;
        char piece[1024];
        const ssize_t length = ::read(in, piece, sizeof piece);
        if (length == 0)
            return true;
        if (length > 0)
            answer.append(piece, static_cast<std::size_t>(length));
        else if (errno != EINTR)
            return true;
    }
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
    const bool inTime = child > 0 && ReadAnswer(ends[0], answer);
    (void)::close(ends[0]);
    if (child < 0)
        return {Outcome::kNotTried, std::strerror(error)};

    if (!inTime)
        (void)::kill(child, SIGKILL);  // our own child, not waited for yet
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
