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
        {SYS_dup, {"dup", kNone, 0, kNone}},
        {SYS_dup3, {"dup", kNone, 0, kNone}},
        {SYS_fcntl, {"control", kNone, 0, kNone}},
        {SYS_execve, {"exec", 0, kNone, kNone}},
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
        {SYS_dup2, {"dup", kNone, 0, kNone}},
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

// A process that is traced, and the call that it is in.
struct Traced {
    bool isRunning = false;
    bool inCall = false;
    bool replaces = false;
    long result = 0;
    bool isLast = false;  // behind this call a child is left alone
    bool isOver = false;  // ended, or left alone
};

class Tracer
{
public:
    Tracer(pid_t pid, const Fault& fault) : pid_(pid), fault_(fault) {}

    Run Trace()
    {
        int status = 0;
        (void)Wait(pid_, status);
        if (WIFSTOPPED(status)) {
            // The children of fork(2) alone: those of vfork(2) and its kin run commands.
            const long options =
                PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEFORK | PTRACE_O_TRACEEXEC;
            if (::ptrace(PTRACE_SETOPTIONS, pid_, nullptr, options) != 0)
                ThrowErrno("PTRACE_SETOPTIONS");
            traced_[pid_].isRunning = true;
            Resume(pid_, 0);
            status = Follow();
        }
        run_.ending = Ending(status);
        return run_;
    }

private:
    static pid_t Wait(pid_t pid, int& status)
    {
        for (;;) {
            const pid_t changed = ::waitpid(pid, &status, __WALL);
            if (changed >= 0)
                return changed;
            if (errno != EINTR)
                ThrowErrno("waitpid");
        }
    }

    static void Resume(pid_t pid, int signal)
    {
        if (::ptrace(PTRACE_SYSCALL, pid, nullptr, static_cast<long>(signal)) != 0 &&
            errno != ESRCH)
            ThrowErrno("PTRACE_SYSCALL");
    }

    void LeaveAlone(pid_t pid)
    {
        if (::ptrace(PTRACE_DETACH, pid, nullptr, nullptr) != 0 && errno != ESRCH)
            ThrowErrno("PTRACE_DETACH");
        traced_[pid].isOver = true;
    }

    // Up to the end of the process; how it ended. Children that it left are ended.
    int Follow()
    {
        for (;;) {
            int status = 0;
            const pid_t pid = Wait(-1, status);
            if (WIFSTOPPED(status)) {
                AtStop(pid, status);
                continue;
            }
            traced_[pid].isOver = true;
            if (pid == pid_) {
                EndChildren();
                return status;
            }
        }
    }

    void EndChildren() const
    {
        for (const auto& [child, state] : traced_) {
            if (state.isOver)
                continue;
            (void)::kill(child, SIGKILL);
            int status = 0;
            do
                (void)Wait(child, status);
            while (WIFSTOPPED(status));
        }
    }

    void AtStop(pid_t pid, int status)
    {
        const int signal = WSTOPSIG(status);
        Traced& traced = traced_[pid];  // a child may stop before its parent tells of it
        if (signal == kSyscallStop) {
            AtCall(pid, traced);
        } else if (status >> 16 == PTRACE_EVENT_EXEC) {
            LeaveAlone(pid);
        } else if (status >> 16 == PTRACE_EVENT_FORK) {
            NewChild(pid);
            Resume(pid, 0);
        } else if (signal == SIGSTOP && !traced.isRunning) {
            traced.isRunning = true;
            Resume(pid, 0);
        } else if (signal == SIGSTOP && pid == pid_) {
            LeaveAlone(pid);
        } else {
            Resume(pid, signal);
        }
    }

    void NewChild(pid_t parent)
    {
        unsigned long child = 0;
        if (::ptrace(PTRACE_GETEVENTMSG, parent, nullptr, &child) != 0)
            ThrowErrno("PTRACE_GETEVENTMSG");
        traced_[static_cast<pid_t>(child)];
    }

    void AtCall(pid_t pid, Traced& traced)
    {
        traced.inCall = !traced.inCall;
        if (traced.inCall)
            AtEntry(pid, traced);
        else
            AtExit(pid, traced);
        if (!traced.inCall && traced.isLast)  // a command comes next, or the caller's own code
            LeaveAlone(pid);
        else
            Resume(pid, 0);
    }

    void AtEntry(pid_t pid, Traced& traced)
    {
        traced.replaces = false;
        traced.isLast = false;
        Registers registers(pid);
        const auto meaning = Meanings().find(registers.Number());
        if (meaning == Meanings().end())
            return;
        Call call = Describe(pid, registers, meaning->second);
        const bool isSleep = call.name == "sleep";
        if (pid != pid_) {
            traced.isLast = call.name == "fork" || call.name == "exec";
            call.name = kOfChild + call.name;
        }
        run_.calls.push_back(call);

        if (call.name != fault_.call || !IsDue()) {
            if (isSleep)
                Replace(registers, traced, 0);
            return;
        }
        if (!run_.met)
            run_.path = call.path;
        run_.met = true;
        Inject(pid, registers, traced, call);
    }

    bool IsDue()
    {
        ++count_;
        return count_ == fault_.number || (fault_.lasts && count_ > fault_.number);
    }

    void Inject(pid_t pid, Registers& registers, Traced& traced, const Call& call)
    {
        if (fault_.effect == "short") {
            if (registers.Number() == SYS_writev)
                ShortenVector(pid, registers);
            else
                registers.SetLength(std::min<std::uint64_t>(1, registers.Argument(2)));
            registers.Write();
        } else if (KindOf(call.name) == "close" || fault_.effect == "ECHILD") {
            // A descriptor is gone whatever close(2) reports, and so is a child whose status
            // nobody keeps when wait(2) returns.
            traced.replaces = true;
            traced.result = -ErrnoOf(fault_.effect);
        } else {
            Replace(registers, traced, -ErrnoOf(fault_.effect));
        }
    }

    // One byte of the first part that has any.
    static void ShortenVector(pid_t pid, Registers& registers)
    {
        const std::uint64_t parts = registers.Argument(1);
        for (std::uint64_t i = 0; i < registers.Argument(2); ++i) {
            const std::uint64_t length = parts + i * sizeof(iovec) + offsetof(iovec, iov_len);
            const auto place = reinterpret_cast<void*>(static_cast<std::uintptr_t>(length));
            errno = 0;
            const long bytes = ::ptrace(PTRACE_PEEKDATA, pid, place, nullptr);
            if (errno != 0)
                ThrowErrno("PTRACE_PEEKDATA");
            if (bytes == 0)
                continue;
            if (::ptrace(PTRACE_POKEDATA, pid, place, 1L) != 0)
                ThrowErrno("PTRACE_POKEDATA");
            registers.SetLength(i + 1);
            return;
        }
    }

    // The kernel does not make the call; the process is told `result`.
    static void Replace(Registers& registers, Traced& traced, long result)
    {
        registers.Skip();
        traced.replaces = true;
        traced.result = result;
    }

    static void AtExit(pid_t pid, const Traced& traced)
    {
        if (!traced.replaces)
            return;
        Registers registers(pid);
        registers.SetResult(traced.result);
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
    std::map<pid_t, Traced> traced_;
    int count_ = 0;
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
