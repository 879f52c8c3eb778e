#include "proof/sweeps/Cancellation.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace qor::proof {
namespace {

thread_local bool t_watches = false;
thread_local int t_seen = 0;
thread_local int t_wanted = 0;

void Pass()
{
    if (t_watches && ++t_seen == t_wanted)
        (void)::pthread_cancel(::pthread_self());
}

// The C library's function of that name.
template <typename Function>
Function* Real(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

void WatchPoints(int number)
{
    t_wanted = number;
    t_seen = 0;
    t_watches = true;
}

int UnwatchPoints()
{
    t_watches = false;
    return t_seen;
}

}  // namespace qor::proof

// NAME(RESULT, PARAMETERS, ARGUMENTS): a point that passes its arguments on.
#define QOR_POINT(result, name, parameters, arguments)                        \
    extern "C" result name parameters                                         \
    {                                                                         \
        static auto* const real = qor::proof::Real<result parameters>(#name); \
        qor::proof::Pass();                                                   \
        return real arguments;                                                \
    }

QOR_POINT(ssize_t, read, (int fd, void* buffer, std::size_t size), (fd, buffer, size))
QOR_POINT(ssize_t, write, (int fd, const void* text, std::size_t size), (fd, text, size))
QOR_POINT(ssize_t, writev, (int fd, const iovec* parts, int count), (fd, parts, count))
QOR_POINT(int, close, (int fd), (fd))
QOR_POINT(int, system, (const char* command), (command))
QOR_POINT(pid_t, wait, (int* status), (status))
QOR_POINT(pid_t, waitpid, (pid_t pid, int* status, int options), (pid, status, options))
QOR_POINT(int, usleep, (useconds_t time), (time))
QOR_POINT(int, nanosleep, (const timespec* time, timespec* left), (time, left))
QOR_POINT(int, clock_nanosleep, (clockid_t clock, int flags, const timespec* time, timespec* left),
          (clock, flags, time, left))
QOR_POINT(FILE*, fopen, (const char* path, const char* mode), (path, mode))
QOR_POINT(FILE*, fopen64, (const char* path, const char* mode), (path, mode))
QOR_POINT(int, fclose, (FILE * file), (file))
QOR_POINT(char*, fgets, (char* buffer, int size, FILE* file), (buffer, size, file))
QOR_POINT(DIR*, opendir, (const char* path), (path))
QOR_POINT(DIR*, fdopendir, (int fd), (fd))
QOR_POINT(dirent*, readdir, (DIR * directory), (directory))
QOR_POINT(int, closedir, (DIR * directory), (directory))
QOR_POINT(void, closelog, (), ())
QOR_POINT(void, openlog, (const char* ident, int options, int facility), (ident, options, facility))
QOR_POINT(void, vsyslog, (int priority, const char* format, std::va_list arguments),
          (priority, format, arguments))

// The mode is there only when a file may be made; passing on what is not there does no harm.
#define QOR_OPEN_POINT(name, parameters, last, ...)                                        \
    extern "C" int name parameters                                                         \
    {                                                                                      \
        static auto* const real = qor::proof::Real<int parameters>(#name);                 \
        std::va_list arguments;                                                            \
        va_start(arguments, last);                                                         \
        const mode_t mode = (last & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t(0); \
        va_end(arguments);                                                                 \
        qor::proof::Pass();                                                                \
        return real(__VA_ARGS__, mode);                                                    \
    }

QOR_OPEN_POINT(open, (const char* path, int flags, ...), flags, path, flags)
QOR_OPEN_POINT(open64, (const char* path, int flags, ...), flags, path, flags)
QOR_OPEN_POINT(openat, (int directory, const char* path, int flags, ...), flags, directory, path,
               flags)
