#include "base/Files.h"

#include <fcntl.h>

#include <cerrno>

#include "base/CancelGuard.h"

namespace qor {

bool Exists(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

bool IsRegularFile(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IsSameFile(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool IsSameFile(int a, int b)
{
    struct stat statusA;
    struct stat statusB;
    return ::fstat(a, &statusA) == 0 && ::fstat(b, &statusB) == 0 && IsSameFile(statusA, statusB);
}

UniqueFd OpenFile(const char* path, int flags, mode_t mode)
{
    int file;
    do {
        file = ::open(path, flags | O_CLOEXEC, mode);
    } while (file < 0 && errno == EINTR);
    return UniqueFd(file);
}

UniqueFd OpenForReading(const char* path)
{
    return OpenFile(path, O_RDONLY);
}

UniqueFd OpenForReading(const std::string& path)
{
    return OpenForReading(path.c_str());
}

UniqueFd OpenRegular(const char* path, int flags, struct stat& status, mode_t mode)
{
    status.st_mode = 0;
    UniqueFd file(::open(path, flags | O_NOFOLLOW | O_CLOEXEC, mode));
    if (file && (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)))
        (void)file.Close();
    return file;
}

std::string ReadFile(const std::string& path)
{
    const CancelGuard guard;
    const UniqueFd file = OpenForReading(path);
    return file ? ReadRest(file.get()) : std::string();
}

std::string ReadRest(int file)
{
    struct stat status;
    if (::fstat(file, &status) != 0)
        return {};

    // One byte more than the size, so that the first pass also meets the end of the file.
    std::string text(static_cast<std::size_t>(status.st_size) + 1, '\0');
    std::size_t length = 0;
    for (;;) {
        const ssize_t count = ::read(file, &text[length], text.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        length += static_cast<std::size_t>(count);
        if (length == text.size())
            text.resize(text.size() * 2);  // the file grows, or has no size (proc(5))
    }
    text.resize(length);
    return text;
}

bool WriteAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

long CopyContent(int from, int to)
{
    char block[16384];
    long total = 0;
    for (;;) {
        const ssize_t count = ::read(from, block, sizeof block);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? -1 : total;
        if (!WriteAll(to, std::string_view(block, static_cast<std::size_t>(count))))
            return -1;
        total += count;
    }
}

}  // namespace qor
