#include "proof/engine/Injector.h"

#include <fcntl.h>
#include <linux/sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>

#include <algorithm>
#include <cstddef>
#include <map>

#include "proof/engine/Heap.h"
#include "proof/engine/Tracer.h"

namespace qor::proof {
namespace {

constexpr unsigned kSeconds = 10;  // of a case; then it hangs

// No argument.
constexpr int kNone = -1;

// What a call does, and which of its arguments is a path, a descriptor, flags; `cloexec`: the bit
// of the flags that keeps what it opens from commands.
struct Meaning {
    const char* name;
    int path = kNone;
    int descriptor = kNone;
    int flags = kNone;
    int cloexec = 0;
};

const std::map<long, Meaning>& Meanings()
{
    static const std::map<long, Meaning> meanings = {
        {SYS_openat, {"open", 1, kNone, 2, O_CLOEXEC}},
        {SYS_read, {"read", kNone, 0}},
        {SYS_pread64, {"read", kNone, 0}},
        {SYS_write, {"write", kNone, 0}},
        {SYS_writev, {"write", kNone, 0}},
        {SYS_close, {"close", kNone, 0}},
        {SYS_newfstatat, {"stat", 1, 0}},
        {SYS_fstat, {"stat", kNone, 0}},
        {SYS_statx, {"stat", 1, 0}},
        {SYS_lseek, {"seek", kNone, 0}},
        {SYS_faccessat, {"access", 1}},
        {SYS_mkdirat, {"mkdir", 1}},
        {SYS_unlinkat, {"unlink", 1}},
        {SYS_renameat2, {"rename", 1}},
        {SYS_truncate, {"truncate", 0}},
        {SYS_getdents64, {"list", kNone, 0}},
        {SYS_clone, {"fork"}},
        {SYS_clone3, {"fork"}},
        {SYS_pipe2, {"pipe", kNone, kNone, 1, O_CLOEXEC}},
        {SYS_wait4, {"wait"}},
        {SYS_waitid, {"wait"}},
        {SYS_kill, {"kill"}},
        {SYS_dup, {"dup", kNone, 0}},
        {SYS_dup3, {"dup", kNone, 0}},
        {SYS_fcntl, {"control", kNone, 0}},
        {SYS_execve, {"exec", 0}},
        {SYS_exit_group, {"exit"}},
        {SYS_getcwd, {"directory"}},
        {SYS_socket, {"socket", kNone, kNone, 1, SOCK_CLOEXEC}},
        {SYS_connect, {"connect"}},
        {SYS_sendto, {"send"}},
        {SYS_mmap, {"map"}},
        {SYS_mprotect, {"map"}},
        {SYS_nanosleep, {"sleep"}},
        {SYS_clock_nanosleep, {"sleep"}},
#ifdef SYS_open  // the calls of older machines
        {SYS_open, {"open", 0, kNone, 1, O_CLOEXEC}},
        {SYS_stat, {"stat", 0}},
        {SYS_lstat, {"stat", 0}},
        {SYS_access, {"access", 0}},
        {SYS_mkdir, {"mkdir", 0}},
        {SYS_rmdir, {"rmdir", 0}},
        {SYS_unlink, {"unlink", 0}},
        {SYS_rename, {"rename", 0}},
        {SYS_dup2, {"dup", kNone, 0}},
        {SYS_fork, {"fork"}},
        {SYS_vfork, {"fork"}},
#endif
    };
    return meanings;
}

SystemCall Describe(const TracedCall& traced, const Meaning& meaning)
{
    SystemCall call;
    call.name = meaning.name;
    if (meaning.path != kNone)
        call.path = traced.TextAt(traced.Argument(meaning.path));
    if (call.path.empty() && meaning.descriptor != kNone) {
        call.path = traced.FileOf(traced.Argument(meaning.descriptor));
        call.byDescriptor = true;
    }
    if (meaning.flags != kNone) {
        const auto flags = static_cast<int>(traced.Argument(meaning.flags));
        call.staysOpen = (flags & meaning.cloexec) == 0;
        if (call.name == "open") {
            call.writes = (flags & O_ACCMODE) != O_RDONLY;
            call.creates = (flags & O_CREAT) != 0;
            call.exclusive = (flags & O_EXCL) != 0;
            call.path += call.writes ? " for writing" : "";
        }
    }
    if (traced.Number() == SYS_fcntl)
        call.staysOpen = traced.Argument(1) == F_DUPFD ||
                         (traced.Argument(1) == F_SETFD && (traced.Argument(2) & FD_CLOEXEC) == 0);
    if (traced.Number() == SYS_dup)
        call.staysOpen = true;
    return call;
}

// The library starts none.
bool StartsThread(const TracedCall& call)
{
    const bool hasRecord = call.Number() == SYS_clone3;  // which begins with the flags
    if (!hasRecord && call.Number() != SYS_clone)
        return false;
    const std::uint64_t flags = hasRecord ? call.WordAt(call.Argument(0)) : call.Argument(0);
    return (flags & CLONE_THREAD) != 0;
}

class Injection : public TraceClient
{
public:
    explicit Injection(const Fault& fault) : fault_(fault) {}

    void AtEntry(Tracer&, TracedCall& traced) override
    {
        const auto meaning = Meanings().find(traced.Number());
        if (meaning == Meanings().end())
            return;
        SystemCall call = Describe(traced, meaning->second);
        if (kHasForeignAllocator && (call.name == "map" || StartsThread(traced)))
            return;  // a sanitizer maps memory and starts threads of its own
        const bool isSleep = call.name == "sleep";
        if (!traced.IsOfMain()) {
            if (call.name == "fork" || call.name == "exec")
                traced.LeaveProcess();  // a command comes next, or the caller's own code
            call.name = kOfChild + call.name;
        }
        run.calls.push_back(call);

        if (call.name == fault_.call && IsDue()) {
            if (!run.met)
                run.path = call.path;
            run.met = true;
            Inject(traced, call);
        } else if (isSleep) {
            traced.Skip(0);
        }
    }

    TracedRun run;

private:
    bool IsDue()
    {
        ++count_;
        return count_ == fault_.number || (fault_.lasts && count_ > fault_.number);
    }

    void Inject(TracedCall& traced, const SystemCall& call)
    {
        if (fault_.effect == "short" && traced.Number() == SYS_writev)
            ShortenVector(traced);
        else if (fault_.effect == "short")
            traced.SetLength(std::min<std::uint64_t>(1, traced.Argument(2)));
        else if (KindOf(call.name) == "close" || fault_.effect == "ECHILD")
            // A descriptor is gone whatever close(2) reports, and so is a child whose status
            // nobody keeps when wait(2) returns.
            traced.Answer(-ErrnoOf(fault_.effect));
        else
            traced.Skip(-ErrnoOf(fault_.effect));
    }

    // One byte of the first part that has any.
    static void ShortenVector(TracedCall& traced)
    {
        const std::uint64_t parts = traced.Argument(1);
        for (std::uint64_t i = 0; i < traced.Argument(2); ++i) {
            const std::uint64_t length = parts + i * sizeof(iovec) + offsetof(iovec, iov_len);
            if (traced.WordAt(length) == 0)
                continue;
            traced.SetWordAt(length, 1);
            traced.SetLength(i + 1);
            return;
        }
    }

    const Fault& fault_;
    int count_ = 0;
};

}  // namespace

std::string NameOfCall(long number)
{
    const auto meaning = Meanings().find(number);
    return meaning == Meanings().end() ? std::to_string(number) : meaning->second.name;
}

TracedRun RunWithFault(const Fault& fault, const std::function<std::string()>& process)
{
    Worker worker(process, kSeconds);
    Injection injection(fault);
    const int status = Tracer(worker.Pid(), Follow::Forks, injection).Run();
    injection.run.end = worker.Ended(status);
    return std::move(injection.run);
}

}  // namespace qor::proof
