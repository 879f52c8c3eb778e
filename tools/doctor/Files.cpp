#include "Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace doctor {
namespace {

class OpenFile
{
public:
    explicit OpenFile(const std::string& path)
        : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
    {
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile()
    {
        const int error = errno;
        if (fd_ >= 0)
            (void)::close(fd_);  // only read
        errno = error;
    }

    int Get() const { return fd_; }

private:
    int fd_;
};

struct CloseDirectory {
    void operator()(DIR* stream) const { (void)::closedir(stream); }  // fails for bad streams only
};

}  // namespace

std::optional<struct stat> StatusOf(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? std::make_optional(status) : std::nullopt;
}

std::optional<struct stat> LinkStatusOf(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 ? std::make_optional(status) : std::nullopt;
}

bool IsWritableByOthers(const struct stat& status)
{
    const mode_t others = status.st_gid == 0 ? S_IWOTH : S_IWGRP | S_IWOTH;
    return (status.st_mode & others) != 0;
}

bool IsDirectory(const std::string& path)
{
    const auto status = StatusOf(path);
    return status && S_ISDIR(status->st_mode);
}

bool IsRegularFile(const std::string& path)
{
    const auto status = StatusOf(path);
    return status && S_ISREG(status->st_mode);
}

std::optional<std::string> ReadFile(const std::string& path)
{
    const OpenFile file(path);
    if (file.Get() < 0)
        return std::nullopt;

    std::string text;
    char piece[16384];
    for (;;) {
        const ssize_t length = ::read(file.Get(), piece, sizeof piece);
        if (length == 0)
            return text;
        if (length > 0)
            text.append(piece, static_cast<std::size_t>(length));
        else if (errno != EINTR)
            return std::nullopt;
    }
}

std::vector<std::string> NamesIn(const std::string& directory, Report& report)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, CloseDirectory> stream(::opendir(directory.c_str()));
    if (!stream) {
        report.AddUnseen(directory, errno);
        return names;
    }
    while (const dirent* const entry = ::readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ModeText(mode_t mode)
{
    char text[16];
    (void)std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
    return text;
}

const char* KindText(mode_t mode)
{
    if (S_ISREG(mode))
        return "A regular file";
    if (S_ISDIR(mode))
        return "A directory";
    if (S_ISLNK(mode))
        return "A link";
    if (S_ISFIFO(mode))
        return "A FIFO";
    return S_ISSOCK(mode) ? "A socket" : "A device";
}

}  // namespace doctor
