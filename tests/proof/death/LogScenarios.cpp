// Writing records, and rotation with compression.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>

#include "CTraceUtility.h"
#include "proof/death/Scenarios.h"
#include "proof/engine/Proof.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "support/LogFiles.h"
#include "support/Processes.h"

namespace qor::proof {
namespace {

using namespace test;

constexpr char kComponent[] = "um";
constexpr std::time_t kNow = 1700000000;
constexpr char kStamp[] = "2023/11/14 22:13:20";  // kNow, UTC
constexpr char kNewName[] = "231114221320";
constexpr std::time_t kNext = kNow + 60;  // a record after the death
constexpr char kNextStamp[] = "2023/11/14 22:14:20";
constexpr char kNextName[] = "231114221420";
constexpr std::time_t kLater = kNow + 120;  // and one after that
constexpr char kLaterStamp[] = "2023/11/14 22:15:20";
constexpr char kLaterName[] = "231114221520";
constexpr std::size_t kFullSize = 0x9FFFFF - 10;  // no record fits any more
constexpr std::size_t kMostFiles = 5;             // of a kind, when a rotation has ended
constexpr char kFullCopy[] = "/dev/shm/full.log";

// A kind of log, and a record of it.
struct Kind {
    std::string suffix;
    std::string before;  // between stamp and text; the thread of a debug record as "x"
};

const Kind kDebug = {kDebugLog, " ThId:0xxxxxxxxx --INFO-- "};
const Kind kOperation = {kOperationLog, " 0x00000001 info    "};

std::string FileName(const Kind& kind, const std::string& stamp, const std::string& end = ".log")
{
    return std::string("QOR_") + kComponent + kind.suffix + "_" + stamp + end;
}

// The thread's digits, wherever the record ends.
std::string WithoutThread(const Kind& kind, std::string record)
{
    const std::size_t begin = 27;
    for (std::size_t i = begin; kind.suffix == kDebugLog && i < begin + 8 && i < record.size(); ++i)
        record[i] = 'x';
    return record;
}

void Write(const Kind& kind, const std::string& text)
{
    if (kind.suffix == kDebugLog)
        CTraceUtility::WriteDebug(kComponent, CTraceUtility::TRACE_DBG_INFO, "%s", text.c_str());
    else
        CTraceUtility::WriteTrace(kComponent, "ID", text.c_str());
}

CTraceUtility::WRITE_MODE ModeOf(const Kind& kind)
{
    return kind.suffix == kDebugLog ? CTraceUtility::WRITE_MODE_DEBUG
                                    : CTraceUtility::WRITE_MODE_TRACE;
}

// level: "3F", or "7F" with compression.
void PrepareLogs(const std::string& level, const std::string& event)
{
    MakeLogDirectory();
    SetTraceLevel("um", level);
    WriteFile("/opt/velmora/qor/um/TraceSettingMsg.ini",
              "[ID]\nFormatEng=%s\nType=info\nRead=0x00000001\nEvent=" + event + "\n");
}

using Files = std::map<std::string, std::string>;  // name and content

Files ReadLogs(const Kind& kind)
{
    Files files;
    for (const std::string& name : LogFileNames(kComponent, kind.suffix))
        files[name] = ReadFile(LogPath(name));
    return files;
}

bool IsCompressed(const std::string& name)
{
    return name.find(".gz") != std::string::npos;
}

// ---- single records

std::string JudgeAdded(const Kind& kind, const std::string& added, const std::string& text,
                       Manner manner)
{
    if (added.empty())
        return "no record";
    const std::string record = kStamp + kind.before + text + "\n";
    const std::string found = WithoutThread(kind, added);
    if (found == record)
        return "record";
    Require(IsTorn(manner) && StartsWith(record, found),
            "a strange record: " + added.substr(0, 80));
    return "prefix";
}

// Sizes of the files that are not compressed.
std::map<std::string, std::uint64_t> Sizes(const Kind& kind)
{
    std::map<std::string, std::uint64_t> sizes;
    for (const std::string& name : LogFileNames(kComponent, kind.suffix)) {
        if (!IsCompressed(name))
            sizes[name] = FileSize(LogPath(name));
    }
    return sizes;
}

// What is logged next is appended; to a torn record, on its line.
void GoOnLogging(const Kind& kind, std::time_t now, const std::string& stamp)
{
    const FrozenTime clock(now);
    auto before = Sizes(kind);
    CTraceUtility::Initialize(kComponent, ModeOf(kind));
    Write(kind, "next");
    int records = 0;
    for (const auto& [name, size] : Sizes(kind)) {
        if (size == before[name])
            continue;
        const std::string record =
            WithoutThread(kind, ReadFile(LogPath(name)).substr(before[name]));
        Require(record == stamp + kind.before + "next\n", "the next record is not whole: " + name);
        ++records;
    }
    Require(records == 1, "the next record stands in " + std::to_string(records) + " files");
}

Scenario Recording(const std::string& name, const Kind& kind, const std::string& text,
                   bool initialized, const std::string& event = "0")
{
    Scenario scenario;
    scenario.name = name;
    scenario.manners = kAlone;
    scenario.prepare = [kind, event] {
        PrepareLogs("3F", event);
        WriteFile(LogPath(FileName(kind, "220101000000")), "an older record\n");
    };
    scenario.operate = [kind, text, initialized] {
        const FrozenTime clock(kNow);
        if (initialized)
            CTraceUtility::Initialize(kComponent, ModeOf(kind));
        Write(kind, text);
    };
    scenario.judge = [kind, text](Manner manner) {
        const Files files = ReadLogs(kind);
        const std::string old = "an older record\n";
        Require(files.size() == 1, "more than one file");
        const std::string& content = files.begin()->second;
        Require(StartsWith(content, old), "older records have changed");
        return JudgeAdded(kind, content.substr(old.size()), text, manner);
    };
    scenario.goOn = [kind] { GoOnLogging(kind, kNext, kNextStamp); };
    scenario.states = {"no record", "prefix", "record"};
    return scenario;
}

Scenario RecordingAtFirst(const Kind& kind)
{
    Scenario scenario = Recording("log-first" + kind.suffix, kind, "text", true);
    scenario.states = With(scenario.states, {"no directory", "no file"});
    scenario.prepare = [] {
        PrepareLogs("3F", "0");
        (void)::rmdir(kLogDirectory);
    };
    scenario.judge = [kind](Manner manner) {
        if (!Exists(kLogDirectory))
            return std::string("no directory");
        const Files files = ReadLogs(kind);
        if (files.empty())
            return std::string("no file");
        Require(files.size() == 1 && files.begin()->first == FileName(kind, kNewName),
                "strange files");
        return JudgeAdded(kind, files.begin()->second, "text", manner);
    };
    return scenario;
}

// ---- rotation

// Mostly what gzip is quick with; enough of the rest for several writes of its result.
const std::string& FullLog()
{
    static const std::string text = [] {
        std::string lines;
        while (lines.size() < kFullSize)
            lines += std::string(kStamp) + " 0x00000001 info    " +
                     std::to_string((lines.size() % (kFullSize / 4) < kFullSize / 64
                                         ? lines.size()
                                         : lines.size() >> 20) *
                                    7919 % 1000003) +
                     "\n";
        lines.resize(kFullSize);
        lines.back() = '\n';
        return lines;
    }();
    return text;
}

bool HoldsFullLog(const std::string& compressed)
{
    return RunShell("gzip -dc " + compressed + " | cmp -s - " + kFullCopy).status == 0;
}

struct Rotation {
    std::string name;
    Kind kind;
    bool compress;
    std::vector<std::string> older;  // stamps and ends of the files beside the full one
    std::string full;                // stamp
    bool unfinished = false;         // beside the full one stands what a dead gzip left of it
};

std::set<std::string> NamesOf(const Kind& kind)
{
    const std::vector<std::string> names = LogFileNames(kComponent, kind.suffix);
    return {names.begin(), names.end()};
}

// The full file as it was, or whole in its compressed form. False: neither.
bool JudgeFullFile(const Rotation& rotation)
{
    const std::string path = LogPath(FileName(rotation.kind, rotation.full));
    if (Exists(path)) {
        Require(ReadFile(path) == FullLog(), "the full file has changed");
        return true;
    }
    if (!Exists(path + ".gz"))
        return false;
    Require(HoldsFullLog(path + ".gz"), "the full file is gone, and its compressed form torn");
    return true;
}

struct Older {
    std::size_t removed;
    std::size_t left;  // the full one, its compressed form and what a dead gzip left included
};

// Files go in the order of their names, and never so that fewer than four are left.
Older JudgeOlderFiles(const Rotation& rotation)
{
    std::map<std::string, bool> kept;  // by name
    for (const std::string& older : rotation.older) {
        const std::string name = FileName(rotation.kind, older, "");
        kept[name] = Exists(LogPath(name));
        Require(!kept[name] || ReadFile(LogPath(name)) == "older\n", "an older file has changed");
    }
    const std::string full = FileName(rotation.kind, rotation.full);
    kept[full] = JudgeFullFile(rotation);
    if (Exists(LogPath(full)) && Exists(LogPath(full + ".gz")))
        kept[full + ".gz"] = true;

    const auto isKept = [](const auto& entry) { return entry.second; };
    const auto first = std::find_if(kept.begin(), kept.end(), isKept);
    Require(std::all_of(first, kept.end(), isKept), "a file went before an older one");
    const Older files = {static_cast<std::size_t>(std::distance(kept.begin(), first)),
                         static_cast<std::size_t>(std::distance(first, kept.end()))};
    Require(files.removed == 0 || files.left >= kMostFiles - 1, "fewer than four files are left");
    return files;
}

std::string StateOfFullFile(const std::string& path)
{
    if (!Exists(path))
        return Exists(path + ".gz") ? "compressed" : "full file gone";
    if (!Exists(path + ".gz"))
        return "full file";
    return HoldsFullLog(path + ".gz") ? "compressed, both there" : "compressed in part";
}

// Before the new file is made there is nothing but what was there, and what gzip makes of the full
// file; afterwards there are five at the most, whatever was there.
std::string JudgeRotation(const Rotation& rotation, Manner manner)
{
    const Older files = JudgeOlderFiles(rotation);
    const std::string path = LogPath(FileName(rotation.kind, rotation.full));
    const std::string fresh = LogPath(FileName(rotation.kind, kNewName));
    const bool isMade = Exists(fresh);
    Require(NamesOf(rotation.kind).size() == files.left + (isMade ? 1 : 0), "a strange file");
    if (isMade) {
        Require(files.left < kMostFiles, "more than five files");
        return "new file, " + JudgeAdded(rotation.kind, ReadFile(fresh), "text", manner);
    }
    const std::string state = StateOfFullFile(path);
    return files.removed == 0 ? state : state + ", " + std::to_string(files.removed) + " removed";
}

void PrepareRotation(const Rotation& rotation)
{
    PrepareLogs(rotation.compress ? "7F" : "3F", "0");
    for (const std::string& older : rotation.older)
        WriteFile(LogPath(FileName(rotation.kind, older, "")), "older\n");
    WriteFile(LogPath(FileName(rotation.kind, rotation.full)), FullLog());
    if (!Exists(kFullCopy))
        WriteFile(kFullCopy, FullLog());
    if (rotation.unfinished)
        WriteFile(LogPath(FileName(rotation.kind, rotation.full, ".log.gz")),
                  RunShell(std::string("gzip -9 -c ") + kFullCopy + " | head -c 1000").output);
}

// What a new process's first record makes of these files, made at `stamp` where it rotates: it goes
// on in the first that is not compressed, and when that is full leaves four and makes a new one.
std::set<std::string> NamesAfterRecord(const Rotation& rotation, const char* stamp)
{
    std::set<std::string> names = NamesOf(rotation.kind);
    const auto first = std::find_if(names.begin(), names.end(),
                                    [](const auto& name) { return !IsCompressed(name); });
    const bool goesOn = first != names.end() && FileSize(LogPath(*first)) < kFullSize;
    if (goesOn)
        return names;
    if (first != names.end()) {
        if (rotation.compress && names.insert(*first + ".gz").second)
            names.erase(first);
        while (names.size() >= kMostFiles)
            names.erase(names.begin());
    }
    names.insert(FileName(rotation.kind, stamp));
    return names;
}

// A new process writes a record, and leaves exactly the files that the rules leave.
void GoOn(const Rotation& rotation, std::time_t now, const char* stamp, const char* name)
{
    const std::set<std::string> expected = NamesAfterRecord(rotation, name);
    RequireInNewProcess("a record at " + std::string(stamp),
                        [&] { GoOnLogging(rotation.kind, now, stamp); });
    Require(NamesOf(rotation.kind) == expected, "other files after a record than expected");
}

// The file that the next record goes to has no room for it any more.
void FillUp(const Kind& kind)
{
    for (const std::string& name : NamesOf(kind)) {
        if (IsCompressed(name))
            continue;
        Require(::truncate(LogPath(name).c_str(), kFullSize) == 0, "truncate " + name);
        return;
    }
    throw Violation("no file that is written to");
}

// After a death that has left a file too many, one more is made: nothing is removed. The rotation
// that comes next removes all above four.
void GoOnRotating(const Rotation& rotation)
{
    GoOn(rotation, kNext, kNextStamp, kNextName);
    if (rotation.older.size() < kMostFiles)
        return;
    FillUp(rotation.kind);
    GoOn(rotation, kLater, kLaterStamp, kLaterName);
    Require(NamesOf(rotation.kind).size() == kMostFiles, "not five files after a whole rotation");
}

std::vector<std::string> StatesOf(const Rotation& rotation)
{
    std::vector<std::string> states = {"new file, no record", "new file, prefix",
                                       "new file, record"};
    std::string removing = "full file gone";
    if (rotation.unfinished) {
        states.push_back(removing = "compressed in part");
    } else if (rotation.compress) {
        removing = "compressed";
        states = With(states,
                      {"full file", "compressed in part", "compressed, both there", "compressed"});
    } else {
        states.push_back("full file");
    }
    const std::size_t before = rotation.older.size() + 1 + (rotation.unfinished ? 1 : 0);
    for (std::size_t removed = 1; removed + kMostFiles - 1 <= before; ++removed)
        states.push_back(removing + ", " + std::to_string(removed) + " removed");
    return states;
}

Scenario Rotating(const Rotation& rotation)
{
    Scenario scenario;
    scenario.name = "rotate-" + rotation.name + rotation.kind.suffix;
    const bool runsGzip = rotation.compress && !rotation.unfinished;
    scenario.manners = runsGzip ? kWithCommands : kAlone;
    scenario.states = StatesOf(rotation);
    scenario.stride = runsGzip ? 127 : 7;
    scenario.prepare = [rotation] { PrepareRotation(rotation); };
    scenario.operate = [rotation] {
        const FrozenTime clock(kNow);
        CTraceUtility::Initialize(kComponent, ModeOf(rotation.kind));
        Write(rotation.kind, "text");
    };
    scenario.judge = [rotation](Manner manner) { return JudgeRotation(rotation, manner); };
    scenario.goOn = [rotation] { GoOnRotating(rotation); };
    return scenario;
}

// A new process logs while gzip of the dead one is still at work.
Scenario RotatingOvertaken(const Rotation& rotation)
{
    Scenario scenario = Rotating(rotation);
    scenario.name += "-overtaken";
    scenario.manners = {Manner::Overtaken};
    scenario.states = {"whole files"};
    scenario.judge = [rotation](Manner) {
        const Files files = ReadLogs(rotation.kind);
        Require(files.size() <= rotation.older.size() + 2, "more than one new file");
        for (const auto& [name, content] : files) {
            if (!IsCompressed(name))
                Require(content.empty() || content.back() == '\n', "a torn record in " + name);
        }
        Require(JudgeFullFile(rotation), "the full file is gone");
        return std::string("whole files");
    };
    return scenario;
}

// A rotation that makes its new file before it removes old ones leaves too many.
Scenario FaultyRotation(const Rotation& rotation)
{
    Scenario scenario = Rotating(rotation);
    scenario.name = "faulty-rotation-too-late";
    scenario.fault = "more than five files";
    scenario.states = {"full file"};
    scenario.manners = kWithoutWrites;
    scenario.stride = 1;
    scenario.operate = [rotation] {
        WriteFile(LogPath(FileName(rotation.kind, kNewName)), "");
        (void)::unlink(LogPath(FileName(rotation.kind, rotation.older.front(), "")).c_str());
    };
    return scenario;
}

}  // namespace

void AddLogScenarios(std::vector<Scenario>& scenarios)
{
    const std::string longText = Filler(4000);
    scenarios.push_back(Recording("log-record", kDebug, "text", true));
    scenarios.push_back(Recording("log-operation-record", kOperation, "text", true));
    scenarios.push_back(Recording("log-long-record", kDebug, longText, true));
    scenarios.push_back(Recording("log-uninitialized", kDebug, "text", false));
    scenarios.push_back(Recording("log-event", kOperation, "text", true, "1"));
    scenarios.push_back(RecordingAtFirst(kDebug));
    scenarios.push_back(RecordingAtFirst(kOperation));

    const std::string full = "220101000000";
    const std::vector<std::string> four = {"200101000001.log.gz", "200101000002.log.gz",
                                           "200101000003.log.gz", "200101000004.log.gz"};
    const std::vector<std::string> newer = {"230101000001.log", "230101000002.log",
                                            "230101000003.log", "230101000004.log"};
    scenarios.push_back(Rotating({"plain-first", kDebug, false, {}, full}));
    scenarios.push_back(Rotating({"plain-fifth", kOperation, false, newer, full}));
    scenarios.push_back(Rotating({"first", kDebug, true, {}, full}));
    scenarios.push_back(Rotating({"fifth", kDebug, true, four, full}));
    scenarios.push_back(Rotating({"fifth", kOperation, true, four, full}));
    scenarios.back().longOnly = true;
    scenarios.push_back(RotatingOvertaken({"fifth", kDebug, true, four, full}));

    // What deaths between compression and removal leave, one and two in a row; and one of gzip.
    const std::vector<std::string> five = With(four, {"200101000005.log.gz"});
    const std::vector<std::string> six = With(five, {"200101000006.log.gz"});
    scenarios.push_back(Rotating({"sixth", kDebug, true, five, full}));
    scenarios.push_back(Rotating({"seventh", kOperation, true, six, full}));
    scenarios.push_back(Rotating({"after-part", kDebug, true, four, full, true}));
    scenarios.push_back(FaultyRotation({"", kDebug, false, four, full}));
}

}  // namespace qor::proof
