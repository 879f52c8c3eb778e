// QuietErrors.h - keeps the process's standard error stream quiet for a while.
//
//     const QuietErrors quiet;
//     host.getDmiSystemUuid(uuid);    // dmidecode says at length why it finds nothing
//
// The commands that the library runs, and its XML parser, write to the stream of the service. What
// they have to say is in the method's answer. The stream belongs to the process: one thread only.
#ifndef ONE_REQUEST_PROVIDER_QUIETERRORS_H
#define ONE_REQUEST_PROVIDER_QUIETERRORS_H

#include <fcntl.h>
#include <unistd.h>

#include "shared/FileDescriptor.h"

namespace one_request {

class QuietErrors
{
public:
    /// Without descriptors left the stream stays as it is.
    QuietErrors() : stream_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        const FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (stream_ && nowhere)
            (void)::dup2(nowhere.Get(), STDERR_FILENO);
    }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
    ~QuietErrors()
    {
        if (stream_)
            (void)::dup2(stream_.Get(), STDERR_FILENO);  // both are open: it cannot fail
    }

private:
    FileDescriptor stream_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_QUIETERRORS_H
