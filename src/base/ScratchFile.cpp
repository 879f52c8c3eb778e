#include "base/ScratchFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "base/Handles.h"
#include "base/Paths.h"
#include "base/TimeStamp.h"

namespace qor {

namespace {

constexpr mode_t kScratchMode = 0600;
constexpr int kCreateTries = 100;  // a taken name is retried with a fresh time stamp

// EACCES is excluded: the command may be more privileged than this process and would follow a
// planted link.
bool NobodyCanCreate(int error)
{
    return error == ENOENT || error == ENOTDIR || error == EROFS;
}

}  // namespace

bool CreateExclusively(const std::string& path, mode_t mode)
{
    const UniqueFd file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    return static_cast<bool>(file);
}

int RunCommand(const CancelGuard& guard, const std::string& command)
{
    const CancelWindow window(guard);
    return std::system(command.c_str());
}

ScratchFile::ScratchFile()
{
    const CancelGuard guard;
    for (int tries = 0; tries < kCreateTries; ++tries) {
        std::string path = paths::kScratchPrefix + FormatTimeStamp(Now());
        if (CreateExclusively(path, kScratchMode) || NobodyCanCreate(errno)) {
            path_ = std::move(path);  // a copy could throw, and the file would stay
            return;
        }
        if (errno != EEXIST)
            return;
    }
}

ScratchFile::~ScratchFile()
{
    if (!path_.empty())
        (void)::unlink(path_.c_str());  // may be gone already
}

int ScratchFile::Run(const CancelGuard& guard, const std::string& command) const
{
    return path_.empty() ? -1 : RunCommand(guard, command + " > " + path_);
}

void ScratchFile::Clear() const
{
    const int cleared = ::truncate(path_.c_str(), 0);
    (void)cleared;  // the shell of the next command empties it too
}

}  // namespace qor
