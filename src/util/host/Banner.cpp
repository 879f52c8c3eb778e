// COsInfo's block in the login banner.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <string_view>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/Paths.h"
#include "base/ScratchFile.h"
#include "COsInfo.h"
#include "util/host/FixedFile.h"

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

// Appends a file to the open one. False when not all was appended; a missing file counts as empty.
bool AppendFile(const std::string& from, int to)
{
    const qor::UniqueFd source = qor::OpenForReading(from);
    if (!source)
        return errno == ENOENT;
    return qor::IsSameFile(source.get(), to) || qor::CopyContent(source.get(), to) >= 0;
}

// The banner without its blocks, by the rules of the header.
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
            in.getline(line, kLineSize);  // Intended: the line after the block goes too.
        } else if (in.good()) {
            kept.append(line).append("\n");
        }
    }
    return kept;
}

void RemoveBlocks()
{
    const qor::CancelGuard guard;
    const qor::UniqueFd scratch =
        qor::OpenFixedFile(qor::paths::kBannerScratch, O_RDWR | O_CREAT | O_APPEND);
    if (scratch && AppendFile(qor::paths::kBanner, scratch.get()) &&
        ::lseek(scratch.get(), 0, SEEK_SET) == 0) {
        const std::string kept = WithoutBlocks(qor::ReadRest(scratch.get()));
        const qor::UniqueFd banner =
            qor::OpenFile(qor::paths::kBanner, O_WRONLY | O_CREAT | O_TRUNC, kFileMode);
        if (banner)
            (void)qor::WriteAll(banner.get(), kept);  // there is no result to report it by
    }
    (void)::unlink(qor::paths::kBannerScratch);  // missing if it could not be made
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
    const qor::CancelGuard guard;
    const int status = qor::RunCommand(guard, command);
    (void)::unlink(qor::paths::kBannerMark);  // usually missing
    return status != -1 && ((status >> 8) & 0xff) == 0;
}

void COsInfo::copyFile(std::string from, std::string to)
{
    const qor::CancelGuard guard;
    const qor::UniqueFd target =
        qor::OpenFile(to.c_str(), O_WRONLY | O_CREAT | O_APPEND, kFileMode);
    if (target)
        (void)AppendFile(from, target.get());
}
