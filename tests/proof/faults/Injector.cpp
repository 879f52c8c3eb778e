#include "proof/faults/Injector.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>

#ifdef __aarch64__
#include <elf.h>
#endif

#include "support/Descriptors.h"

namespace qor::proof {
namespace {

using test::OwnedFd;
using test::ThrowErrno;

constexpr int kSyscallStop = SIGTRAP | 0x80;  // PTRACE_O_TRACESYSGOOD
constexpr unsigned kSeconds = 10;             // of a case; then it hangs

// The registers of a stopped process, as far as a system call is in them.
class Registers
{
public:
    explicit Registers(pid_t pid) : pid_(pid)
    {
        iovec whole = {&registers_, sizeof registers_};
        if (::ptrace(PTRACE_GETREGSET, pid_, kGeneral, &whole) != 0)
            ThrowErrno("PTRACE_GETREGSET");
    }

#if defined(__x86_64__)
    long Number() const
    {
        return static_cast<long>(registers_.orig_rax);
    }
    std::uint64_t Argument(int index) const
    {
        const std::uint64_t all[] = {registers_.rdi, registers_.rsi, registers_.rdx,
                                     registers_.r10};
        return all[index];
    }
    void SetLength(std::uint64_t length)
    {
        registers_.rdx = length;
    }
    void SetResult(long result)
    {
        registers_.rax = static_cast<unsigned long>(result);
    }
    void Write()
    {
        WriteGeneral();
    }
    void Skip()
    {
        registers_.orig_rax = static_cast<unsigned long>(-1L);
        WriteGeneral();
    }
#elif defined(__aarch64__)
    long Number() const
    {
        return static_cast<long>(registers_.regs[8]);
    }
    std::uint64_t Argument(int index) const
    {
        return registers_.regs[index];
    }
    void SetLength(std::uint64_t length)
    {
        registers_.regs[2] = length;
    }
    void SetResult(long result)
    {
        registers_.regs[0] = static_cast<unsigned long>(result);
    }
    void Write()
    {
        WriteGeneral();
    }
    void Skip()
    {
        int none = -1;
        iovec number = {&none, sizeof none};
        if (::ptrace(PTRACE_SETREGSET, pid_, NT_ARM_SYSTEM_CALL, &number) != 0)
            ThrowErrno("PTRACE_SETREGSET");
    }
#else
#error "Where this machine keeps the number, the arguments and the result of a system call."
#endif

private:
    static constexpr long kGeneral = 1;  // NT_PRSTATUS

    void WriteGeneral()
    {
        iovec whole = {&registers_, sizeof registers_};
        if (::ptrace(PTRACE_SETREGSET, pid_, kGeneral, &whole) != 0)
            ThrowErrno("PTRACE_SETREGSET");
    }

    pid_t pid_;
    user_regs_struct registers_;
};

// Where a call's arguments hold a path, or a descriptor; -1: not at all.
struct Meaning {
    const char* name;
    int path;
    int descriptor;
    int flags;
};

// No call has this number.
constexpr int kNone = -1;

const std::map<long, Meaning>& Meanings()
{
    static const std::map<long, Meaning> meanings = {
        {SYS_openat, {"open", 1, kNone, 2}},
        {SYS_read, {"read", kNone, 0, kNone}},
        {SYS_pread64, {"read", kNone, 0, kNone}},
        {SYS_write, {"write", kNone, 0, kNone}},
        {SYS_writev, {"write", kNone, 0, kNone}},
        {SYS_close, {"close", kNone, 0, kNone}},
        {SYS_newfstatat, {"stat", 1, 0, kNone}},
        {SYS_fstat, {"stat", kNone, 0, kNone}},
        {SYS_statx, {"stat", 1, 0, kNone}},
        {SYS_lseek, {"seek", kNone, 0, kNone}},
        {SYS_faccessat, {"access", 1, kNone, kNone}},
        {SYS_mkdirat, {"mkdir", 1, kNone, kNone}},
        {SYS_unlinkat, {"unlink", 1, kNone, kNone}},
        {SYS_renameat2, {"rename", 1, kNone, kNone}},
        {SYS_truncate, {"truncate", 0, kNone, kNone}},
        {SYS_getdents64, {"list", kNone, 0, kNone}},
        {SYS_clone, {"fork", kNone, kNone, kNone}},
        {SYS_clone3, {"fork", kNone, kNone, kNone}},
        {SYS_pipe2, {"pipe", kNone, kNone, kNone}},
        {SYS_wait4, {"wait", kNone, kNone, kNone}},
        {SYS_waitid, {"wait", kNone, kNone, kNone}},
        {SYS_kill, {"kill", kNone, kNone, kNone}},
        {SYS_getcwd, {"directory", kNone, kNone, kNone}},
        {SYS_socket, {"socket", kNone, kNone, kNone}},
        {SYS_connect, {"connect", kNone, kNone, kNone}},
        {SYS_sendto, {"send", kNone, kNone, kNone}},
#ifndef QOR_PROOF_SANITIZED  // a sanitizer's own memory is mapped too
        {SYS_mmap, {"map", kNone, kNone, kNone}},
        {SYS_mprotect, {"map", kNone, kNone, kNone}},
#endif
        {SYS_nanosleep, {"sleep", kNone, kNone, kNone}},
        {SYS_clock_nanosleep, {"sleep", kNone, kNone, kNone}},
#ifdef SYS_open  // the calls of older machines
        {SYS_open, {"open", 0, kNone, 1}},
        {SYS_stat, {"stat", 0, kNone, kNone}},
        {SYS_lstat, {"stat", 0, kNone, kNone}},
        {SYS_access, {"access", 0, kNone, kNone}},
        {SYS_mkdir, {"mkdir", 0, kNone, kNone}},
        {SYS_rmdir, {"rmdir", 0, kNone, kNone}},
        {SYS_unlink, {"unlink", 0, kNone, kNone}},
        {SYS_rename, {"rename", 0, kNone, kNone}},
        {SYS_fork, {"fork", kNone, kNone, kNone}},
        {SYS_vfork, {"fork", kNone, kNone, kNone}},
#endif
    };
    return meanings;
}

std::string TextAt(pid_t pid, std::uint64_t address)
{
    char text[PATH_MAX] = "";
    std::size_t length = 0;
    // A text may end just before memory that is not there: up to the end of each page only.
    while (length < sizeof text - 1) {
        const std::uint64_t place = address + length;
        const std::size_t toPageEnd = 4096 - place % 4096;
        iovec local = {text + length, std::min(toPageEnd, sizeof text - 1 - length)};
        const iovec remote = {reinterpret_cast<void*>(static_cast<std::uintptr_t>(place)),
                              local.iov_len};
        const ssize_t count = ::process_vm_readv(pid, &local, 1, &remote, 1, 0);
        if (count <= 0)
            break;
        const char* const begin = text + length;
        length += static_cast<std::size_t>(count);
        if (std::find(begin, static_cast<const char*>(text + length), '\0') != text + length)
            break;
    }
    return text;
}

std::string FileOf(pid_t pid, std::uint64_t descriptor)
{
    const std::string link =
        "/proc/" + std::to_string(pid) + "/fd/" + std::to_string(static_cast<int>(descriptor));
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length < 0 ? "" : std::string(target, static_cast<std::size_t>(length));
}

Call Describe(pid_t pid, const Registers& registers, const Meaning& meaning)
{
    Call call;
    call.name = meaning.name;
    if (meaning.path != kNone)
        call.path = TextAt(pid, registers.Argument(meaning.path));
    if (call.path.empty() && meaning.descriptor != kNone) {
        call.path = FileOf(pid, registers.Argument(meaning.descriptor));
        call.byDescriptor = true;
    }
    if (meaning.flags != kNone) {
        const auto flags = static_cast<int>(registers.Argument(meaning.flags));
        call.writes = (flags & O_ACCMODE) != O_RDONLY;
        call.creates = (flags & O_CREAT) != 0;
        call.exclusive = (flags & O_EXCL) != 0;
        call.path += call.writes ? " for writing" : "";
    }
    return call;
}

class Tracer
{
public:
    Tracer(pid_t pid, const Fault& fault) : pid_(pid), fault_(fault) {}

    Run Trace()
    {
        int status = WaitForStop();
        if (WIFSTOPPED(status)) {
            const long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL;
            if (::ptrace(PTRACE_SETOPTIONS, pid_, nullptr, options) != 0)
                ThrowErrno("PTRACE_SETOPTIONS");
            Resume(0);
            status = Follow();
        }
        run_.ending = Ending(status);
        return run_;
    }

private:
    int WaitForStop() const
    {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0) {
            if (errno != EINTR)
                ThrowErrno("waitpid");
        }
        return status;
    }

    void Resume(int signal) const
    {
        if (::ptrace(PTRACE_SYSCALL, pid_, nullptr, static_cast<long>(signal)) != 0 &&
            errno != ESRCH)
            ThrowErrno("PTRACE_SYSCALL");
    }

    // Up to the end of the process.
    int Follow()
    {
        for (;;) {
            const int status = WaitForStop();
            if (!WIFSTOPPED(status))
                return status;
            const int signal = WSTOPSIG(status);
            if (signal == kSyscallStop) {
                inCall_ = !inCall_;
                if (inCall_)
                    AtEntry();
                else
                    AtExit();
                Resume(0);
            } else if (signal == SIGSTOP) {
                if (::ptrace(PTRACE_DETACH, pid_, nullptr, nullptr) != 0)
                    ThrowErrno("PTRACE_DETACH");
                return WaitForStop();
            } else {
                Resume(signal);
            }
        }
    }

    void AtEntry()
    {
        result_ = 0;
        replaces_ = false;
        Registers registers(pid_);
        const auto meaning = Meanings().find(registers.Number());
        if (meaning == Meanings().end())
            return;
        const Call call = Describe(pid_, registers, meaning->second);
        run_.calls.push_back(call);

        const bool isSleep = call.name == "sleep";
        if (call.name != fault_.call || !IsDue()) {
            if (isSleep)
                Replace(registers, 0);
            return;
        }
        if (!run_.met)
            run_.path = call.path;
        run_.met = true;
        Inject(registers, call);
    }

    bool IsDue()
    {
        ++count_;
        return count_ == fault_.number || (fault_.lasts && count_ > fault_.number);
    }

    void Inject(Registers& registers, const Call& call)
    {
        if (fault_.effect == "short") {
            if (registers.Number() == SYS_writev)
                ShortenVector(registers);
            else
                registers.SetLength(std::min<std::uint64_t>(1, registers.Argument(2)));
            registers.Write();
        } else if (call.name == "close" || fault_.effect == "ECHILD") {
            // A descriptor is gone whatever close(2) reports, and so is a child whose status
            // nobody keeps when wait(2) returns.
            replaces_ = true;
            result_ = -ErrnoOf(fault_.effect);
        } else {
            Replace(registers, -ErrnoOf(fault_.effect));
        }
    }

    // One byte of the first part that has any.
    void ShortenVector(Registers& registers)
    {
        const std::uint64_t parts = registers.Argument(1);
        for (std::uint64_t i = 0; i < registers.Argument(2); ++i) {
            const std::uint64_t length = parts + i * sizeof(iovec) + offsetof(iovec, iov_len);
            const auto place = reinterpret_cast<void*>(static_cast<std::uintptr_t>(length));
            errno = 0;
            const long bytes = ::ptrace(PTRACE_PEEKDATA, pid_, place, nullptr);
            if (errno != 0)
                ThrowErrno("PTRACE_PEEKDATA");
            if (bytes == 0)
                continue;
            if (::ptrace(PTRACE_POKEDATA, pid_, place, 1L) != 0)
                ThrowErrno("PTRACE_POKEDATA");
            registers.SetLength(i + 1);
            return;
        }
    }

    // The kernel does not make the call; the process is told `result`.
    void Replace(Registers& registers, long result)
    {
        registers.Skip();
        replaces_ = true;
        result_ = result;
    }

    void AtExit()
    {
        if (!replaces_)
            return;
        Registers registers(pid_);
        registers.SetResult(result_);
        registers.Write();
    }

    static std::string Ending(int status)
    {
        if (WIFSIGNALED(status))
            return WTERMSIG(status) == SIGALRM
                       ? "hangs"
                       : "ended by signal " + std::to_string(WTERMSIG(status));
        return WEXITSTATUS(status) == 0 ? "" : "exit(" + std::to_string(WEXITSTATUS(status)) + ")";
    }

    pid_t pid_;
    const Fault& fault_;
    Run run_;
    int count_ = 0;
    bool inCall_ = false;
    bool replaces_ = false;
    long result_ = 0;
};

}  // namespace

void Enter()
{
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        ::_exit(125);
    (void)::raise(SIGSTOP);
}

void Leave()
{
    (void)::raise(SIGSTOP);
}

Run RunWithFault(const Fault& fault, const std::function<std::string()>& process)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        ThrowErrno("pipe2");
    OwnedFd in(ends[0]);
    OwnedFd out(ends[1]);
    (void)std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0)
        ThrowErrno("fork");
    if (pid == 0) {
        in.Reset();
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
        (void)::alarm(kSeconds);
        std::string report;
        try {
            report = process();
        } catch (const std::exception& failure) {
            report = std::string("violation ") + failure.what() + "\n";
        }
        // Shorter than what a pipe holds: nobody reads before the end.
        const ssize_t written = ::write(out.get(), report.data(), report.size());
        ::_exit(written == static_cast<ssize_t>(report.size()) ? 0 : 124);
    }

    out.Reset();
    Run run = Tracer(pid, fault).Trace();
    run.report = test::ReadToEnd(in.get());
    return run;
}

}  // namespace qor::proof
