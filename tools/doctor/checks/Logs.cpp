// The log directory: names and kinds of its files, who writes them, room.
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>

#include "checks/Checks.h"
#include "CTraceUtilityCom.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kDigits[] = "0123456789";
constexpr std::size_t kStampLength = 12;
constexpr unsigned int kCompressionBit = 64;

// Two log files of full size: one more of each kind.
constexpr unsigned long long kEnoughRoom = 2ULL * 10 * 1024 * 1024;

constexpr const char* kCommandDirectories[] = {"/usr/sbin", "/usr/bin", "/sbin", "/bin"};

bool Contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The component and kind of "QOR_um_trc_261115082918.log": "QOR_um_trc". Empty for other names.
std::string LogOf(const std::string& name)
{
    const std::string end = ".log";
    if (name.compare(0, 4, "QOR_") != 0 || !EndsWith(name, end) ||
        name.size() < end.size() + kStampLength + 1)
        return {};
    const std::size_t stamp = name.size() - end.size() - kStampLength;
    const std::string log = name.substr(0, stamp - 1);
    const bool isStamp = name.find_first_not_of(kDigits, stamp) == name.size() - end.size();
    const bool isKind = EndsWith(log, "_trc") || EndsWith(log, "_dbg");
    return isStamp && isKind && name[stamp - 1] == '_' ? log : std::string();
}

bool IsCompressedLog(const std::string& name)
{
    return EndsWith(name, ".gz") && !LogOf(name.substr(0, name.size() - 3)).empty();
}

// Whether the library takes the file for a log of some component.
bool CountsAsLog(const std::string& name)
{
    return Contains(name, "QOR_") && (Contains(name, "_trc") || Contains(name, "_dbg")) &&
           Contains(name, ".log") && !Contains(name, ".swp");
}

// A name is part of a shell's command when the file is compressed.
bool IsSafe(const std::string& name)
{
    constexpr char kSafe[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";
    return name.find_first_not_of(kSafe) == std::string::npos;
}

const char* EffectOf(mode_t mode)
{
    if (S_ISLNK(mode))
        return "records are appended to its target, which is made when it is missing.";
    if (S_ISFIFO(mode))
        return "a program that opens the log waits for ever.";
    return "it cannot be continued; a program that starts begins a new file for its first record.";
}

void CheckName(const std::string& name, Report& report)
{
    const std::string path = kLogDirectory + ("/" + name);
    const auto status = LinkStatusOf(path);
    if (!status)
        return;  // rotated away
    if (!S_ISREG(status->st_mode))
        report.Add("log-not-a-regular-file", {path},
                   std::string(KindText(status->st_mode)) +
                       " with the name of a log: " + EffectOf(status->st_mode),
                   "Find out who has put it there, remove it, and let nobody else write to the "
                   "directory.");
    else if (!IsSafe(name))
        report.Add("log-name-unsafe", {path},
                   "The name holds characters of the shell's: when a program goes on in this file "
                   "until it is full, the name is part of the command that compresses it, and what "
                   "stands in it is run.",
                   "Find out who has put it there, and remove it.");
    else if (LogOf(name).empty() && !IsCompressedLog(name))
        report.Add("log-name-foreign", {path},
                   "The name is no log's, but counts as one: the file is one of the five that are "
                   "kept, may be deleted in their place, and may be read or continued as a log.",
                   "Keep copies of logs in another directory.");
}

void CheckUncompressed(const std::vector<std::string>& names, Report& report)
{
    std::map<std::string, std::vector<std::string>> logs;  // by component and kind, oldest first
    for (const std::string& name : names) {
        const std::string log = LogOf(name);
        if (!log.empty())
            logs[log].push_back(name);
    }
    for (const auto& log : logs) {
        if (log.second.size() < 2)
            continue;
        const std::string oldest = kLogDirectory + ("/" + log.second.front());
        report.Add("log-several-uncompressed", {oldest},
                   std::to_string(log.second.size()) +
                       " uncompressed logs of one kind: a program that starts goes on in this one, "
                       "the oldest, until it is full, while reading takes the newest, " +
                       log.second.back() + ".",
                   "While no program writes them, compress all but the newest with gzip, and "
                   "switch compression on (bit 0x40 of TraceLevel).");
    }
}

void CheckWriters(const std::vector<Process>& processes, Report& report)
{
    std::map<std::string, std::map<pid_t, std::string>> writers;  // by component and kind
    std::map<std::string, std::string> files;
    for (const Process& process : processes) {
        for (const std::string& name : process.logs) {
            writers[LogOf(name)][process.pid] = NameOf(process);
            files[LogOf(name)] = name;
        }
    }
    for (const auto& log : writers) {
        if (log.first.empty() || log.second.size() < 2)
            continue;
        std::string names;
        for (const auto& writer : log.second)
            names += (names.empty() ? "" : ", ") + writer.second;
        report.Add("log-several-writers", {kLogDirectory + ("/" + files[log.first])},
                   "Written by several processes: " + names +
                       ". When one of them begins a new file, the others go on in the old one; "
                       "where that is compressed, their records are lost.",
                   "One process for each component name.");
    }
}

bool IsCompressionOn()
{
    for (const Component& component : InstalledComponents()) {
        const Setting_Info* const settings = LoadedSettings(component);
        if (settings != nullptr && (settings->traceLevel & kCompressionBit) != 0)
            return true;
    }
    return false;
}

void CheckGzip(Report& report)
{
    for (const char* const directory : kCommandDirectories) {
        if (::access((std::string(directory) + "/gzip").c_str(), X_OK) == 0)
            return;
    }
    if (IsCompressionOn())
        report.Add("gzip-missing", {"/usr/bin/gzip"},
                   "There is no gzip, but compression is on: rotated logs stay uncompressed, and a "
                   "program that starts goes on in the oldest of them.",
                   "Install gzip where the PATH of the services leads to it.");
}

// The directory, or the one above it where it will be made.
std::string NearestExisting(std::string directory)
{
    while (directory.size() > 1 && !StatusOf(directory) && (errno == ENOENT || errno == ENOTDIR))
        directory.resize(std::max<std::size_t>(directory.rfind('/'), 1));
    return directory;
}

struct Disk {
    std::string directory;
    const char* effect;
};

void CheckDisk(const Disk& disk, std::set<dev_t>& done, Report& report)
{
    const std::string directory = NearestExisting(disk.directory);
    const auto status = StatusOf(directory);
    struct statvfs room;
    if (!status || !done.insert(status->st_dev).second)
        return;
    if (::statvfs(directory.c_str(), &room) != 0) {
        report.AddUnseen(directory, errno);
        return;
    }
    const unsigned long long left = static_cast<unsigned long long>(room.f_bavail) *
                                    static_cast<unsigned long long>(room.f_frsize);
    if (left < kEnoughRoom)
        report.Add("disk-nearly-full", {directory},
                   std::to_string(left / 1024) + " KiB are left on this disk. When it is full, " +
                       disk.effect,
                   "Make room for 20 MiB at least, or give the directory a disk of its own.");
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
    constexpr char kMessages[] =
        "messages cannot be sent, and what was written of them is left behind.";
    std::set<dev_t> done;
    CheckDisk({kLogDirectory,
               "records are dropped, and the one that did not fit is continued by the next."},
              done, report);
    for (const std::string& directory : SpoolDirectories(channels))
        CheckDisk({directory, kMessages}, done, report);
    CheckDisk({"/var/tmp", "commands that the library runs fail: COsInfo is empty, RunVBS fails."},
              done, report);
}

}  // namespace doctor
