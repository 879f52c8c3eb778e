// COsInfo's block in the login banner.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>

#include "base/Files.h"
#include "base/Paths.h"
#include "COsInfo.h"

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

// Appends a file to another, which is made if absent. False when `to` does not hold it all; a
// missing `from` counts as empty.
bool AppendFile(const std::string& from, const std::string& to)
{
    const qor::UniqueFd target(
        ::open(to.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kFileMode));
    if (!target)
        return false;

    const qor::UniqueFd source = qor::OpenForReading(from);
    if (!source)
        return errno == ENOENT;
    return qor::IsSameFile(source.get(), target.get()) ||
           qor::CopyContent(source.get(), target.get()) >= 0;
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
            (void)qor::WriteAll(banner.get(), kept);  // there is nobody to tell
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
