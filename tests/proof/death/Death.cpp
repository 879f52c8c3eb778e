#include "proof/death/Death.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <stdexcept>

#include "proof/engine/Injector.h"
#include "proof/engine/Proof.h"
#include "proof/engine/Tracer.h"
#include "support/Descriptors.h"

namespace qor::proof {
namespace {

using test::ThrowErrno;

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

struct TracedWrite {
    std::uint64_t position;
    std::uint64_t length;
};

// Nothing unless the call is a write of two bytes or more to a regular file.
std::optional<TracedWrite> WriteOf(const TracedCall& call)
{
    std::uint64_t length = 0;
    if (call.Number() == SYS_write)
        length = call.Argument(2);
    for (std::uint64_t i = 0; call.Number() == SYS_writev && i < call.Argument(2); ++i)
        length += call.WordAt(call.Argument(1) + i * sizeof(iovec) + offsetof(iovec, iov_len));
    if (length < 2)
        return {};
    const auto position = WritePosition(call.Process(), call.Argument(0));
    return position ? std::optional<TracedWrite>({*position, length}) : std::nullopt;
}

void CutWrite(pid_t pid, const TracedWrite& write, Manner manner)
{
    const std::uint64_t left = manner == Manner::TornFirst  ? 1
                               : manner == Manner::TornHalf ? write.length / 2
                                                            : write.length - 1;
    const rlimit limit = {write.position + left, RLIM_INFINITY};
    if (::prlimit(pid, RLIMIT_FSIZE, &limit, nullptr) != 0)
        ThrowErrno("prlimit");
}

class Killer : public TraceClient
{
public:
    Killer(Manner manner, unsigned number, const std::function<void()>& afterwards)
        : manner_(manner), number_(number), afterwards_(afterwards)
    {
    }

    void AtEntry(Tracer& tracer, TracedCall& call) override
    {
        if (death.happened || torn_ != 0)
            return;
        std::optional<TracedWrite> write;
        const bool counts = IsTorn(manner_) ? (write = WriteOf(call)).has_value()
                                            : manner_ != Manner::Overtaken || !call.IsOfMain();
        if (!counts || ++count_ != number_)
            return;
        death.call = NameOfCall(call.Number());
        death.ofMain = call.IsOfMain();
        if (!write) {
            Kill(tracer, call.Process());
            return;
        }
        CutWrite(call.Process(), *write, manner_);
        torn_ = call.Process();
    }

    void AtExit(Tracer& tracer, pid_t pid) override
    {
        if (pid == torn_)
            Kill(tracer, pid);
    }

    Death death;

private:
    void Kill(Tracer& tracer, pid_t pid)
    {
        death.happened = true;
        if (manner_ == Manner::Caller) {
            (void)::kill(pid, SIGKILL);
        } else if (manner_ == Manner::Overtaken) {
            (void)::kill(tracer.Main(), SIGKILL);
            afterwards_();
        } else {
            tracer.KillAll();
        }
    }

    Manner manner_;
    unsigned number_;
    const std::function<void()>& afterwards_;
    unsigned count_ = 0;
    pid_t torn_ = 0;
};

}  // namespace

bool IsTorn(Manner manner)
{
    return manner == Manner::TornFirst || manner == Manner::TornHalf || manner == Manner::TornLast;
}

Death RunAndKill(const std::function<void()>& operation, Manner manner, unsigned number,
                 const std::function<void()>& afterwards)
{
    constexpr unsigned kNoLimit = 0;  // the proof's own alarm ends it
    Worker worker(
        [&operation] {
            DropMessages();  // a shell reports the commands that were killed under it
            Enter();
            operation();
        },
        kNoLimit);
    Killer killer(manner, number, afterwards);
    const int status = Tracer(worker.Pid(), Follow::Everything, killer).Run();
    const Worker::End end = worker.Ended(status);
    if (!killer.death.happened && status != 0)
        throw std::runtime_error("the operation: " + end.Failure());
    return killer.death;
}

}  // namespace qor::proof
