#include "proof/engine/Tracer.h"

#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <utility>
#include <vector>

#ifdef __aarch64__
#include <elf.h>
#endif

#include "support/Descriptors.h"

namespace qor::proof {
namespace {

using test::ThrowErrno;

constexpr int kSyscallStop = SIGTRAP | 0x80;  // PTRACE_O_TRACESYSGOOD
constexpr long kGeneralRegisters = 1;         // NT_PRSTATUS

// Reads the registers of a stopped process, lets `change` change them, and writes them back.
template <typename Change>
void ChangeRegisters(pid_t pid, Change change)
{
    user_regs_struct registers;
    iovec whole = {&registers, sizeof registers};
    if (::ptrace(PTRACE_GETREGSET, pid, kGeneralRegisters, &whole) != 0)
        ThrowErrno("PTRACE_GETREGSET");
    change(registers);
    if (::ptrace(PTRACE_SETREGSET, pid, kGeneralRegisters, &whole) != 0)
        ThrowErrno("PTRACE_SETREGSET");
}

// Where a machine keeps the number, the third argument and the result of a system call.
#if defined(__x86_64__)
void SkipCall(pid_t pid)
{
    ChangeRegisters(pid, [](auto& all) { all.orig_rax = static_cast<unsigned long>(-1L); });
}
void SetThirdArgument(pid_t pid, std::uint64_t value)
{
    ChangeRegisters(pid, [value](auto& all) { all.rdx = value; });
}
void SetResult(pid_t pid, long result)
{
    ChangeRegisters(pid, [result](auto& all) { all.rax = static_cast<unsigned long>(result); });
}
#elif defined(__aarch64__)
void SkipCall(pid_t pid)
{
    int none = -1;
    iovec number = {&none, sizeof none};
    if (::ptrace(PTRACE_SETREGSET, pid, NT_ARM_SYSTEM_CALL, &number) != 0)
        ThrowErrno("PTRACE_SETREGSET");
}
void SetThirdArgument(pid_t pid, std::uint64_t value)
{
    ChangeRegisters(pid, [value](auto& all) { all.regs[2] = value; });
}
void SetResult(pid_t pid, long result)
{
    ChangeRegisters(pid, [result](auto& all) { all.regs[0] = static_cast<unsigned long>(result); });
}
#else
#error "Where this machine keeps the number, the third argument and the result of a system call."
#endif

void* Address(std::uint64_t address)
{
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
}

pid_t Wait(pid_t pid, int& status)
{
    for (;;) {
        const pid_t changed = ::waitpid(pid, &status, __WALL);
        if (changed >= 0)
            return changed;
        if (errno != EINTR)
            ThrowErrno("waitpid");
    }
}

}  // namespace

TracedCall::TracedCall(Tracer& tracer, pid_t pid, const SyscallInfo& info)
    : tracer_(tracer), pid_(pid), info_(info)
{
}

bool TracedCall::IsOfMain() const
{
    return pid_ == tracer_.first_;
}

std::string TracedCall::TextAt(std::uint64_t address) const
{
    constexpr std::uint64_t kPage = 4096;
    char text[PATH_MAX] = "";
    std::size_t length = 0;
    // A text may end just before memory that is not there: up to the end of each page only.
    while (length < sizeof text - 1) {
        const std::uint64_t place = address + length;
        iovec local = {text + length,
                       std::min<std::size_t>(kPage - place % kPage, sizeof text - 1 - length)};
        const iovec remote = {Address(place), local.iov_len};
        const ssize_t count = ::process_vm_readv(pid_, &local, 1, &remote, 1, 0);
        if (count <= 0)
            break;
        const char* const begin = text + length;
        length += static_cast<std::size_t>(count);
        if (std::find(begin, static_cast<const char*>(text + length), '\0') != text + length)
            break;
    }
    return text;
}

std::string TracedCall::FileOf(std::uint64_t descriptor) const
{
    const std::string link =
        "/proc/" + std::to_string(pid_) + "/fd/" + std::to_string(static_cast<int>(descriptor));
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length < 0 ? "" : std::string(target, static_cast<std::size_t>(length));
}

std::uint64_t TracedCall::WordAt(std::uint64_t address) const
{
    errno = 0;
    const long word = ::ptrace(PTRACE_PEEKDATA, pid_, Address(address), nullptr);
    if (errno != 0)
        ThrowErrno("PTRACE_PEEKDATA");
    return static_cast<std::uint64_t>(word);
}

void TracedCall::SetWordAt(std::uint64_t address, std::uint64_t word) const
{
    if (::ptrace(PTRACE_POKEDATA, pid_, Address(address), word) != 0)
        ThrowErrno("PTRACE_POKEDATA");
}

void TracedCall::Skip(long result)
{
    SkipCall(pid_);
    Answer(result);
}

void TracedCall::Answer(long result)
{
    tracer_.processes_[pid_].answers = true;
    tracer_.processes_[pid_].result = result;
}

void TracedCall::SetLength(std::uint64_t length)
{
    SetThirdArgument(pid_, length);
}

void TracedCall::LeaveProcess()
{
    tracer_.processes_[pid_].leaves = true;
}

Tracer::Tracer(pid_t main, Follow follow, TraceClient& client)
    : main_(main), first_(main), follow_(follow), client_(client)
{
}

int Tracer::Run()
{
    int mainStatus = 0;
    processes_[main_];
    while (!processes_.empty()) {
        int status = 0;
        const pid_t pid = Wait(-1, status);
        if (WIFSTOPPED(status)) {
            Stopped(pid, status);
            continue;
        }
        processes_.erase(pid);
        if (pid == main_) {
            mainStatus = status;
            if (follow_ == Follow::Forks)
                EndChildren();
        }
        ReleaseHeld();
    }
    return mainStatus;
}

void Tracer::KillAll()
{
    isOver_ = true;
    for (const auto& entry : processes_)
        (void)::kill(entry.first, SIGKILL);
}

// The children of fork(2) alone are followed where commands are not: those of vfork(2) and its kin
// run commands.
void Tracer::Begin()
{
    long options =
        PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEFORK | PTRACE_O_TRACEEXEC;
    if (follow_ == Follow::Everything)
        options |= PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE;
    if (::ptrace(PTRACE_SETOPTIONS, first_, nullptr, options) != 0)
        ThrowErrno("PTRACE_SETOPTIONS");
    hasBegun_ = true;
    processes_[first_].seen = true;
    Resume(first_);
}

// A process that was killed meanwhile is gone (ESRCH), and reports its end by itself.
void Tracer::Resume(pid_t pid, int signal)
{
    processes_[pid].turn = Turn::Running;
    if (::ptrace(PTRACE_SYSCALL, pid, nullptr, static_cast<long>(signal)) != 0 && errno != ESRCH)
        ThrowErrno("PTRACE_SYSCALL");
}

void Tracer::Detach(pid_t pid)
{
    if (::ptrace(PTRACE_DETACH, pid, nullptr, nullptr) != 0 && errno != ESRCH)
        ThrowErrno("PTRACE_DETACH");
    if (pid != main_)
        processes_.erase(pid);
}

void Tracer::EndChildren()
{
    while (!processes_.empty()) {
        const pid_t child = processes_.begin()->first;
        (void)::kill(child, SIGKILL);
        int status = 0;
        do {
            if (::waitpid(child, &status, __WALL) < 0 && errno != EINTR)
                break;  // has been waited for by its parent
        } while (WIFSTOPPED(status));
        processes_.erase(child);
    }
}

bool Tracer::HasChildren(pid_t pid) const
{
    return std::any_of(processes_.begin(), processes_.end(),
                       [pid](const auto& entry) { return entry.second.parent == pid; });
}

// Those whose reason to be held is gone.
void Tracer::ReleaseHeld()
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

void Tracer::Hold(pid_t pid, Turn reason)
{
    processes_[pid].turn = reason;
    ReleaseHeld();
}

void Tracer::Stopped(pid_t pid, int status)
{
    const int signal = WSTOPSIG(status);
    const int event = status >> 16;
    if (!hasBegun_) {
        first_ = pid;
        Begin();
        return;
    }
    Process& process = processes_[pid];  // a child may stop before its parent reports it
    const bool first = !std::exchange(process.seen, true);
    if (isOver_)
        (void)::kill(pid, SIGKILL);  // one that was being started
    else if (signal == kSyscallStop)
        AtCall(pid);
    else if (event != 0)
        AtEvent(pid, event);
    else if (first)
        AtBirth(pid);
    else if (signal == SIGSTOP && pid == first_ && follow_ == Follow::Forks)
        Detach(pid);  // Leave()
    else
        Resume(pid, signal);
}

// Each begins with a SIGSTOP, which can come before its parent's report.
void Tracer::AtBirth(pid_t pid)
{
    const Process& process = processes_[pid];
    if (follow_ == Follow::Forks || process.vforked)
        Resume(pid);
    else if (process.parent == 0)
        processes_[pid].turn = Turn::HeldForReport;
    else
        Hold(pid, Turn::HeldForParent);
}

void Tracer::AtEvent(pid_t pid, int event)
{
    if (event == PTRACE_EVENT_EXEC) {
        if (follow_ == Follow::Forks)
            Detach(pid);
        else if (processes_[pid].vforked)
            Hold(pid, Turn::HeldForParent);
        else
            Resume(pid);
        return;
    }
    unsigned long number = 0;
    if (::ptrace(PTRACE_GETEVENTMSG, pid, nullptr, &number) != 0)
        ThrowErrno("PTRACE_GETEVENTMSG");
    const auto child = static_cast<pid_t>(number);
    processes_[child].parent = pid;
    processes_[child].vforked = event == PTRACE_EVENT_VFORK;
    if (processes_[child].turn == Turn::HeldForReport)
        AtBirth(child);
    Resume(pid);
}

void Tracer::AtCall(pid_t pid)
{
    SyscallInfo info = {};
    if (::ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof info, &info) < 0) {
        if (errno == ESRCH)
            return;
        ThrowErrno("PTRACE_GET_SYSCALL_INFO");
    }
    Process& process = processes_[pid];
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
        process.answers = false;
        TracedCall call(*this, pid, info);
        client_.AtEntry(*this, call);
    } else {
        if (process.answers)
            SetResult(pid, process.result);
        client_.AtExit(*this, pid);
        if (process.leaves && !isOver_) {
            Detach(pid);
            return;
        }
    }
    if (!isOver_)
        Continue(pid, info);
}

void Tracer::Continue(pid_t pid, const SyscallInfo& info)
{
    const bool waits = info.op == PTRACE_SYSCALL_INFO_ENTRY &&
                       (info.entry.nr == SYS_wait4 || info.entry.nr == SYS_waitid);
    if (follow_ == Follow::Everything && waits && HasChildren(pid))
        Hold(pid, Turn::HeldForChildren);
    else
        Resume(pid);
}

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

}  // namespace qor::proof
