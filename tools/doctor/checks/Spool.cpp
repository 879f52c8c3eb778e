// The request channel: its settings, and what lies in its directories.
#include <cstdlib>

#include "CDateTimeUtil.h"
#include "checks/Checks.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kFiletran[] = "filetran";
constexpr char kIntervalKey[] = "polling_interval";
constexpr char kRequestMark[] = ".snd";
constexpr char kTemporaryMark[] = ".tmp";

constexpr int kMicrosecondsPerSecond = 1000000;
constexpr std::size_t kSecondsLength = 14;  // of a name's time stamp, then microseconds
constexpr std::size_t kStampLength = 20;
constexpr long kExpirySeconds = 2 * 24 * 60 * 60;
constexpr long kUntakenSeconds = 60;  // clients wait for half of it

// By characters, as the library compares: whether the name is of so many seconds ago or before.
bool IsOlder(const std::string& name, long seconds)
{
    std::string stamp;
    CDateTimeUtil::GetTimeVal(stamp);
    const std::string then = std::to_string(std::stol(stamp.substr(0, kSecondsLength)) - seconds);
    stamp.replace(0, kSecondsLength, std::string(kSecondsLength - then.size(), '0') + then);
    return name.compare(0, kStampLength, stamp) <= 0;
}

bool IsClientsName(const std::string& name)
{
    return name.size() > kStampLength && name.find_first_not_of("0123456789") >= kStampLength &&
           EndsWith(name, kRequestMark);
}

void CheckInterval(const IniFile& file, const Channel& channel, Report& report)
{
    const Place place = file.PlaceOf(kFiletran, kIntervalKey);
    const std::string number = std::to_string(channel.pollingInterval);
    const std::string text = file.Value(kFiletran, kIntervalKey).value_or(number);
    const std::string is =
        text == number ? " is " + number : " \"" + text + "\" reads as " + number;
    if (channel.pollingInterval <= 0)
        report.Add("polling-interval-not-positive", place, {is});
    else if (channel.pollingInterval > kMicrosecondsPerSecond)
        report.Add("polling-interval-too-long", place,
                   {is, std::to_string(channel.pollingInterval / kMicrosecondsPerSecond)});
}

bool IsAbsolute(const std::string& path)
{
    return StartsWith(path, "/");
}

void CheckPaths(const IniFile& file, const Channel& channel, Report& report)
{
    if (!IsAbsolute(channel.clientDirectory))
        report.Add("spool-directory-relative", file.PlaceOf(kFiletran, "clientdir"),
                   {channel.clientDirectory});
    if (!IsAbsolute(channel.serverDirectory))
        report.Add("spool-directory-relative", file.PlaceOf(kFiletran, "serverdir"),
                   {channel.serverDirectory});

    const auto client = StatusOf(channel.clientDirectory);
    const auto server = StatusOf(channel.serverDirectory);
    if (channel.clientDirectory == channel.serverDirectory ||
        (client && server && IsSame(*client, *server)))
        report.Add("spool-directories-equal", file.PlaceOf(kFiletran, "serverdir"));
}

void CheckRequest(const std::string& path, const std::string& name, Report& report)
{
    if (IsOlder(name, kExpirySeconds))
        report.Add("spool-expired", {path});
    else if (Contains(name, kRequestMark) && !IsClientsName(name))
        report.Add("spool-name-foreign", {path});
    else if (Contains(name, kRequestMark) && IsOlder(name, kUntakenSeconds))
        report.Add("spool-request-untaken", {path});
    else if (Contains(name, kTemporaryMark) && IsOlder(name, kUntakenSeconds))
        report.Add("spool-leftover", {path});
}

void CheckResponse(const std::string& path, const std::string& name, const Channel& channel,
                   Report& report)
{
    if (Contains(name, kTemporaryMark) && IsOlder(name, kUntakenSeconds))
        report.Add("spool-leftover/server", {path});
    else if (IsOlder(name, kExpirySeconds) && !LinkStatusOf(channel.clientDirectory + "/" + name))
        report.Add("spool-response-orphaned", {path});
}

// A client opens files in there, a server the directory.
void CheckServers(const std::string& directory, const std::vector<Process>& processes,
                  Report& report)
{
    const auto status = StatusOf(directory);
    std::string names;
    int count = 0;
    for (const Process& process : processes) {
        if (status && process.usesLibrary &&
            process.directories.count({status->st_dev, status->st_ino}) > 0)
            names += (++count > 1 ? ", " : "") + NameOf(process);
    }
    if (count > 1)
        report.Add("spool-several-servers", {directory}, {names});
}

void CheckDirectory(const Channel& channel, bool isServerDirectory, std::set<std::string>& done,
                    Report& report)
{
    const std::string& directory =
        isServerDirectory ? channel.serverDirectory : channel.clientDirectory;
    if (!IsAbsolute(directory) || !IsDirectory(directory) || !done.insert(directory).second)
        return;  // findings of their own, or looked at already
    for (const std::string& name : NamesIn(directory, report)) {
        const std::string path = directory + "/" + name;
        const auto status = LinkStatusOf(path);
        if (!status)
            continue;  // taken meanwhile
        if (!S_ISREG(status->st_mode))
            report.Add("spool-not-a-regular-file", {path},
                       {KindText(status->st_mode), isServerDirectory
                                                       ? "a client that waits for this name gets -1"
                                                       : "it is never served"});
        else if (isServerDirectory)
            CheckResponse(path, name, channel, report);
        else
            CheckRequest(path, name, report);
    }
}

}  // namespace

void CheckSpool(const std::vector<Channel>& channels, const std::vector<ChosenFile>& files,
                const std::vector<Process>& processes, Report& report)
{
    std::set<std::string> done;
    std::set<std::string> clientDirectories;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (const auto file =
                ReadChosen(files[i], "the channel has its default settings.", report)) {
            CheckInterval(*file, channels[i], report);
            CheckPaths(*file, channels[i], report);
        }
        if (clientDirectories.insert(channels[i].clientDirectory).second)
            CheckServers(channels[i].clientDirectory, processes, report);
        CheckDirectory(channels[i], false, done, report);
        CheckDirectory(channels[i], true, done, report);
    }
}

}  // namespace doctor
