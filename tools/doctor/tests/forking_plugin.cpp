// A library whose constructor leaves a process behind: it keeps /opt/forked locked, flock(2), as
// long as it lives. Where there is /opt/abort, the process that loads it is ended.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>

namespace {

constexpr unsigned kLifetime = 60;  // seconds, should a test not end it

struct LeavesAProcess {
    LeavesAProcess()
    {
        const int lock = ::open("/opt/forked", O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (lock < 0 || ::flock(lock, LOCK_EX) != 0)
            std::abort();
        if (::fork() == 0) {
            (void)::sleep(kLifetime);  // or less
            ::_exit(0);
        }
        (void)::close(lock);  // the lock is the new process's alone
        if (::access("/opt/abort", F_OK) == 0)
            std::abort();
    }
};

const LeavesAProcess kProcess;

}  // namespace

extern "C" void* create();

extern "C" void* create()
{
    return nullptr;
}
