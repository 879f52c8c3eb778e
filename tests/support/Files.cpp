#include "support/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "support/Descriptors.h"

namespace qor::test {
namespace {

namespace fs = std::filesystem;

void WriteAll(const std::string& path, int flags, const std::string& content)
{
    const OwnedFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0644));
    if (fd.get() < 0)
        ThrowErrno("open " + path);

    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t written = ::write(fd.get(), content.data() + done, content.size() - done);
        if (written < 0)
            ThrowErrno("write " + path);
        done += static_cast<std::size_t>(written);
    }
}

struct stat StatusOf(const std::string& path)
{
    struct stat status;
    if (::stat(path.c_str(), &status) != 0)
        ThrowErrno("stat " + path);
    return status;
}

}  // namespace

void WriteFile(const std::string& path, const std::string& content)
{
    const fs::path parent = fs::path(path).parent_path();
    if (!parent.empty())
        MakeDirs(parent.string());
    WriteAll(path, O_TRUNC, content);
}

void AppendFile(const std::string& path, const std::string& content)
{
    WriteAll(path, O_APPEND, content);
}

std::string ReadFile(const std::string& path)
{
    const OwnedFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0)
        ThrowErrno("open " + path);
    return ReadToEnd(fd.get());
}

bool Exists(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

void MakeDirs(const std::string& path)
{
    if (!fs::is_directory(path))  // the C++ library of g++ 10 refuses a link to a directory
        fs::create_directories(path);
}

void RemoveTree(const std::string& path)
{
    fs::remove_all(path);
}

void EmptyDirectory(const std::string& path)
{
    for (const std::string& name : ListDir(path))
        RemoveTree(path + "/" + name);
}

std::vector<std::string> ListDir(const std::string& path)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

mode_t FileMode(const std::string& path)
{
    return StatusOf(path).st_mode & 07777;
}

std::uint64_t FileSize(const std::string& path)
{
    return static_cast<std::uint64_t>(StatusOf(path).st_size);
}

}  // namespace qor::test
