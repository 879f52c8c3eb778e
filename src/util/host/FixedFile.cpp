#include "util/host/FixedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qor {

UniqueFd OpenFixedFile(const char* path, int flags)
{
    UniqueFd file(::open(path, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    struct stat status;
    if (file && (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
                 status.st_nlink != 1 || (status.st_uid != 0 && status.st_uid != ::geteuid())))
        (void)file.Close();
    return file;
}

}  // namespace qor
