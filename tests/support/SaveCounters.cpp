// SaveCounters.cpp - in coverage builds only: a test program's process that leaves by _exit(2)
// saves its counters first. A handler of exit(3) saves them otherwise, and nothing would show what
// the children of a fork(2) reach.
//
// The linker brings the program's calls of _exit here (--wrap, ld(1)); nothing else is changed.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

extern "C" {
#include <gcov.h>  // for C alone
}

extern "C" [[noreturn]] void __real__exit(int status);
extern "C" [[noreturn]] void __wrap__exit(int status);

namespace {

bool Lift(__rlimit_resource resource)
{
    rlimit limit;
    if (::getrlimit(resource, &limit) != 0)
        return false;
    limit.rlim_cur = limit.rlim_max;
    return ::setrlimit(resource, &limit) == 0;
}

// The process is a test's until now: the limits that it has set are lifted where they can be, and
// complaints (of files that another user may not write) do not go to the standard error stream,
// which the test may read. Limits that stay would cut the files: nothing is saved then.
void SaveCounters()
{
    rlimit size;
    if (!Lift(RLIMIT_NOFILE) || !Lift(RLIMIT_FSIZE) || ::getrlimit(RLIMIT_FSIZE, &size) != 0 ||
        size.rlim_cur != RLIM_INFINITY)
        return;

    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0 || (nowhere != STDERR_FILENO && ::dup2(nowhere, STDERR_FILENO) < 0))
        return;
    __gcov_dump();
}

}  // namespace

extern "C" void __wrap__exit(int status)
{
    SaveCounters();
    __real__exit(status);
}
