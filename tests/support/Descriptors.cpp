#include "support/Descriptors.h"

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <vector>

namespace qor::test {
namespace {

std::string TargetOf(int fd)
{
    char target[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length < 0 ? "?" : std::string(target, static_cast<std::size_t>(length));
}

bool Contains(const DescriptorMap& map, const DescriptorMap::value_type& item)
{
    const auto found = map.find(item.first);
    return found != map.end() && found->second == item.second;
}

std::string Missing(const char* verb, const DescriptorMap& from, const DescriptorMap& in)
{
    std::string lines;
    for (const auto& item : from) {
        if (!Contains(in, item))
            lines += verb + std::to_string(item.first) + " -> " + item.second + "\n";
    }
    return lines;
}

}  // namespace

DescriptorMap OpenDescriptors()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir("/proc/self/fd"), ::closedir);
    if (!dir)
        ThrowErrno("opendir /proc/self/fd");

    DescriptorMap descriptors;
    while (const dirent* const entry = ::readdir(dir.get())) {
        const int fd = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && fd != ::dirfd(dir.get()))
            descriptors[fd] = TargetOf(fd);
    }
    return descriptors;
}

std::string DescriptorChanges(const DescriptorMap& before, const DescriptorMap& after)
{
    return Missing("opened ", after, before) + Missing("closed ", before, after);
}

DescriptorLimit::DescriptorLimit(int more)
{
    std::vector<OwnedFd> next;
    for (int i = 0; i <= more; ++i) {
        next.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (next.back().get() < 0)
            ThrowErrno("/dev/null");
    }
    if (::getrlimit(RLIMIT_NOFILE, &former_) != 0)
        ThrowErrno("getrlimit");
    const rlimit limit = {static_cast<rlim_t>(next.back().get()), former_.rlim_max};
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0)
        ThrowErrno("setrlimit");
}

std::string ReadToEnd(int fd)
{
    std::string content;
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count == 0)
            return content;
        if (count > 0)
            content.append(buffer, static_cast<std::size_t>(count));
        else if (errno != EINTR)
            ThrowErrno("read");
    }
}

void ThrowErrno(const std::string& what)
{
    const int error = errno;
    throw std::system_error(error, std::generic_category(), what);
}

}  // namespace qor::test
