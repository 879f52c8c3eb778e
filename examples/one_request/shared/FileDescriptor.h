// FileDescriptor.h - the owner of a descriptor.
#ifndef ONE_REQUEST_SHARED_FILEDESCRIPTOR_H
#define ONE_REQUEST_SHARED_FILEDESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace one_request {

class FileDescriptor
{
public:
    /// Takes the descriptor over. -1 stands for none.
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { (void)Close(); }  // a destructor cannot report; Close can

    explicit operator bool() const { return fd_ >= 0; }
    int Get() const { return fd_; }

    /// False with errno when close(2) reports a failure; the descriptor is gone in any case.
    bool Close() { return fd_ < 0 || ::close(std::exchange(fd_, -1)) == 0; }

private:
    int fd_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_FILEDESCRIPTOR_H
