// Sending, receiving, serving and sweeping.
#include <unistd.h>

#include <map>

#include "CFileTransfer.h"
#include "CTraceUtility.h"
#include "proof/death/Scenarios.h"
#include "proof/engine/Channel.h"
#include "proof/engine/Proof.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "support/LogFiles.h"
#include "transfer/CountedSleep.h"

namespace qor::proof {
namespace {

using namespace test;

constexpr char kTag[] = "lan";

// Of a client that nobody kills; by its name it never expires.
constexpr char kOther[] = "other.snd";
constexpr char kOtherText[] = "a request that waits";

// A message of a client long gone, and one of a moment ago: 20-digit stamps, as all names.
constexpr char kLongAgo[] = "00001000000000000001lan";
constexpr long kRecently = 4000000000;  // later than any clock of a test run
constexpr char kRecent[] = "00004000000000000001lan.snd";
constexpr int kTwoDays = 172800;

using Disk = std::map<std::string, std::string>;  // name and content

Disk Read(const std::string& dir)
{
    Disk disk;
    if (Exists(dir)) {
        for (const std::string& name : ListDir(dir))
            disk[name] = ReadFile(dir + name);
    }
    return disk;
}

std::string Answer(const std::string& request)
{
    return "answer to " + request;
}

// One scan of a server that answers all it finds.
void ServeAll()
{
    CFileTransfer channel(kTag, kConfig);
    ScanRequests(channel, [&](const std::string& name, const std::string& request) {
        (void)::unlink((kClientDir + name).c_str());
        Publish(name, Answer(request));
    });
}

// The sweep of the server directory that docs/channel.md asks of a service.
void SweepAnswers()
{
    CFileTransfer channel(kTag, kConfig);
    for (const std::string& name : ListDir(kServerDir)) {
        if (channel.IsExpiredFile(name.c_str()))
            channel.DeleteExpiredFile(name.c_str());
    }
}

std::string Receive(CFileTransfer& channel, int size)
{
    std::vector<char> buffer(static_cast<std::size_t>(size) + 2);
    const int length = channel.RecvMessage(buffer.data() + 1, size, 0);
    Require(length >= 0, "nothing received");
    return std::string(buffer.data() + 1, static_cast<std::size_t>(length));
}

constexpr int kRoom = 2 * 1024 * 1024;

void ExchangeAMessage()
{
    CFileTransfer client(kTag, kConfig);
    Require(client.SendMessage("next") == 4, "the next message cannot be sent");
    ServeAll();
    Require(Receive(client, kRoom) == Answer("next"), "the next message has another answer");
}

// Every request is answered, its answer can be fetched, and the sweep takes what is left when two
// days have passed, not before.
void GoOnWithChannel()
{
    CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
    CFileTransfer client(kTag, kConfig);  // makes missing directories
    const auto requests = Read(kClientDir);
    const auto answers = Read(kServerDir);
    ServeAll();
    for (const auto& [name, request] : requests) {
        if (!EndsWith(name, ".snd") || !Exists(kServerDir + name))
            continue;
        client.SetCurrentFile(name);
        Require(Receive(client, kRoom) == Answer(request), "another answer to " + name);
    }
    for (const auto& [name, answer] : answers) {
        if (!EndsWith(name, ".snd") || answer.empty() || !Exists(kServerDir + name))
            continue;
        client.SetCurrentFile(name);
        Require(Receive(client, kRoom) == answer, "another answer in " + name);
    }
    for (const auto& entry : requests)
        Require(!EndsWith(entry.first, ".tmp") || StartsWith(entry.first, kLongAgo) ||
                    Exists(kClientDir + entry.first),
                "swept too early: " + entry.first);
    ExchangeAMessage();

    const FrozenTime later(kRecently + kTwoDays + 1);
    ServeAll();
    SweepAnswers();
    Require(Read(kClientDir).empty(), "the sweep leaves files in the client directory");
    Require(Read(kServerDir).empty(), "the sweep leaves files in the server directory");
}

void PrepareHome(const std::string& level, const std::string& interval)
{
    MakeLogDirectory();
    SetTraceLevel("provider", level);
    WriteFile(kConfig, "[filetran]\npolling_interval=" + interval + "\n");
}

void PrepareSpool(const std::string& level = "0", const std::string& interval = "1000")
{
    PrepareHome(level, interval);
    MakeDirs(kClientDir);
    MakeDirs(kServerDir);
}

// The records are whole, but for the last one of a write that was cut.
void JudgeRecords(Manner manner)
{
    for (const std::string& name : LogFileNames(kTag, kDebugLog)) {
        const std::string text = ReadFile(LogPath(name));
        Require(text.empty() || text.back() == '\n' || IsTorn(manner), "a torn record in " + name);
        for (const std::string& line : Lines(text.substr(0, text.rfind('\n') + 1)))
            Require(line.size() > 44 && line.compare(19, 8, " ThId:0x") == 0,
                    "no record: " + line.substr(0, 60));
    }
}

// ---- sending

std::string JudgeSending(const std::string& message, Manner manner)
{
    JudgeRecords(manner);
    Require(Read(kServerDir).empty(), "files in the server directory");
    int temporary = 0;
    int sent = 0;
    for (const auto& [name, content] : Read(kClientDir)) {
        if (name == kOther) {
            Require(content == kOtherText, "another client's request has changed");
        } else if (EndsWith(name, ".snd")) {
            Require(content == message, "a torn request: " + name);
            ++sent;
        } else {
            Require(EndsWith(name, ".tmp"), "a strange file: " + name);
            Require(StartsWith(message, content), "a strange temporary file: " + name);
            ++temporary;
        }
    }
    Require(sent + temporary <= 1, "more than one file");
    return sent == 1 ? "published" : temporary == 1 ? ".tmp left" : "nothing";
}

// A microsecond later at each look, however long the tracer holds the sender up: a draft of a
// moment long past would be begun again.
std::vector<timeval> Moments(suseconds_t first, suseconds_t last)
{
    std::vector<timeval> moments;
    for (suseconds_t i = first; i <= last; ++i)
        moments.push_back({kRecently, i});
    return moments;
}

Scenario Sending(const std::string& name, std::size_t size, const std::string& level,
                 bool initialized)
{
    Scenario scenario;
    scenario.name = name;
    scenario.manners = size == 0 ? kWithoutWrites : kAlone;
    scenario.prepare = [level] {
        PrepareSpool(level);
        WriteFile(kClientDir + kOther, kOtherText);
    };
    const std::string message = Filler(size);
    scenario.operate = [message, initialized] {
        const FrozenTime clock(Moments(0, 999));
        if (initialized)
            CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
        CFileTransfer(kTag, kConfig).SendMessage(message);
    };
    scenario.states = {"nothing", ".tmp left", "published"};
    scenario.judge = [message](Manner manner) {
        Require(Exists(kClientDir + kOther), "another client's request is gone");
        return JudgeSending(message, manner);
    };
    scenario.goOn = [] {
        CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
        ServeAll();
        CFileTransfer client(kTag, kConfig);
        client.SetCurrentFile(kOther);
        Require(Receive(client, kRoom) == Answer(kOtherText), "another client gets no answer");
        (void)::unlink((kServerDir + kOther).c_str());
        GoOnWithChannel();
    };
    return scenario;
}

Scenario SendingAtFirst()
{
    Scenario scenario = Sending("send-without-directories", 100, "0", true);
    scenario.prepare = [] { PrepareHome("0", "1000"); };
    scenario.judge = [](Manner manner) { return JudgeSending(Filler(100), manner); };
    scenario.goOn = GoOnWithChannel;
    return scenario;
}

// Two times the stamp is taken: by a temporary file, then by a request. last: the microsecond at
// which the clock stands still.
Scenario SendingWithTakenNames(const std::string& name, suseconds_t last)
{
    Scenario scenario = Sending(name, 100, "0", true);
    const std::string prefix = "000040000000000000";
    const std::string taken = prefix + "07lan.tmp";
    const std::string published = prefix + "08lan.snd";
    scenario.prepare = [taken, published] {
        PrepareSpool();
        WriteFile(kClientDir + taken, "");
        WriteFile(kClientDir + published, "first");
    };
    scenario.operate = [last] {
        CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
        const FrozenTime clock(Moments(7, last));
        CFileTransfer(kTag, kConfig).SendMessage(Filler(100));
    };
    scenario.judge = [taken, published](Manner manner) {
        Require(Exists(kClientDir + taken), "another client's temporary file is gone");
        Require(Exists(kClientDir + published) && ReadFile(kClientDir + published) == "first",
                "another client's request has changed");
        (void)::unlink((kClientDir + taken).c_str());
        (void)::unlink((kClientDir + published).c_str());
        return JudgeSending(Filler(100), manner);
    };
    scenario.goOn = GoOnWithChannel;
    return scenario;
}

// Writes in place what others read: a request that is not whole has to be found.
Scenario FaultySending()
{
    Scenario scenario = Sending("faulty-send-in-place", 1000, "0", true);
    scenario.fault = "a torn request: " + std::string(kRecent);
    scenario.states = {"nothing", "published"};
    scenario.operate = [] { WriteFile(kClientDir + kRecent, Filler(1000)); };
    return scenario;
}

// ---- receiving

Scenario Receiving(const std::string& name, std::size_t size, int room, const std::string& level)
{
    Scenario scenario;
    scenario.name = name;
    scenario.manners = level == "0" ? kWithoutWrites : kAlone;  // nothing but records is written
    const std::string response = Filler(size);
    scenario.prepare = [response, level] {
        PrepareSpool(level);
        WriteFile(kServerDir + kRecent, response);
    };
    scenario.operate = [room] {
        const CountedSleep nobodyWaits;
        CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
        CFileTransfer channel(kTag, kConfig);
        channel.SetCurrentFile(kRecent);
        (void)Receive(channel, room);
    };
    scenario.judge = [response](Manner manner) {
        JudgeRecords(manner);
        Require(Read(kClientDir).empty(), "files in the client directory");
        const Disk answers = Read(kServerDir);
        if (answers.empty())
            return "fetched";
        Require(answers == Disk{{kRecent, response}}, "a torn or strange answer");
        return "answer waits";
    };
    scenario.states = {"answer waits", "fetched"};
    scenario.goOn = GoOnWithChannel;
    return scenario;
}

// Nobody takes the request; the third poll gives up.
Scenario GivingUp()
{
    Scenario scenario = Receiving("receive-untaken", 0, 100, "0");
    scenario.prepare = [] {
        PrepareSpool("0", "10000000");
        WriteFile(kClientDir + kRecent, "request");
    };
    scenario.operate = [] {
        const CountedSleep nobodyWaits;
        CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
        CFileTransfer channel(kTag, kConfig);
        channel.SetCurrentFile(kRecent);
        char buffer[100];
        Require(channel.RecvMessage(buffer, 99, 0) == -1, "an answer from nobody");
    };
    scenario.judge = [](Manner manner) {
        JudgeRecords(manner);
        Require(Read(kServerDir).empty(), "files in the server directory");
        const Disk requests = Read(kClientDir);
        if (requests.empty())
            return "given up";
        Require(requests == Disk{{kRecent, "request"}}, "a torn or strange request");
        return "request waits";
    };
    scenario.states = {"request waits", "given up"};
    return scenario;
}

// ---- serving

const std::vector<std::string> kRequests = {
    "00004000000000000001lan.snd", "00004000000000000002cli.snd", "00004000000000000003lan.snd"};

void JudgeServed(const std::string& name, const Disk& requests, const Disk& answers, int& taken,
                 int& answered)
{
    const auto request = requests.find(name);
    const auto answer = answers.find(name);
    if (request != requests.end()) {
        Require(request->second == Filler(500), "a request has changed: " + name);
        Require(answer == answers.end(), "answered and not taken: " + name);
        return;
    }
    if (answer == answers.end()) {
        ++taken;
        return;
    }
    Require(answer->second == Answer(Filler(500)), "a torn answer: " + name);
    ++answered;
}

std::string JudgeServing()
{
    const Disk requests = Read(kClientDir);
    const Disk answers = Read(kServerDir);
    int taken = 0;
    int answered = 0;
    for (const std::string& name : kRequests)
        JudgeServed(name, requests, answers, taken, answered);
    Require(taken <= 1, "more than one request in work");

    std::size_t temporary = 0;
    for (const auto& [name, content] : answers) {
        if (!EndsWith(name, ".tmp") || StartsWith(name, kLongAgo))
            continue;
        Require(StartsWith(Answer(Filler(500)), content), "a strange answer: " + name);
        ++temporary;
    }
    Require(temporary <= 1, "more than one temporary answer");
    for (const auto& [name, content] : requests)
        Require(!StartsWith(name, kLongAgo) || content == "old", "an expired file has changed");
    return taken == 1 ? "one taken" : std::to_string(answered) + " answered";
}

Scenario Serving()
{
    Scenario scenario;
    scenario.name = "serve-and-sweep";
    scenario.manners = kAlone;
    scenario.prepare = [] {
        PrepareSpool();
        for (const std::string& name : kRequests)
            WriteFile(kClientDir + name, Filler(500));
        WriteFile(kClientDir + kLongAgo + ".tmp", "old");
        WriteFile(kClientDir + kLongAgo + ".snd", "old");
        WriteFile(kServerDir + kLongAgo + ".snd", "old");
    };
    scenario.operate = [] {
        CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
        ServeAll();
    };
    scenario.judge = [](Manner) { return JudgeServing(); };
    scenario.states = {"0 answered", "1 answered", "2 answered", "3 answered", "one taken"};
    // The partner of an expired file that is gone already is swept with the answers.
    scenario.goOn = GoOnWithChannel;
    return scenario;
}

}  // namespace

void AddChannelScenarios(std::vector<Scenario>& scenarios)
{
    scenarios.push_back(Sending("send-0", 0, "0", true));
    scenarios.push_back(Sending("send-4096", 4096, "0", true));
    scenarios.push_back(Sending("send-1MiB", 1024 * 1024, "0", true));
    scenarios.push_back(Sending("send-traced", 3000, "FF", true));
    scenarios.push_back(Sending("send-traced-uninitialized", 3000, "FF", false));
    scenarios.push_back(SendingAtFirst());
    scenarios.push_back(SendingWithTakenNames("send-with-taken-names", 999));
    scenarios.push_back(SendingWithTakenNames("send-while-the-clock-stands", 9));
    scenarios.back().stride = 61;  // hundreds of looks at the clock
    scenarios.push_back(Receiving("receive-0", 0, 100, "0"));
    scenarios.push_back(Receiving("receive-4096", 4096, 5000, "0"));
    scenarios.push_back(Receiving("receive-1MiB", 1024 * 1024, kRoom, "0"));
    scenarios.push_back(Receiving("receive-cut", 4096, 100, "FF"));
    scenarios.push_back(Receiving("receive-traced", 3000, 5000, "FF"));
    scenarios.push_back(GivingUp());
    scenarios.push_back(Serving());
    scenarios.push_back(FaultySending());
}

}  // namespace qor::proof
