#include "COsInfo.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

#include "base/Files.h"
#include "base/Paths.h"
#include "base/ScratchFile.h"
#include "CStringUtil.h"
#include "CTraceUtility.h"

namespace {

constexpr char kTag[] = "som";
constexpr char kDmiCommand[] = "/usr/sbin/dmidecode > /var/tmp/dmitmp";
constexpr char kDmiSection[] = "System Information";
constexpr std::size_t kLineSize = 256;
constexpr mode_t kCacheMode = 0666;  // before the umask, as the shell makes files
constexpr off_t kUnwrittenSize = 1;  // bytes, of a cache that no shell has opened

struct FileCloser {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }  // read only
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

std::string FirstWord(const std::string& text)
{
    std::istringstream words(text);
    std::string word;
    words >> word;
    return word;
}

// The first word that a command prints; nothing when it cannot be run.
std::string FirstWordOf(const std::string& command, const qor::ScratchFile& scratch)
{
    return scratch.Run(command) == -1 ? std::string() : FirstWord(qor::ReadFile(scratch.path()));
}

// Makes the cache, unless there is something of its name. The shell's redirection takes away the
// byte that the new file begins with: where it is still there no shell could be started, and an
// empty cache would keep the command from being tried again.
void MakeDmiCache()
{
    if (!qor::CreateExclusively(qor::paths::kDmiCache, kCacheMode))
        return;
    const int marked = ::truncate(qor::paths::kDmiCache, kUnwrittenSize);
    (void)marked;  // an empty cache may stay
    const int result = std::system(kDmiCommand);
    (void)result;  // without output no key is found

    struct stat status;
    if (::stat(qor::paths::kDmiCache, &status) == 0 && status.st_size == kUnwrittenSize)
        (void)::unlink(qor::paths::kDmiCache);
}

// The DMI table's text, from the cache or else from the firmware.
UniqueFile OpenDmiTable()
{
    struct stat status;
    if (::stat(qor::paths::kDmiCache, &status) != 0)
        MakeDmiCache();
    return UniqueFile(std::fopen(qor::paths::kDmiCache, "re"));
}

bool StartsWith(const char* text, const char* start)
{
    return std::strncmp(text, start, std::strlen(start)) == 0;
}

bool IsIndented(const char* line)
{
    return line[0] == '\t' || line[0] == ' ';
}

void TraceField(const char* label, const std::string& value, bool found)
{
    CTraceUtility::WriteDebug(kTag, CTraceUtility::TRACE_DBG_DBUG, "%s=[%s] [%s]", label,
                              value.c_str(), found ? "true" : "false");
}

}  // namespace

COsInfo::COsInfo()
{
    const qor::ScratchFile scratch;  // serves both
    // cppcheck-suppress useInitializationList
    name_ = FirstWordOf("/bin/uname -i", scratch);
    scratch.Clear();
    version_ = FirstWordOf("/bin/uname -r", scratch);
}

COsInfo::~COsInfo() = default;

std::string COsInfo::getName()
{
    return name_;
}

std::string COsInfo::getVersion()
{
    return version_;
}

bool COsInfo::compare(std::string name, std::string version)
{
    return name == name_ && version == version_;
}

bool COsInfo::getDmiSystemInfo(std::string key, std::string& value)
{
    const UniqueFile file = OpenDmiTable();
    if (!file)
        return false;

    bool found = false;
    char line[kLineSize] = {};
    while (fgetn(line, sizeof line, file.get()) != nullptr) {
        if (!StartsWith(line, kDmiSection))
            continue;
        while (fgetn(line, sizeof line, file.get()) != nullptr && IsIndented(line)) {
            const char* const field = firstString(line);
            if (field == nullptr || !StartsWith(field, key.c_str()))
                continue;
            const char* const colon = std::strchr(field, ':');
            if (colon == nullptr)
                continue;
            // Throws when the colon ends the line. Intended: see the header.
            CStringUtil::strTrim(std::string(colon).substr(2), value);
            found = true;
        }
    }
    return found;
}

bool COsInfo::getDmiSystemUuid(std::string& value)
{
    const bool found = getDmiSystemInfo("UUID:", value);
    TraceField("PRODUCT", value, found);
    return found;
}

bool COsInfo::getDmiSystemManufacture(std::string& value)
{
    const bool found = getDmiSystemInfo("Manufacturer:", value);
    TraceField("PRODUCT", value, found);
    return found;
}

bool COsInfo::getDmiSystemProductName(std::string& value)
{
    const bool found = getDmiSystemInfo("Product Name:", value);
    TraceField("PRODUCT", value, found);
    return found;
}

bool COsInfo::getDmiSystemVersion(std::string& value)
{
    const bool found = getDmiSystemInfo("Version:", value);
    TraceField("VERSION", value, found);
    return found;
}

int COsInfo::release()
{
    return ::unlink(qor::paths::kDmiCache);
}

int COsInfo::wall(std::string message)
{
    const pid_t child = ::fork();
    if (child == 0)
        (void)::execlp("/usr/bin/wall", "wall", message.c_str(), static_cast<char*>(nullptr));
    if (child <= 0)
        return -1;  // Intended: in the child too; see the header.
    return ::wait(nullptr);
}

const char* COsInfo::firstString(const char* line)
{
    if (line == nullptr)
        return nullptr;
    for (; *line != '\0' && *line != '\n'; ++line) {
        if (std::isalpha(static_cast<unsigned char>(*line)) != 0)
            return line;
    }
    return nullptr;
}

char* COsInfo::fgetn(char* buffer, std::size_t size, std::FILE* file)
{
    if (buffer == nullptr || file == nullptr)
        return nullptr;

    char* const result = std::fgets(buffer, static_cast<int>(size), file);
    if (size == 0)
        return result;
    if (buffer[0] == '\n')
        buffer[0] = '\0';
    else if (void* const lineFeed = std::memchr(buffer + 1, '\n', size - 1))
        *static_cast<char*>(lineFeed) = '\0';  // Intended: wherever it stands; see the header.
    return result;
}
