// Files.h - looking at files without changing them, and without waiting for a FIFO.
#ifndef DOCTOR_FILES_H
#define DOCTOR_FILES_H

#include <sys/stat.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Report.h"

namespace doctor {

/// stat(2) and lstat(2). Nothing, with errno, when they fail.
std::optional<struct stat> StatusOf(const std::string& path);
std::optional<struct stat> LinkStatusOf(const std::string& path);

/// Whether two names lead to one file.
inline bool IsSame(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Whether somebody but the owner and root's own group may write it.
bool IsWritableByOthers(const struct stat& status);

/// Links are followed.
bool IsDirectory(const std::string& path);
bool IsRegularFile(const std::string& path);

/// The content of a regular file, or of a file of proc(5). Nothing, with errno, on failure.
std::optional<std::string> ReadFile(const std::string& path);

/// Names in the directory in byte order, without "." and ".."; reported when it cannot be read.
std::vector<std::string> NamesIn(const std::string& directory, Report& report);

/// "0755"
std::string ModeText(mode_t mode);

/// "A link", "A FIFO", ...
const char* KindText(mode_t mode);

}  // namespace doctor

#endif  // DOCTOR_FILES_H
