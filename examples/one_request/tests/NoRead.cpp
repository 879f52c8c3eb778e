// libqorp_NoRead.so: preloaded into the service, it has no file read that holds "unreadable" alone.
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern "C" __attribute__((visibility("default"))) ssize_t read(int fd, void* buffer, size_t size)
{
    const ssize_t length = ::syscall(SYS_read, fd, buffer, size);
    if (length != 10 || std::memcmp(buffer, "unreadable", 10) != 0)
        return length;
    errno = EIO;
    return -1;
}
