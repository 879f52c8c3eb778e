// Handles.h - owners of descriptors and directory streams: move-only, empty as -1 or null.
#ifndef QOR_BASE_HANDLES_H
#define QOR_BASE_HANDLES_H

#include <dirent.h>
#include <unistd.h>

#include <memory>
#include <utility>

#include "base/CancelGuard.h"

namespace qor {

class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.Release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        UniqueFd old(std::exchange(fd_, other.Release()));
        return *this;
    }
    // A destructor cannot report; Close() can.
    ~UniqueFd() { (void)Close(); }

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }
    int Release() { return std::exchange(fd_, -1); }

    // False with errno when close(2) reports a failure; the descriptor is gone in any case, and
    // the call must not be repeated. Never ends a cancelled thread: the destructor cannot unwind.
    bool Close()
    {
        if (fd_ < 0)
            return true;
        const CancelGuard guard;
        return ::close(Release()) == 0;
    }

private:
    int fd_ = -1;
};

struct DirCloser {
    // closedir(3) fails for an invalid stream only.
    void operator()(DIR* stream) const
    {
        const CancelGuard guard;
        (void)::closedir(stream);
    }
};
using UniqueDir = std::unique_ptr<DIR, DirCloser>;

}  // namespace qor

#endif  // QOR_BASE_HANDLES_H
