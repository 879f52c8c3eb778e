#include "util/host/FixedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Files.h"

namespace qor {

UniqueFd OpenFixedFile(const char* path, int flags)
{
    struct stat status;
    UniqueFd file = OpenRegular(path, flags | O_NONBLOCK, status, 0666);
    if (file && (status.st_nlink != 1 || (status.st_uid != 0 && status.st_uid != ::geteuid())))
        (void)file.Close();
    return file;
}

}  // namespace qor
