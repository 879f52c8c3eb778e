#include "util/ReadFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "util/Handles.h"

namespace qor {

std::string ReadFile(const std::string& path)
{
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (!file || ::fstat(file.get(), &status) != 0)
        return {};

    // One byte more than the size tells the end of the file in the same pass.
    std::string text(static_cast<std::size_t>(status.st_size) + 1, '\0');
    std::size_t length = 0;
    for (;;) {
        const ssize_t count = ::read(file.get(), &text[length], text.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        length += static_cast<std::size_t>(count);
        if (length == text.size())
            text.resize(text.size() * 2);  // it grows meanwhile, or has no size (proc(5))
    }
    text.resize(length);
    return text;
}

}  // namespace qor
