#include "trace/Rotation.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/Files.h"

namespace qor {

namespace {

constexpr std::size_t kMaxOldFiles = 4;    // beside the new one
constexpr std::size_t kMaxCommand = 1024;  // bytes, NUL included

// Of no meaning to the shell, whatever the locale.
bool IsPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (c != '\0' && std::strchr("/._-+,:@=%", c) != nullptr);
}

}  // namespace

bool CompressRotated(const std::string& path)
{
    // The file may have been removed. If the result exists already, gzip would ask on a terminal
    // whether to overwrite it.
    return IsRegularFile(path) && !Exists(path + ".gz") && Compress(path) == 0;
}

int Compress(const std::string& path)
{
    if (!std::all_of(path.begin(), path.end(), IsPlain))
        return -1;
    char command[kMaxCommand];
    (void)std::snprintf(command, sizeof command, "gzip -9 %s", path.c_str());
    return std::system(command);
}

void RemoveOldest(const std::string& directory, std::list<std::string>& names)
{
    while (names.size() > kMaxOldFiles) {
        (void)::unlink((directory + "/" + names.front()).c_str());  // else next time
        names.pop_front();
    }
}

}  // namespace qor
