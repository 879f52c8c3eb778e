// Descriptors.h - the process's open descriptors, and what a test needs to own and read
// one.
#ifndef QOR_TEST_DESCRIPTORS_H
#define QOR_TEST_DESCRIPTORS_H

#include <sys/resource.h>
#include <unistd.h>

#include <map>
#include <string>
#include <utility>

namespace qor::test {

// Descriptor number and what /proc/self/fd says it refers to, for example {3, "/etc/motd"} or
// {4, "socket:[8125]"}.
using DescriptorMap = std::map<int, std::string>;

DescriptorMap OpenDescriptors();

// One line for each descriptor of `after` that `before` lacks ("opened 5 -> /etc/motd") and
// the other way round ("closed ..."); empty when both are alike.
std::string DescriptorChanges(const DescriptorMap& before, const DescriptorMap& after);

// Closes its descriptor at its end. -1 stands for none.
class OwnedFd
{
public:
    explicit OwnedFd(int fd = -1) : fd_(fd) {}
    OwnedFd(OwnedFd&& other) noexcept : fd_(other.Release()) {}
    OwnedFd(const OwnedFd&) = delete;
    OwnedFd& operator=(const OwnedFd&) = delete;
    OwnedFd& operator=(OwnedFd&&) = delete;
    ~OwnedFd() { Reset(); }

    int get() const { return fd_; }

    // The caller closes it from now on.
    int Release() { return std::exchange(fd_, -1); }

    void Reset()
    {
        if (fd_ >= 0)
            (void)::close(fd_);  // tests look at what was written by reading it back
        fd_ = -1;
    }

private:
    int fd_;
};

// At most `more` further descriptors can be opened meanwhile: EMFILE.
class DescriptorLimit
{
public:
    explicit DescriptorLimit(int more = 0);
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;
    ~DescriptorLimit() { (void)::setrlimit(RLIMIT_NOFILE, &former_); }

private:
    rlimit former_;
};

// Reads until the end of the file or until a pipe's last writer is gone.
std::string ReadToEnd(int fd);

// Throws std::system_error with `what` and the text of errno.
[[noreturn]] void ThrowErrno(const std::string& what);

}  // namespace qor::test

#endif  // QOR_TEST_DESCRIPTORS_H
