#include "COsInfo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <sstream>
#include <string_view>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/Paths.h"
#include "base/ScratchFile.h"
#include "CStringUtil.h"
#include "trace/TraceScope.h"
#include "util/host/FixedFile.h"

namespace {

constexpr char kDmiCommand[] = "/usr/sbin/dmidecode";
constexpr char kDmiSection[] = "System Information";
constexpr std::size_t kDmiLineSize = 256;
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

// The first word that a command prints; empty when it cannot be run.
std::string FirstWordOf(const qor::CancelGuard& guard, const std::string& command,
                        const qor::ScratchFile& scratch)
{
    return scratch.Run(guard, command) == -1 ? std::string()
                                             : FirstWord(qor::ReadFile(scratch.path()));
}

// The cache while it is being made, removed unless a shell has opened it: an empty cache would keep
// the command from being tried again. The file begins with one byte, which the shell's redirection
// removes.
class NewDmiCache
{
public:
    NewDmiCache()
    {
        const int marked = ::truncate(qor::paths::kDmiCache, kUnwrittenSize);
        (void)marked;  // an empty cache may stay
    }
    NewDmiCache(const NewDmiCache&) = delete;
    NewDmiCache& operator=(const NewDmiCache&) = delete;
    ~NewDmiCache()
    {
        struct stat status;
        if (!written_ ||
            (::stat(qor::paths::kDmiCache, &status) == 0 && status.st_size == kUnwrittenSize))
            (void)::unlink(qor::paths::kDmiCache);
    }

    void Write(const qor::CancelGuard& guard)
    {
        (void)qor::RunCommand(guard, std::string(kDmiCommand) + " > " + qor::paths::kDmiCache);
        written_ = true;  // without output no key is found
    }

private:
    bool written_ = false;  // false if the thread is cancelled meanwhile
};

// The DMI table's text, from the cache or else from the firmware.
UniqueFile OpenDmiTable(const qor::CancelGuard& guard)
{
    struct stat status;
    if (::stat(qor::paths::kDmiCache, &status) != 0 &&
        qor::CreateExclusively(qor::paths::kDmiCache, kCacheMode))
        NewDmiCache().Write(guard);

    qor::UniqueFd file = qor::OpenFixedFile(qor::paths::kDmiCache, O_RDONLY);
    UniqueFile stream(file ? ::fdopen(file.get(), "r") : nullptr);
    if (stream)
        (void)file.Release();
    return stream;
}

bool StartsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool IsIndented(const char* line)
{
    return line[0] == '\t' || line[0] == ' ';
}

void TraceField(const char* label, const std::string& value, bool found)
{
    qor::TraceScope("som", "").WriteWith(CTraceUtility::TRACE_DBG_DBUG, [&] {
        return std::string(label) + "=[" + value.c_str() + "] [" + (found ? "true" : "false") + "]";
    });
}

}  // namespace

COsInfo::COsInfo()
{
    const qor::CancelGuard guard;
    const qor::ScratchFile scratch;
    // Assigned, as both commands print to the one file, which an initialiser would precede.
    // cppcheck-suppress useInitializationList
    name_ = FirstWordOf(guard, "/bin/uname -i", scratch);
    scratch.Clear();
    version_ = FirstWordOf(guard, "/bin/uname -r", scratch);
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
    const qor::CancelGuard guard;
    const UniqueFile file = OpenDmiTable(guard);
    if (!file)
        return false;

    bool found = false;
    char line[kDmiLineSize] = {};
    while (fgetn(line, sizeof line, file.get()) != nullptr) {
        if (!StartsWith(line, kDmiSection))
            continue;
        while (fgetn(line, sizeof line, file.get()) != nullptr && IsIndented(line)) {
            const char* const field = firstString(line);
            if (field == nullptr || !StartsWith(field, key))
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
    pid_t ended;
    do {
        ended = ::wait(nullptr);
    } while (ended < 0 && errno == EINTR);
    return ended;
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
