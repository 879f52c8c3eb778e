// Files and directories with Windows names.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "winapi.h"

namespace {

constexpr int kNullArgument = -1;        // Intended: see the header.
constexpr mode_t kDirectoryMode = 0644;  // Intended: see the header.
constexpr mode_t kFileMode = 0666;       // before the umask, as streams make files

}  // namespace

int closesocket(int descriptor)
{
    const qor::CancelGuard guard;
    return ::close(descriptor);
}

int _mkdir(const char* path)
{
    return path == nullptr ? -1 : ::mkdir(path, kDirectoryMode);
}

int _wmkdir(const wchar_t* path)
{
    return _mkdir(reinterpret_cast<const char*>(path));
}

int RemoveDirectoryA(const char* path)
{
    if (path == nullptr)
        return kNullArgument;
    return ::rmdir(path) == 0 ? 1 : 0;
}

int DeleteFileA(const char* path)
{
    if (path == nullptr)
        return kNullArgument;
    return ::unlink(path) == 0 ? 1 : 0;
}

int PathIsDirectoryA(const char* path)
{
    if (path == nullptr)
        return kNullArgument;
    const qor::CancelGuard guard;
    return qor::UniqueDir(::opendir(path)) ? 1 : 0;
}

unsigned long GetCurrentDirectoryA(unsigned long size, char* buf)
{
    if (buf == nullptr || ::getcwd(buf, size) == nullptr)
        return 0;
    return std::strlen(buf);
}

unsigned long GetFileSize(void* handle, unsigned long*)
{
    struct stat status;
    if (handle == nullptr || ::fstat(*static_cast<const int*>(handle), &status) != 0)
        return static_cast<unsigned long>(-1);
    return static_cast<unsigned long>(status.st_size);
}

bool CopyFileA(const char* from, const char* to, int)
{
    if (from == nullptr || to == nullptr)
        return false;

    const qor::CancelGuard guard;
    const qor::UniqueFd source = qor::OpenForReading(from);
    struct stat sourceStatus;
    if (!source || ::fstat(source.get(), &sourceStatus) != 0 || S_ISDIR(sourceStatus.st_mode))
        return false;
    struct stat targetStatus;
    if (::stat(to, &targetStatus) == 0 && qor::IsSameFile(sourceStatus, targetStatus))
        return false;

    qor::UniqueFd target = qor::OpenFile(to, O_WRONLY | O_CREAT | O_TRUNC, kFileMode);
    return target && qor::CopyContent(source.get(), target.get()) > 0 && target.Close();
}
