#include "proof/death/Tracer.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

#include "support/Descriptors.h"

namespace qor::proof {
namespace {

using test::ThrowErrno;

// The C library's name of ptrace(2)'s struct ptrace_syscall_info.
using SyscallInfo = __ptrace_syscall_info;

constexpr int kSyscallStop = SIGTRAP | 0x80;  // PTRACE_O_TRACESYSGOOD

struct Name {
    long number;
    const char* text;
};

constexpr Name kNames[] = {
    {SYS_openat, "openat"},
    {SYS_write, "write"},
    {SYS_writev, "writev"},
    {SYS_read, "read"},
    {SYS_close, "close"},
    {SYS_newfstatat, "newfstatat"},
    {SYS_lseek, "lseek"},
    {SYS_unlinkat, "unlinkat"},
    {SYS_renameat2, "renameat2"},
    {SYS_fstat, "fstat"},
    {SYS_mmap, "mmap"},
    {SYS_munmap, "munmap"},
    {SYS_brk, "brk"},
    {SYS_clone, "clone"},
    {SYS_clone3, "clone3"},
    {SYS_execve, "execve"},
    {SYS_wait4, "wait4"},
    {SYS_exit_group, "exit_group"},
    {SYS_getdents64, "getdents64"},
    {SYS_rt_sigaction, "rt_sigaction"},
    {SYS_socket, "socket"},
    {SYS_rt_sigprocmask, "rt_sigprocmask"},
    {SYS_connect, "connect"},
    {SYS_dup3, "dup3"},
    {SYS_faccessat, "faccessat"},
    {SYS_fcntl, "fcntl"},
    {SYS_mkdirat, "mkdirat"},
    {SYS_gettid, "gettid"},
#ifdef SYS_unlink  // the calls of older machines
    {SYS_unlink, "unlink"},
    {SYS_rename, "rename"},
    {SYS_mkdir, "mkdir"},
    {SYS_access, "access"},
    {SYS_dup2, "dup2"},
    {SYS_vfork, "vfork"},
#endif
};

std::string NameOf(std::uint64_t number)
{
    for (const Name& name : kNames) {
        if (static_cast<std::uint64_t>(name.number) == number)
            return name.text;
    }
    return std::to_string(number);
}

std::uint64_t Sum(pid_t pid, std::uint64_t vector, std::uint64_t count)
{
    std::vector<iovec> parts(std::min<std::uint64_t>(count, 16));
    const iovec local = {parts.data(), parts.size() * sizeof(iovec)};
    // The number of a process's address, as the kernel told it.
    const iovec remote = {reinterpret_cast<void*>(static_cast<std::uintptr_t>(vector)),
                          local.iov_len};
    if (::process_vm_readv(pid, &local, 1, &remote, 1, 0) < 0)
        ThrowErrno("process_vm_readv");
    std::uint64_t sum = 0;
    for (const iovec& part : parts)
        sum += part.iov_len;
    return sum;
}

// Where the next write of a descriptor goes; nothing unless it is a regular file's.
std::optional<std::uint64_t> WritePosition(pid_t pid, std::uint64_t fd)
{
    const std::string process = "/proc/" + std::to_string(pid);
    struct stat status;
    if (::stat((process + "/fd/" + std::to_string(fd)).c_str(), &status) != 0 ||
        !S_ISREG(status.st_mode))
        return {};

    const std::string path = process + "/fdinfo/" + std::to_string(fd);
    std::FILE* const info = std::fopen(path.c_str(), "re");
    if (info == nullptr)
        ThrowErrno(path);
    unsigned long position = 0;
    unsigned flags = 0;
    const int read = std::fscanf(info, "pos: %lu flags: %o", &position, &flags);
    (void)std::fclose(info);
    if (read != 2)
        throw std::runtime_error("cannot read " + path);
    return (flags & O_APPEND) != 0 ? static_cast<std::uint64_t>(status.st_size) : position;
}

struct Write {
    std::uint64_t position;
    std::uint64_t length;
};

// Nothing unless the call is a write of two bytes or more to a regular file.
std::optional<Write> WriteOf(pid_t pid, const SyscallInfo& call)
{
    const std::uint64_t* const args = call.entry.args;
    std::uint64_t length = 0;
    if (call.entry.nr == SYS_write)
        length = args[2];
    else if (call.entry.nr == SYS_writev)
        length = Sum(pid, args[1], args[2]);
    if (length < 2)
        return {};
    const auto position = WritePosition(pid, args[0]);
    if (!position)
        return {};
    return Write{*position, length};
}

void CutWrite(pid_t pid, const Write& write, Manner manner)
{
    const std::uint64_t left = manner == Manner::TornFirst  ? 1
                               : manner == Manner::TornHalf ? write.length / 2
                                                            : write.length - 1;
    const rlimit limit = {write.position + left, RLIM_INFINITY};
    if (::prlimit(pid, RLIMIT_FSIZE, &limit, nullptr) != 0)
        ThrowErrno("prlimit");
}

enum class Turn { Running, HeldForReport, HeldForParent, HeldForChildren };

struct Process {
    Turn turn = Turn::Running;
    pid_t parent = 0;
    bool seen = false;     // has had its first stop
    bool vforked = false;  // to be held when it has left its parent's memory: at its execve
};

class Tracer
{
public:
    Tracer(pid_t main, Manner manner, unsigned number, const std::function<void()>& afterwards)
        : main_(main), manner_(manner), number_(number), afterwards_(afterwards)
    {
        processes_[main].seen = true;
    }

    Death Run()
    {
        Begin();
        while (!processes_.empty()) {
            int status = 0;
            const pid_t pid = ::waitpid(-1, &status, __WALL);
            if (pid < 0 && errno == EINTR)
                continue;
            if (pid < 0)
                ThrowErrno("waitpid");
            if (WIFSTOPPED(status))
                Stopped(pid, status);
            else
                Ended(pid, status);
        }
        if (!death_.happened && mainStatus_ != 0)
            throw std::runtime_error("the operation ended with wait status " +
                                     std::to_string(mainStatus_));
        return death_;
    }

private:
    void Begin()
    {
        int status = 0;
        if (::waitpid(main_, &status, __WALL) != main_ || !WIFSTOPPED(status))
            throw std::runtime_error("the operation cannot be traced");
        const long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                             PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;
        if (::ptrace(PTRACE_SETOPTIONS, main_, nullptr, options) != 0)
            ThrowErrno("PTRACE_SETOPTIONS");
        Resume(main_);
    }

    // A process that was killed meanwhile is gone (ESRCH), and reports its end by itself.
    void Resume(pid_t pid, int signal = 0)
    {
        processes_[pid].turn = Turn::Running;
        if (::ptrace(PTRACE_SYSCALL, pid, nullptr, static_cast<long>(signal)) != 0 &&
            errno != ESRCH)
            ThrowErrno("PTRACE_SYSCALL");
    }

    void Ended(pid_t pid, int status)
    {
        if (pid == main_)
            mainStatus_ = status;
        processes_.erase(pid);
        ReleaseHeld();
    }

    bool HasChildren(pid_t pid) const
    {
        return std::any_of(processes_.begin(), processes_.end(),
                           [pid](const auto& entry) { return entry.second.parent == pid; });
    }

    // Those whose reason to be held is gone.
    void ReleaseHeld()
    {
        std::vector<pid_t> released;
        for (const auto& [pid, process] : processes_) {
            const auto parent = processes_.find(process.parent);
            if ((process.turn == Turn::HeldForChildren && !HasChildren(pid)) ||
                (process.turn == Turn::HeldForParent &&
                 (parent == processes_.end() || parent->second.turn == Turn::HeldForChildren)))
                released.push_back(pid);
        }
        for (const pid_t pid : released)
            Resume(pid);
    }

    void Hold(pid_t pid, Turn reason)
    {
        processes_[pid].turn = reason;
        ReleaseHeld();
    }

    void Stopped(pid_t pid, int status)
    {
        Process& process = processes_[pid];
        const bool first = !std::exchange(process.seen, true);
        const int signal = WSTOPSIG(status);
        const int event = status >> 16;
        if (death_.happened && manner_ != Manner::Caller && manner_ != Manner::Overtaken)
            (void)::kill(pid, SIGKILL);  // one that was being started
        else if (signal == kSyscallStop)
            AtCall(pid);
        else if (event != 0)
            AtEvent(pid, event);
        else if (first)
            AtBirth(pid);
        else
            Resume(pid, signal);
    }

    // Each begins with a SIGSTOP, which can come before its parent's report.
    void AtBirth(pid_t pid)
    {
        const Process& process = processes_[pid];
        if (process.parent == 0)
            processes_[pid].turn = Turn::HeldForReport;
        else if (process.vforked)
            Resume(pid);
        else
            Hold(pid, Turn::HeldForParent);
    }

    void AtEvent(pid_t pid, int event)
    {
        if (event == PTRACE_EVENT_EXEC && processes_[pid].vforked) {
            Hold(pid, Turn::HeldForParent);
            return;
        }
        if (event != PTRACE_EVENT_EXEC) {
            unsigned long child = 0;
            if (::ptrace(PTRACE_GETEVENTMSG, pid, nullptr, &child) != 0)
                ThrowErrno("PTRACE_GETEVENTMSG");
            NewChild(pid, static_cast<pid_t>(child), event == PTRACE_EVENT_VFORK);
        }
        Resume(pid);
    }

    void NewChild(pid_t parent, pid_t pid, bool vforked)
    {
        Process& child = processes_[pid];
        child.parent = parent;
        child.vforked = vforked;
        if (child.turn == Turn::HeldForReport)
            AtBirth(pid);
    }

    void AtCall(pid_t pid)
    {
        SyscallInfo call = {};
        if (::ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof call, &call) < 0) {
            if (errno == ESRCH)
                return;
            ThrowErrno("PTRACE_GET_SYSCALL_INFO");
        }
        if (call.op == PTRACE_SYSCALL_INFO_ENTRY && !death_.happened)
            Count(pid, call);
        else if (call.op == PTRACE_SYSCALL_INFO_EXIT && pid == torn_)
            Kill(pid, call);
        else
            Continue(pid, call);
    }

    void Continue(pid_t pid, const SyscallInfo& call)
    {
        const bool waits = call.op == PTRACE_SYSCALL_INFO_ENTRY &&
                           (call.entry.nr == SYS_wait4 || call.entry.nr == SYS_waitid);
        if (waits && HasChildren(pid))
            Hold(pid, Turn::HeldForChildren);
        else
            Resume(pid);
    }

    void Count(pid_t pid, const SyscallInfo& call)
    {
        std::optional<Write> write;
        const bool counts = IsTorn(manner_) ? (write = WriteOf(pid, call)).has_value()
                            : manner_ == Manner::Overtaken ? pid != main_
                                                           : true;
        if (!counts || ++count_ != number_) {
            Continue(pid, call);
            return;
        }
        death_.call = NameOf(call.entry.nr);
        death_.ofMain = pid == main_;
        if (!write) {
            Kill(pid, call);
            return;
        }
        CutWrite(pid, *write, manner_);
        torn_ = pid;
        Resume(pid);
    }

    // At `call` of `pid`.
    void Kill(pid_t pid, const SyscallInfo& call)
    {
        death_.happened = true;
        if (manner_ == Manner::Caller) {
            (void)::kill(pid, SIGKILL);
            return;
        }
        if (manner_ == Manner::Overtaken) {
            (void)::kill(main_, SIGKILL);
            afterwards_();
            Continue(pid, call);
            return;
        }
        for (const auto& entry : processes_)
            (void)::kill(entry.first, SIGKILL);
    }

    pid_t main_;
    Manner manner_;
    unsigned number_;
    const std::function<void()>& afterwards_;
    std::map<pid_t, Process> processes_;
    unsigned count_ = 0;
    pid_t torn_ = 0;
    int mainStatus_ = 0;
    Death death_;
};

}  // namespace

bool IsTorn(Manner manner)
{
    return manner == Manner::TornFirst || manner == Manner::TornHalf || manner == Manner::TornLast;
}

Death RunAndKill(const std::function<void()>& operation, Manner manner, unsigned number,
                 const std::function<void()>& afterwards)
{
    // A shell tells of the commands that were killed under it.
    const test::OwnedFd nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    (void)std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0)
        ThrowErrno("fork");
    if (pid == 0) {
        if (::dup2(nowhere.get(), STDERR_FILENO) != STDERR_FILENO ||
            ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            ::_exit(1);
        (void)::raise(SIGSTOP);
        try {
            operation();
        } catch (...) {
            ::_exit(1);
        }
        ::_exit(0);
    }
    return Tracer(pid, manner, number, afterwards).Run();
}

}  // namespace qor::proof
