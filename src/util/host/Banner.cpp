// COsInfo's block in the login banner.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>

#include "COsInfo.h"
#include "util/Handles.h"
#include "util/Paths.h"
#include "util/ReadFile.h"

namespace {

constexpr mode_t kFileMode = 0666;  // before the umask, as streams make files
constexpr int kLineSize = 128;      // bytes of a banner line, NUL included
constexpr char kBlockBegin[] = "-qor";
constexpr char kBlockEnd[] = "qor-";
constexpr std::size_t kMarkLength = 4;

bool HasMark(const char* line, const char* mark)
{
    return std::strncmp(line, mark, kMarkLength) == 0;
}

bool WriteAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

// Copies what is left of a file. False when reading or writing failed.
bool CopyRest(int from, int to)
{
    char piece[16384];
    for (;;) {
        const ssize_t count = ::read(from, piece, sizeof piece);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count == 0;
        if (!WriteAll(to, std::string_view(piece, static_cast<std::size_t>(count))))
            return false;
    }
}

bool IsSameFile(int a, int b)
{
    struct stat statusA;
    struct stat statusB;
    return ::fstat(a, &statusA) == 0 && ::fstat(b, &statusB) == 0 &&
           statusA.st_dev == statusB.st_dev && statusA.st_ino == statusB.st_ino;
}

// Appends a file to another, which is made if absent. False when `to` does not hold it all; a
// missing `from` counts as empty.
bool AppendFile(const std::string& from, const std::string& to)
{
    const qor::UniqueFd target(
        ::open(to.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kFileMode));
    if (!target)
        return false;

    const qor::UniqueFd source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    if (!source)
        return errno == ENOENT;
    return IsSameFile(source.get(), target.get()) || CopyRest(source.get(), target.get());
}

// The banner without its blocks, by the rules that the header tells.
std::string WithoutBlocks(const std::string& banner)
{
    std::istringstream in(banner);
    std::string kept;
    char line[kLineSize];
    while (in.good()) {
        in.getline(line, kLineSize);
        if (HasMark(line, kBlockBegin)) {
            do {
                in.getline(line, kLineSize);
            } while (in.good() && !HasMark(line, kBlockEnd));
            in.getline(line, kLineSize);  // Intended: the line behind the block goes too.
        } else if (in.good()) {
            kept.append(line).append("\n");
        }
    }
    return kept;
}

void RemoveBlocks()
{
    const bool copied = AppendFile(qor::paths::kBanner, qor::paths::kBannerScratch);
    if (copied) {
        const std::string kept = WithoutBlocks(qor::ReadFile(qor::paths::kBannerScratch));
        const qor::UniqueFd banner(
            ::open(qor::paths::kBanner, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode));
        if (banner)
            (void)WriteAll(banner.get(), kept);  // there is nobody to tell
    }
    (void)::unlink(qor::paths::kBannerScratch);  // never made: nothing to remove
}

}  // namespace

void COsInfo::motd(bool add)
{
    if (!add)
        RemoveBlocks();
    else if (!isAlreadyMotd())
        copyFile(qor::paths::kBannerBlock, qor::paths::kBanner);
}

bool COsInfo::isAlreadyMotd()
{
    // Intended: searches the mark's file and empties the banner; see the header.
    const std::string command = std::string("grep qor ") + qor::paths::kBannerMark + " > " +
                                qor::paths::kBanner + " > /dev/null 2>&1";
    const int status = std::system(command.c_str());
    (void)::unlink(qor::paths::kBannerMark);  // seldom there
    return status != -1 && ((status >> 8) & 0xff) == 0;
}

void COsInfo::copyFile(std::string from, std::string to)
{
    (void)AppendFile(from, to);
}
