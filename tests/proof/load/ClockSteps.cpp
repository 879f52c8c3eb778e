// What stepping the clock does to logs and channel: the threads run between the steps.

#include <algorithm>
#include <set>
#include <vector>

#include "CFileTransfer.h"
#include "proof/engine/Channel.h"
#include "proof/engine/Proof.h"
#include "proof/load/Load.h"
#include "proof/load/LogRecords.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "support/LogFiles.h"
#include "transfer/CountedSleep.h"

namespace qor::proof {
namespace {

using namespace test;

constexpr std::size_t kLong = 3900;      // bytes of a record's text at most
constexpr unsigned kFillsOneFile = 280;  // records of a thread: over 10 MiB in all
constexpr std::time_t kHour = 3600;
constexpr long kTwoDays = 172800;

// Phases of kFillsOneFile records a thread, each at its own time.
class Phases
{
public:
    Phases()
    {
        PrepareLogs(true);
        const FrozenTime clock(kStart);
        InitializeLog(Log::Operation);
    }

    void Write(std::time_t when)
    {
        const FrozenTime clock(when);
        WriteFromThreads(Log::Operation, kThreads, written_, kFillsOneFile, kLong);
        written_ += kFillsOneFile;
    }

    unsigned Written() const { return written_; }

private:
    unsigned written_ = 0;
};

std::vector<std::string> NamesOf(const std::vector<LogFile>& files)
{
    std::vector<std::string> names;
    for (const LogFile& file : files)
        names.push_back(file.name);
    return names;
}

std::string Join(const std::vector<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts)
        joined += " " + text;
    return joined;
}

}  // namespace

// The name is taken already, by the compressed file: the file is continued, beyond its size. Of the
// two the compressed one is the older, but the later by its name.
std::string LogsWhileTheClockStands()
{
    Phases phases;
    phases.Write(kStart);
    phases.Write(kStart);
    const std::vector<LogFile> files = ReadLogs(Log::Operation);
    Require(NamesOf(files) == std::vector<std::string>{"QOR_um_trc_231114221320.log.gz",
                                                       "QOR_um_trc_231114221320.log"},
            "other files:" + Join(NamesOf(files)));
    (void)RequireUnbroken(files, kThreads, phases.Written(), true);
    Require(files[0].text.size() <= kMostSize, "the first file is too long");
    Require(files[1].text.size() > kMostSize, "the second file is not continued");

    phases.Write(kStart + 1);
    const std::vector<LogFile> later = ReadLogs(Log::Operation);
    Require(later.size() > files.size(), "no rotation when the clock runs again");
    (void)RequireUnbroken(later, kThreads, phases.Written(), true);

    phases.Write(kStart + 2);
    phases.Write(kStart + 3);
    const std::vector<std::string> last = NamesOf(ReadLogs(Log::Operation));
    Require(last.size() == 5 && last[0] == files[0].name && last[1] != files[1].name,
            "other files:" + Join(last));
    return "one name, its file continued to " + std::to_string(files[1].text.size()) +
           " bytes, no record lost; a new file once the clock runs; of the two the continued one "
           "is "
           "the first to go";
}

std::string LogsAfterAStepForward()
{
    Phases phases;
    for (int step = 0; step < 7; ++step)
        phases.Write(kStart + step * step * 24 * kHour);
    const std::vector<LogFile> files = ReadLogs(Log::Operation);
    Require(files.size() == 5, "not five files");
    const std::size_t kept = RequireUnbroken(files, kThreads, phases.Written(), false);
    return "the last five files stay, " + std::to_string(kept) + " records, none missing";
}

// Names go by the clock: a file made after the step is the first to go.
std::string LogsAfterAStepBack()
{
    Phases phases;
    for (int step = 0; step < 5; ++step)
        phases.Write(kStart + step);
    const std::vector<std::string> before = NamesOf(ReadLogs(Log::Operation));
    Require(before.size() == 5, "not five files");

    phases.Write(kStart - kHour);
    const std::string stepped = "QOR_um_trc_231114211320.log";
    const std::vector<std::string> then = NamesOf(ReadLogs(Log::Operation));
    Require(then.size() == 5 && then.front() == stepped, "other files:" + Join(then));

    phases.Write(kStart - kHour + 1);
    const std::vector<LogFile> files = ReadLogs(Log::Operation);
    const std::vector<std::string> now = NamesOf(files);
    Require(now.size() == 5 && now.front() == "QOR_um_trc_231114211321.log",
            "other files:" + Join(now));
    Require(std::equal(now.begin() + 1, now.end(), then.begin() + 1), "older names went first");

    // Each file is whole and in order; the file that is gone is missing between the last two.
    std::size_t records = 0;
    for (const LogFile& file : files)
        records += RecordsOf(file).size();
    std::vector<LogFile> old(files.begin() + 1, files.end());
    std::vector<unsigned> last(kThreads, 0);
    for (const LogFile& file : old) {
        for (const Position& position : RecordsOf(file))
            last[position.writer] = position.number;
    }
    bool missing = false;
    std::set<unsigned> begun;
    for (const Position& position : RecordsOf(files.front())) {
        if (begun.insert(position.writer).second)
            missing = missing || position.number > last[position.writer] + 1;
    }
    Require(missing, "the file that was made after the step is still there");
    return "the first file made after the step is the first to go; " + std::to_string(records) +
           " records in five files, all whole";
}

std::string ChannelWhileTheClockSteps()
{
    EmptyDirectory("/opt");
    MakeLogDirectory();
    MakeDirs(kHome);
    WriteFile(kConfig, "[filetran]\npolling_interval=1000000\n");
    CFileTransfer client("cli", kConfig);
    const auto send = [&client](std::time_t when) {
        const FrozenTime clock(when);
        Require(client.SendMessage("request") == 7, "not sent");
    };
    const auto scanAt = [](std::time_t when) {
        const FrozenTime clock(when);
        unsigned found = 0;
        CFileTransfer server("som", kConfig);
        ScanRequests(server, [&](const std::string&, const std::string&) { ++found; });
        return found;
    };

    // Of a clock that steps back: what was sent before is served all the same.
    send(kStart);
    Require(scanAt(kStart - 30 * kTwoDays) == 1, "not served after a step back");
    // Forward by less than two days: served.
    Require(scanAt(kStart + kTwoDays - 1) == 1, "not served after a short step forward");

    // The wait for a server counts sleeps, whatever the clock does.
    {
        const CountedSleep sleep;
        const FrozenTime clock({{kStart, 0}, {kStart - kHour, 0}, {kStart + 9 * kTwoDays, 0}});
        char buffer[16];
        Require(client.RecvMessage(buffer + 1, 8, 0) == -1, "an answer from nobody");
        Require(sleep.Count() == 30, "not 30 polls of a second");
    }
    Require(ListDir(kClientDir).empty(), "the request stays");

    // Forward by two days or more: the sweep takes a request that has just been sent.
    send(kStart);
    Require(scanAt(kStart + kTwoDays) == 0, "served after a long step forward");
    Require(ListDir(kClientDir).empty(), "not swept after a long step forward");
    return "served after a step back and after one of less than two days forward; swept, untaken, "
           "after a longer one; waiting counts sleeps alone";
}

}  // namespace qor::proof
