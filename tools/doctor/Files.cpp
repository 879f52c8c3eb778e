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
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    std::string text;
    char piece[16384];
    ssize_t length = fd;
    while (fd >= 0 &&
           ((length = ::read(fd, piece, sizeof piece)) > 0 || (length < 0 && errno == EINTR)))
        text.append(piece, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    const int error = errno;
    if (fd >= 0)
        (void)::close(fd);  // only read
    errno = error;
    return length < 0 ? std::nullopt : std::make_optional(text);
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
