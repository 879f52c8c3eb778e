#include "support/Interrupts.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>

#include "support/Descriptors.h"
#include "support/WaitUntil.h"

namespace qor::test {
namespace {

std::string OfProcess(pid_t pid, const char* name)
{
    return "/proc/" + std::to_string(pid) + "/" + name;
}

// proc(5): the number of the system call comes first, and "running" for a process that does not
// sleep.
bool SleepsIn(pid_t pid, long call)
{
    std::ifstream file(OfProcess(pid, "syscall"));
    long number = -1;
    return file >> number && number == call;
}

// proc(5): "ShdPnd" are the signals sent to the process, one bit each, that it has not taken yet.
bool HasTaken(pid_t pid, int signal)
{
    std::ifstream file(OfProcess(pid, "status"));
    for (std::string word; file >> word;) {
        if (word == "ShdPnd:" && file >> word)
            return (std::stoull(word, nullptr, 16) >> (signal - 1) & 1) == 0;
    }
    return false;
}

void DoNothing(int) {}

// Leaves the FIFO no room: who writes to it waits until somebody reads. Returns the bytes written.
std::size_t Fill(int fifo)
{
    const std::string piece(4096, '#');  // PIPE_BUF: all of it or nothing (pipe(7))
    std::size_t filler = 0;
    for (ssize_t count; (count = ::write(fifo, piece.data(), piece.size())) > 0;)
        filler += static_cast<std::size_t>(count);
    if (errno != EAGAIN)
        ThrowErrno("write");
    return filler;
}

// Waits for `length` bytes of the FIFO. Shorter when they do not come.
std::string Take(int fifo, std::size_t length)
{
    std::string text(length, '\0');
    std::size_t taken = 0;
    (void)WaitUntil([&] {
        const ssize_t count = ::read(fifo, &text[taken], text.size() - taken);
        taken += count > 0 ? static_cast<std::size_t>(count) : 0;
        return taken == text.size();
    });
    text.resize(taken);
    return text;
}

}  // namespace

bool ShowsOwnCalls()
{
    std::ifstream file("/proc/self/syscall");
    long number = -1;
    return file >> number && number == SYS_read;
}

void CatchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = DoNothing;  // and no SA_RESTART
    if (::sigaction(SIGUSR1, &action, nullptr) != 0)
        ThrowErrno("sigaction");
}

bool InterruptIn(const ChildProcess& child, long call)
{
    const pid_t pid = child.pid();
    return WaitUntil([&] { return SleepsIn(pid, call); }) && ::kill(pid, SIGUSR1) == 0 &&
           WaitUntil([&] { return HasTaken(pid, SIGUSR1); }) &&
           WaitUntil([&] { return SleepsIn(pid, call); });
}

int ReadInterrupted(const char* path, const std::function<int()>& reader)
{
    if (::mkfifo(path, 0600) != 0)
        ThrowErrno(path);
    ChildProcess child([&reader] {
        CatchInterrupts();
        return reader();
    });
    OwnedFd fifo(::open(path, O_RDWR | O_CLOEXEC));
    EXPECT_EQ(2, ::write(fifo.get(), "te", 2));

    EXPECT_TRUE(InterruptIn(child, SYS_read));

    EXPECT_EQ(2, ::write(fifo.get(), "xt", 2));
    fifo.Reset();
    return child.Wait();
}

std::string WriteInterrupted(const char* path, const std::function<int()>& writer)
{
    if (::mkfifo(path, 0600) != 0)
        ThrowErrno(path);
    const OwnedFd fifo(::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const std::size_t filler = Fill(fifo.get());
    ChildProcess child([&writer] {
        CatchInterrupts();
        return writer();
    });

    EXPECT_TRUE(InterruptIn(child, SYS_write));

    const std::string text = Take(fifo.get(), filler + 4);
    EXPECT_EQ(0, child.Wait());
    return text.substr(std::min(filler, text.size()));
}

}  // namespace qor::test
