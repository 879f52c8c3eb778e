#include "tool/OperationLog.h"

#include <fcntl.h>
#include <regex.h>
#include <strings.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <system_error>

#include "CTraceUtility.h"
#include "shared/FileDescriptor.h"

namespace one_request {
namespace {

constexpr char kLogDirectory[] = "/opt/velmora/qor/log";

// By component: the newest file that is not compressed, or "" when all are.
using CurrentFiles = std::map<std::string, std::string>;

// regex(7); a source that includes <regex> takes seconds to compile.
struct LogName {
    regex_t form;

    LogName() { (void)::regcomp(&form, "^QOR_(.+)_trc_[0-9]{12}\\.log(\\.gz)?$", REG_EXTENDED); }
    LogName(const LogName&) = delete;
    LogName& operator=(const LogName&) = delete;
    ~LogName() { ::regfree(&form); }
};

CurrentFiles FindCurrentFiles()
{
    const LogName known;
    CurrentFiles files;
    std::error_code error;
    std::filesystem::directory_iterator entry(kLogDirectory, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename();
        regmatch_t parts[3];  // the whole, the component, what compression adds
        if (::regexec(&known.form, name.c_str(), 3, parts, 0) != 0)
            continue;
        const auto begin = static_cast<std::size_t>(parts[1].rm_so);
        std::string& current =
            files[name.substr(begin, static_cast<std::size_t>(parts[1].rm_eo) - begin)];
        if (parts[2].rm_so < 0 && name > current)
            current = name;
    }
    if (error)
        throw NoLog(std::string("the logs in ") + kLogDirectory +
                    " cannot be read: " + error.message());
    return files;
}

[[noreturn]] void ReportMissing(const std::string& component, const CurrentFiles& files)
{
    std::string others;
    for (const auto& [other, file] : files) {
        if (::strcasecmp(other.c_str(), component.c_str()) == 0)
            throw NoLog("there is no operation log of \"" + component + "\", but one of \"" +
                        other + "\"");
        others += (others.empty() ? "" : ", ") + other;
    }
    throw NoLog("there is no operation log of \"" + component +
                "\"; there are logs of: " + (others.empty() ? "no component" : others));
}

void RequireLog(const std::string& component)
{
    const CurrentFiles files = FindCurrentFiles();
    const auto current = files.find(component);
    if (current == files.end())
        ReportMissing(component, files);
    if (current->second.empty())
        throw NoLog("every operation log of \"" + component + "\" is compressed: zcat " +
                    kLogDirectory + "/QOR_" + component + "_trc_*.log.gz");
    const std::string path = std::string(kLogDirectory) + "/" + current->second;
    // Opened as the library opens it: a link is not followed, a FIFO not waited for.
    if (!FileDescriptor(
            ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY)))
        throw NoLog(path + " cannot be read: " + std::strerror(errno));
}

}  // namespace

std::list<std::string> ReadOperationLog(const std::string& component, std::string since)
{
    RequireLog(component);
    std::list<std::string> records;
    CTraceUtility::ReadTrace(component.c_str(), CTraceUtility::TRACE_READ_ALL,
                             std::numeric_limits<unsigned int>::max(), records, &since);
    return records;
}

}  // namespace one_request
