#include "proof/engine/Disk.h"

#include <sys/mount.h>
#include <sys/statfs.h>

#include <string>

#include "support/Descriptors.h"
#include "support/Files.h"

namespace qor::proof {
namespace {

constexpr const char* kDisks[] = {"/opt", "/var/tmp"};

// tmpfs(5)
void Remount(const std::string& disk, const std::string& options)
{
    if (::mount(nullptr, disk.c_str(), nullptr, MS_REMOUNT | MS_NOSUID, options.c_str()) != 0)
        test::ThrowErrno("remount " + disk + " with " + options);
}

struct statfs StateOf(const char* disk)
{
    struct statfs state;
    if (::statfs(disk, &state) != 0)
        test::ThrowErrno(disk);
    return state;
}

}  // namespace

void LeavePages(unsigned long pages)
{
    for (const char* const disk : kDisks) {
        test::WriteFile(std::string(disk) + "/filler", "x");  // a size of no pages is no limit
        const struct statfs state = StateOf(disk);
        const unsigned long used = state.f_blocks - state.f_bfree;
        Remount(disk, "size=" + std::to_string((used + pages) * 4096));
    }
}

void LeaveFiles(unsigned long files)
{
    for (const char* const disk : kDisks) {
        const struct statfs state = StateOf(disk);
        Remount(disk, "nr_inodes=" + std::to_string(state.f_files - state.f_ffree + files));
    }
}

void GiveDiskBack()
{
    for (const char* const disk : kDisks)
        Remount(disk, "size=50%,nr_inodes=1m");
}

}  // namespace qor::proof
