// libqorp_NoRead.so: preloaded into the service, it lets no file be read that holds "unreadable"
// alone, as long as the file has a name.
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern "C" __attribute__((visibility("default"))) ssize_t read(int fd, void* buffer, size_t size)
{
    const ssize_t length = ::syscall(SYS_read, fd, buffer, size);
    struct stat status;
    if (length != 10 || std::memcmp(buffer, "unreadable", 10) != 0 || ::fstat(fd, &status) != 0 ||
        status.st_nlink == 0)
        return length;
    errno = EIO;
    return -1;
}
