// Tracer.h - follows a forked process at its system calls (ptrace(2)), and changes or ends them.
//
// One engine for the proofs that look at calls: each gives a TraceClient, which is asked at the
// entry of every call.
#ifndef QOR_PROOF_TRACER_H
#define QOR_PROOF_TRACER_H

#include <sys/ptrace.h>
#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>

namespace qor::proof {

// The C library's name of ptrace(2)'s struct ptrace_syscall_info.
using SyscallInfo = __ptrace_syscall_info;

enum class Follow {
    // The process from Enter() to Leave(), and its children of fork(2), each until it starts a
    // command. All run as they like.
    Forks,
    // The process and all that it starts, until all have ended. They take turns, so that the same
    // number means the same call each time: one that waits for a child is held until the child is
    // gone, and a child until its parent waits.
    Everything
};

class Tracer;

// A call that a stopped process is about to make.
class TracedCall
{
public:
    TracedCall(Tracer& tracer, pid_t pid, const SyscallInfo& info);

    pid_t Process() const { return pid_; }
    bool IsOfMain() const;  // not of a process that it started
    long Number() const { return static_cast<long>(info_.entry.nr); }
    std::uint64_t Argument(int index) const { return info_.entry.args[index]; }

    std::string TextAt(std::uint64_t address) const;     // of the process
    std::string FileOf(std::uint64_t descriptor) const;  // "" when it is none
    std::uint64_t WordAt(std::uint64_t address) const;   // of the process
    void SetWordAt(std::uint64_t address, std::uint64_t word) const;

    // The kernel does not make the call; the process gets the result (-errno).
    void Skip(long result);
    // The kernel makes the call; the process gets this result all the same.
    void Answer(long result);
    // The call has another third argument: the length of a read, a write, a vector.
    void SetLength(std::uint64_t length);
    // After this call the process is left alone.
    void LeaveProcess();

private:
    Tracer& tracer_;
    pid_t pid_;
    const SyscallInfo& info_;
};

class TraceClient
{
public:
    virtual ~TraceClient() = default;

    virtual void AtEntry(Tracer& tracer, TracedCall& call) = 0;

    // At the exit of a call.
    virtual void AtExit(Tracer&, pid_t) {}
};

class Tracer
{
public:
    // main: forked and about to call Enter(), in whatever thread.
    Tracer(pid_t main, Follow follow, TraceClient& client);

    // Until the process has ended. Returns its wait status. Children that it left are ended, or
    // with Follow::Everything waited for. Throws when tracing fails.
    int Run();

    // For the client. Ends every process, also those that are being started.
    void KillAll();
    pid_t Main() const { return main_; }

private:
    friend class TracedCall;

    enum class Turn { Running, HeldForReport, HeldForParent, HeldForChildren };
    struct Process {
        Turn turn = Turn::Running;
        pid_t parent = 0;
        bool seen = false;     // has had its first stop
        bool vforked = false;  // to be held when it has left its parent's memory: at its execve
        bool inCall = false;
        bool answers = false;
        long result = 0;
        bool leaves = false;  // is left alone at the end of the call
    };

    void Begin();
    void Stopped(pid_t pid, int status);
    void AtBirth(pid_t pid);
    void AtEvent(pid_t pid, int event);
    void AtCall(pid_t pid);
    void Continue(pid_t pid, const SyscallInfo& info);
    void Resume(pid_t pid, int signal = 0);
    void Detach(pid_t pid);
    void Hold(pid_t pid, Turn reason);
    void ReleaseHeld();
    bool HasChildren(pid_t pid) const;
    void EndChildren();

    pid_t main_;
    pid_t first_;  // what called Enter(): the process, or a thread of it
    Follow follow_;
    TraceClient& client_;
    std::map<pid_t, Process> processes_;
    bool hasBegun_ = false;
    bool isOver_ = false;
};

// For the traced process.
void Enter();
void Leave();

}  // namespace qor::proof

#endif  // QOR_PROOF_TRACER_H
