// The log directory: names and kinds of its files, who writes them, room.
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>

#include "checks/Checks.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

// Two log files of full size: one more of each kind.
constexpr unsigned long long kEnoughRoom = 2ULL * 10 * 1024 * 1024;

// What the library passes to a shell when it compresses a file; other names it does not compress.
constexpr char kPlain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+,:@=%";

std::string LogPath(const std::string& name)
{
    return kLogDirectory + ("/" + name);
}

// The component and kind of "QOR_um_trc_261115082918.log": "QOR_um_trc". Empty for other names.
std::string LogOf(const std::string& name)
{
    constexpr std::size_t kTail = sizeof "_261115082918.log" - 1;
    if (name.size() < kTail)
        return "";
    const std::string log = name.substr(0, name.size() - kTail);
    const bool isKnown =
        StartsWith(log, "QOR_") && (EndsWith(log, "_trc") || EndsWith(log, "_dbg"));
    const auto digits = name.begin() + static_cast<std::ptrdiff_t>(log.size() + 1);
    return isKnown && digits[-1] == '_' && EndsWith(name, ".log") &&
                   std::all_of(digits, digits + 12, [](char c) { return c >= '0' && c <= '9'; })
               ? log
               : "";
}

bool IsLog(const std::string& name)
{
    return !LogOf(EndsWith(name, ".gz") ? name.substr(0, name.size() - 3) : name).empty();
}

// Whether the library takes the file for a log of some component.
bool CountsAsLog(const std::string& name)
{
    return Contains(name, "QOR_") && (Contains(name, "_trc") || Contains(name, "_dbg")) &&
           Contains(name, ".log") && !Contains(name, ".swp");
}

void CheckName(const std::string& name, Report& report)
{
    const auto status = LinkStatusOf(LogPath(name));
    if (!status)
        return;  // rotated away
    if (!S_ISREG(status->st_mode))
        report.Add("log-not-a-regular-file", {LogPath(name)}, {KindText(status->st_mode)});
    else if (name.find_first_not_of(kPlain) != std::string::npos)
        report.Add("log-name-unsafe", {LogPath(name)});
    else if (!IsLog(name))
        report.Add("log-name-foreign", {LogPath(name)});
}

void CheckUncompressed(const std::vector<std::string>& names, Report& report)
{
    std::map<std::string, std::vector<std::string>> logs;  // by component and kind, oldest first
    for (const std::string& name : names) {
        if (const std::string log = LogOf(name); !log.empty())
            logs[log].push_back(name);
    }
    for (const auto& [log, files] : logs) {
        if (files.size() > 1)
            report.Add("log-several-uncompressed", {LogPath(files.front())},
                       {std::to_string(files.size()), files.back()});
    }
}

void CheckWriters(const std::vector<Process>& processes, Report& report)
{
    struct Log {
        std::string file;
        std::map<pid_t, std::string> writers;
    };
    std::map<std::string, Log> logs;  // by component and kind
    for (const Process& process : processes) {
        for (const std::string& name : process.logs) {
            Log& log = logs[LogOf(name)];
            log.file = name;
            log.writers[process.pid] = NameOf(process);
        }
    }
    logs.erase("");  // other files
    for (const auto& [name, log] : logs) {
        if (log.writers.size() < 2)
            continue;
        std::string names;
        for (const auto& writer : log.writers)
            names += (names.empty() ? "" : ", ") + writer.second;
        report.Add("log-several-writers", {LogPath(log.file)}, {names});
    }
}

void CheckGzip(Report& report)
{
    for (const char* const path : {"/usr/sbin/gzip", "/usr/bin/gzip", "/sbin/gzip", "/bin/gzip"}) {
        if (::access(path, X_OK) == 0)
            return;
    }
    const auto components = InstalledComponents();
    if (std::any_of(components.begin(), components.end(), [](const Component& component) {
            const Setting_Info* const settings = LoadedSettings(component);
            return settings != nullptr && (settings->traceLevel & kCompressionBit) != 0;
        }))
        report.Add("gzip-missing", {"/usr/bin/gzip"});
}

// The directory, or the one above it where it will be made.
std::string NearestExisting(std::string directory)
{
    while (directory.size() > 1 && !StatusOf(directory) && (errno == ENOENT || errno == ENOTDIR))
        directory.resize(std::max<std::size_t>(directory.rfind('/'), 1));
    return directory;
}

void CheckDisk(const std::string& wanted, const char* effect, std::set<dev_t>& done, Report& report)
{
    const std::string directory = NearestExisting(wanted);
    const auto status = StatusOf(directory);
    struct statvfs room;
    if (!status || !done.insert(status->st_dev).second)
        return;
    if (::statvfs(directory.c_str(), &room) != 0)
        return report.AddUnseen(directory, errno);
    const unsigned long long left = static_cast<unsigned long long>(room.f_bavail) *
                                    static_cast<unsigned long long>(room.f_frsize);
    if (left < kEnoughRoom)
        report.Add("disk-nearly-full", {directory}, {std::to_string(left / 1024), effect});
}

}  // namespace

void CheckLogs(const std::vector<Process>& processes, Report& report)
{
    const auto names =
        IsDirectory(kLogDirectory) ? NamesIn(kLogDirectory, report) : std::vector<std::string>();
    for (const std::string& name : names) {
        if (CountsAsLog(name))
            CheckName(name, report);
    }
    CheckUncompressed(names, report);
    CheckWriters(processes, report);
    CheckGzip(report);
}

void CheckDisks(const std::vector<Channel>& channels, Report& report)
{
    std::set<dev_t> done;
    CheckDisk(kLogDirectory,
              "records are dropped, and the one that did not fit is continued by the next.", done,
              report);
    for (const std::string& directory : SpoolDirectories(channels))
        CheckDisk(directory,
                  "messages cannot be sent, and what was written of them is left behind.", done,
                  report);
    CheckDisk("/var/tmp", "commands that the library runs fail: COsInfo is empty, RunVBS fails.",
              done, report);
}

}  // namespace doctor
