#include "proof/engine/Proof.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "support/Descriptors.h"
#include "support/PrivateMounts.h"

namespace qor::proof {
namespace {

using test::OwnedFd;

Options ParseOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--long")
            options.isLong = true;
        else if (option == "--verbose")
            options.isVerbose = true;
        else if (option == "--names")
            options.listsNames = true;
        else if (option == "--case" && i + 1 < argc)
            options.id = argv[++i];
        else if (option == "--only" && i + 1 < argc)
            options.only = argv[++i];
        else
            throw std::runtime_error("unknown option " + option);
    }
    return options;
}

// The standard descriptors and no others: those that somebody has left open, or closed, would make
// room for others when they are limited.
void UseStandardDescriptors()
{
    for (int file = 0; file >= 0 && file <= STDERR_FILENO;)
        file = ::open("/dev/null", O_RDWR);
    (void)::close_range(STDERR_FILENO + 1, ~0U, 0);
    const OwnedFd nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (nothing.get() < 0 || ::dup2(nothing.get(), STDIN_FILENO) != STDIN_FILENO)
        test::ThrowErrno("/dev/null");
}

[[noreturn]] void RunAndReport(const std::function<std::string()>& function, int report)
{
    int status = 0;
    std::string text;
    try {
        text = function();
    } catch (const std::exception& failure) {
        text = failure.what();
        status = 1;
    }
    // A pipe holds more than any of these texts: nobody reads before the end.
    const ssize_t written = ::write(report, text.data(), text.size());
    ::_exit(written == static_cast<ssize_t>(text.size()) ? status : 124);
}

std::string EndingOf(int status)
{
    if (WIFSIGNALED(status))
        return WTERMSIG(status) == SIGALRM ? "hangs"
                                           : "ended by signal " + std::to_string(WTERMSIG(status));
    return WEXITSTATUS(status) == 0 ? "" : "exit(" + std::to_string(WEXITSTATUS(status)) + ")";
}

}  // namespace

void Tally::Add(const std::string& id, const std::string& violation, const std::string& text)
{
    ++cases_;
    violations_ += violation.empty() ? 0 : 1;
    if (!violation.empty())
        std::cout << "VIOLATED " << id << ": " << violation << std::endl;
    else if (isVerbose_)
        std::cout << "held " << id << ": " << text << std::endl;
}

int Tally::Finish(const std::string& figures) const
{
    std::cout << cases_ << " cases, " << violations_ << " violations" << figures << std::endl;
    return cases_ > 0 && violations_ == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int PrintNames(const std::vector<std::string>& covered, const std::vector<LeftOut>& leftOut)
{
    for (const std::string& name : covered)
        std::cout << "covered\t" << name << '\n';
    for (const LeftOut& one : leftOut)
        std::cout << "left out\t" << one.name << '\t' << one.reason << '\n';
    return EXIT_SUCCESS;
}

std::string DeliberateFault()
{
    const char* const name = std::getenv("QOR_PROOF_FAULT");
    return name == nullptr ? "" : name;
}

void Worker::Start(const std::function<std::string()>& function, unsigned seconds)
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
    if (pid_ == 0) {
        (void)::close(report_);
        (void)::alarm(seconds);
        RunAndReport(function, out.get());
    }
}

Worker::~Worker()
{
    const OwnedFd report(report_);
    if (pid_ == 0)
        return;
    (void)::kill(pid_, SIGKILL);
    (void)::waitpid(pid_, nullptr, 0);
}

Worker::End Worker::Wait()
{
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0) {
        if (errno != EINTR)
            test::ThrowErrno("waitpid");
    }
    return Ended(status);
}

// Whoever it has left behind may hold the pipe open, and never ends.
Worker::End Worker::Ended(int status)
{
    pid_ = 0;
    const OwnedFd report(std::exchange(report_, -1));
    (void)::fcntl(report.get(), F_SETFL, O_NONBLOCK);
    End end;
    char part[4096];
    for (ssize_t count = 0; (count = ::read(report.get(), part, sizeof part)) > 0;)
        end.text.append(part, static_cast<std::size_t>(count));
    end.ending = EndingOf(status);
    return end;
}

void RequireInNewProcess(const std::string& what, const std::function<void()>& function)
{
    const std::string failure = Worker(function).Wait().Failure();
    Require(failure.empty(), what + ": " + failure);
}

void DropMessages()
{
    const OwnedFd nothing(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    for (const int standard : {STDOUT_FILENO, STDERR_FILENO}) {
        if (nothing.get() < 0 || ::dup2(nothing.get(), standard) != standard)
            test::ThrowErrno("/dev/null");
    }
}

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace qor::proof

int main(int argc, char** argv)
{
    try {
        const qor::proof::Options options = qor::proof::ParseOptions(argc, argv);
        qor::proof::UseStandardDescriptors();
        if (!options.listsNames)
            qor::test::EnterPrivateMounts();
        return qor::proof::Prove(options);
    } catch (const std::exception& failure) {
        std::cerr << argv[0] << ": " << failure.what() << std::endl;
        return 2;
    }
}
