#include "support/SmallDisk.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>

#include "support/Descriptors.h"
#include "support/Files.h"

namespace qor::test {

SmallDisk::SmallDisk(const std::string& directory, std::size_t bytes) : directory_(directory)
{
    MakeDirs(directory_);
    const std::string options = "mode=0755,size=" + std::to_string(bytes);
    if (::mount("tmpfs", directory_.c_str(), "tmpfs", 0, options.c_str()) != 0)
        ThrowErrno("mount " + directory_);
}

SmallDisk::~SmallDisk()
{
    (void)::umount2(directory_.c_str(), MNT_DETACH);  // the namespace ends with the program
}

void SmallDisk::MakeReadOnly()
{
    if (::mount(nullptr, directory_.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) != 0)
        ThrowErrno("remount " + directory_);
}

void SmallDisk::Fill()
{
    const std::string path = directory_ + "/filler";
    const OwnedFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (fd.get() < 0)
        ThrowErrno("open " + path);

    const std::string page(4096, 'x');
    while (::write(fd.get(), page.data(), page.size()) > 0) {
    }
    if (errno != ENOSPC)
        ThrowErrno("write " + path);
}

}  // namespace qor::test
