// The request channel: its settings, and what lies in its directories.
#include <cstdlib>

#include "CDateTimeUtil.h"
#include "checks/Checks.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kSection[] = "filetran";
constexpr char kIntervalKey[] = "polling_interval";
constexpr char kRequestMark[] = ".snd";
constexpr char kTemporaryMark[] = ".tmp";

constexpr int kMicrosecondsPerSecond = 1000000;
constexpr std::size_t kSecondsLength = 14;  // of a name's time stamp, then microseconds
constexpr std::size_t kStampLength = 20;
constexpr long kExpirySeconds = 2 * 24 * 60 * 60;
constexpr long kUntakenSeconds = 60;  // clients wait for half of it

bool Contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The time stamp of so many seconds ago, as the names of that moment begin with it.
std::string StampBefore(long seconds)
{
    std::string now;
    CDateTimeUtil::GetTimeVal(now);
    const std::string digits = std::to_string(std::stol(now.substr(0, kSecondsLength)) - seconds);
    return std::string(kSecondsLength - digits.size(), '0') + digits + now.substr(kSecondsLength);
}

// By characters, as the library compares: whether the name is of that time or before.
bool IsOlder(const std::string& name, long seconds)
{
    return name.compare(0, kStampLength, StampBefore(seconds)) <= 0;
}

bool HasStamp(const std::string& name)
{
    return name.size() > kStampLength && name.find_first_not_of("0123456789") >= kStampLength;
}

// How a text that is a number to the library came to be it.
std::string ReadAs(const std::optional<std::string>& text, const std::string& number)
{
    return text && *text != number ? ' ' + Quoted(*text) + " reads as " + number : " is " + number;
}

void CheckInterval(const IniFile& file, const Channel& channel, Report& report)
{
    const Place place = file.PlaceOf(kSection, kIntervalKey);
    const std::string value =
        ReadAs(file.Value(kSection, kIntervalKey), std::to_string(channel.pollingInterval));
    if (channel.pollingInterval <= 0)
        report.Add(
            "polling-interval-not-positive", place,
            "The polling interval" + value +
                ": RecvMessage returns -1 at once, and the request stays in the client directory.",
            "Write a number of microseconds above 0, for example 10000.");
    else if (channel.pollingInterval > kMicrosecondsPerSecond)
        report.Add(
            "polling-interval-too-long", place,
            "The polling interval" + value + " microseconds: a client notices its answer up to " +
                std::to_string(channel.pollingInterval / kMicrosecondsPerSecond) + " seconds late.",
            "Write less than a second, for example 10000.");
}

void CheckPaths(const IniFile& file, const Channel& channel, Report& report)
{
    const auto check = [&](const char* key, const std::string& directory) {
        if (directory.empty() || directory[0] != '/')
            report.Add("spool-directory-relative", file.PlaceOf(kSection, key),
                       Quoted(directory) +
                           " is no absolute path: client and server look for it below their "
                           "working directories, and do not meet.",
                       "Write an absolute path.");
    };
    check("clientdir", channel.clientDirectory);
    check("serverdir", channel.serverDirectory);

    const auto client = StatusOf(channel.clientDirectory);
    const auto server = StatusOf(channel.serverDirectory);
    if (channel.clientDirectory == channel.serverDirectory ||
        (client && server && IsSame(*client, *server)))
        report.Add("spool-directories-equal", file.PlaceOf(kSection, "serverdir"),
                   "Client and server directory are one: a client finds its own request under the "
                   "response's name, and takes it for the answer.",
                   "Use two directories.");
}

void CheckKind(const std::string& path, mode_t mode, bool isServerDirectory, Report& report)
{
    std::string effect = "it is never served.";
    if (isServerDirectory && S_ISLNK(mode))
        effect = "a client that waits for this name is given what the link leads to.";
    else if (isServerDirectory && S_ISFIFO(mode))
        effect = "a client that waits for this name waits for ever.";
    else if (isServerDirectory && S_ISDIR(mode))
        effect =
            "a client that waits for this name gets -1, and a byte in front of its buffer is "
            "overwritten.";
    else if (isServerDirectory)
        effect = "a client that waits for this name gets no server's answer.";
    report.Add("spool-not-a-regular-file", {path},
               std::string(KindText(mode)) + " in the spool: " + effect,
               "Find out who has put it there, and remove it.");
}

void CheckRequest(const std::string& path, const std::string& name, Report& report)
{
    if (IsOlder(name, kExpirySeconds))
        report.Add("spool-expired", {path},
                   "Two days old or more by its name: the next scan of a server deletes it, "
                   "unread, and a file of this name in the server directory.",
                   "Nothing, where that is right; otherwise move it away. Is the server running?");
    else if (Contains(name, kRequestMark) && !(HasStamp(name) && EndsWith(name, kRequestMark)))
        report.Add("spool-name-foreign", {path},
                   "The name holds \".snd\", and is none that a client makes: it is served as a "
                   "request all the same.",
                   "Keep other files out of the directory.");
    else if (Contains(name, kRequestMark) && IsOlder(name, kUntakenSeconds))
        report.Add("spool-request-untaken", {path},
                   "The request has waited for more than a minute: nobody takes it, and its client "
                   "has given up or is gone. When a server starts, it is still served.",
                   "Start the server, or remove the request if it must not be carried out.");
    else if (Contains(name, kTemporaryMark) && IsOlder(name, kUntakenSeconds))
        report.Add("spool-leftover", {path},
                   "Left behind by a client that was killed or could not write all of it: it lies "
                   "here until it is two days old and a server scans the directory.",
                   "Remove it. Is the disk full?");
}

void CheckResponse(const std::string& path, const std::string& name, const Channel& channel,
                   Report& report)
{
    if (Contains(name, kTemporaryMark) && IsOlder(name, kUntakenSeconds))
        report.Add("spool-leftover", {path},
                   "Left behind by a server that was killed or could not write all of it: no "
                   "client reads it, and the library's sweep, which looks for names in the client "
                   "directory, never removes it here.",
                   "Remove it. Is the disk full?");
    else if (IsOlder(name, kExpirySeconds) && !LinkStatusOf(channel.clientDirectory + "/" + name))
        report.Add("spool-response-orphaned", {path},
                   "A response that is two days old and whose request is gone: no client reads it, "
                   "and the library's sweep does not see it.",
                   "Remove it; services do so with IsExpiredFile and DeleteExpiredFile.");
}

void CheckDirectory(const Channel& channel, bool isServerDirectory, std::set<std::string>& done,
                    Report& report)
{
    const std::string& directory =
        isServerDirectory ? channel.serverDirectory : channel.clientDirectory;
    if (directory.empty() || directory[0] != '/' || !IsDirectory(directory))
        return;  // findings of their own
    if (!done.insert(directory).second)
        return;
    for (const std::string& name : NamesIn(directory, report)) {
        const std::string path = directory + "/" + name;
        const auto status = LinkStatusOf(path);
        if (!status)
            continue;  // taken meanwhile
        if (!S_ISREG(status->st_mode))
            CheckKind(path, status->st_mode, isServerDirectory, report);
        else if (isServerDirectory)
            CheckResponse(path, name, channel, report);
        else
            CheckRequest(path, name, report);
    }
}

}  // namespace

void CheckSpool(const std::vector<Channel>& channels, const std::vector<ChosenFile>& files,
                Report& report)
{
    std::set<std::string> done;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (const auto file =
                ReadChosen(files[i], "the channel has its default settings.", report)) {
            CheckInterval(*file, channels[i], report);
            CheckPaths(*file, channels[i], report);
        }
        CheckDirectory(channels[i], false, done, report);
        CheckDirectory(channels[i], true, done, report);
    }
}

}  // namespace doctor
