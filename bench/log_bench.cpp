// log_bench.cpp - writing logs: debug lines and operation records.
//
// Every contender writes the same text to a file of its own on the tmpfs, each line flushed, and is
// checked once before it is measured. Files are emptied long before they would rotate.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "CTraceUtility.h"
#include "log_limit.h"
#include "log_measure.h"
#include "log_peers.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::bench {
namespace {

constexpr auto kInfo = CTraceUtility::TRACE_DBG_INFO;
constexpr auto kRejected = CTraceUtility::TRACE_DBG_DBUG;

constexpr LogFact kFact = {"firmware", 7, 42};
constexpr char kFormat[] = "Update of %s: package %d of %d";
constexpr char kLine[] = "Update of firmware: package 7 of 42\n";

constexpr std::size_t kRecordsPerFile = 20000;  // about 2 MiB
constexpr std::size_t kStamp = 19;              // bytes

// Files with names of their own, which the library goes on in as the oldest ones.
const std::string kDebugFile = test::LogPath("QOR_um_dbg_1.log");
const std::string kOperationFile = test::LogPath("QOR_um_trc_1.log");
const std::string kUninitialisedFile = test::LogPath("QOR_raid_dbg_1.log");
const std::string kPeers = "/opt/peers";
const std::string kLimitFile = kPeers + "/limit.log";
const std::string kOnceFile = kPeers + "/once.log";

// All logs, open until the process ends. Of the levels INFO alone is wanted; nothing is compressed.
class Logs
{
public:
    static Logs& Get()
    {
        static Logs& logs = *new Logs;
        return logs;
    }

    BareLog limit;
    const Peer spdlog, glog, log4cplus;

private:
    Logs()
        : limit((test::WriteFile(kLimitFile, ""), kLimitFile)),
          spdlog(OpenSpdlog(kPeers)),
          glog(OpenGlog(kPeers)),
          log4cplus(OpenLog4cplus(kPeers))
    {
        for (const char* const directory : {"um", "provider"})
            test::WriteFile(std::string("/opt/velmora/qor/") + directory + "/TraceSetting.ini",
                            "[APP_SETTING]\nTraceLevel=1\n");
        test::WriteFile("/opt/velmora/qor/um/TraceSettingMsg.ini",
                        "[PACKAGE]\nFormatEng=" + std::string(kFormat) +
                            "\nType=info\nRead=0x00000001\nEvent=0\n");
        for (const std::string& path : {kDebugFile, kOperationFile, kUninitialisedFile, kOnceFile})
            test::WriteFile(path, "");
        CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    }
};

// Of the library and the limit: the whole line, behind any time stamp.
bool IsDebugLine(const std::string& line)
{
    char head[48];
    (void)std::snprintf(head, sizeof head, " ThId:0x%08x --INFO-- ",
                        static_cast<unsigned int>(::gettid()));
    return line.size() > kStamp && line.substr(kStamp) == std::string(head) + kLine;
}

bool IsOperationRecord(const std::string& line)
{
    return line.size() > kStamp &&
           line.substr(kStamp) == std::string(" 0x00000001 info    ") + kLine;
}

// Of a peer, whose head looks otherwise.
bool EndsAsExpected(const std::string& line)
{
    const std::string end = kLine;
    return line.size() > end.size() && line.substr(line.size() - end.size()) == end;
}

// The debug line.

void DebugOurs(benchmark::State& state)
{
    (void)Logs::Get();
    MeasureLines(state, kDebugFile, kRecordsPerFile, IsDebugLine, [] {
        CTraceUtility::WriteDebug("um", kInfo, kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void DebugLimit(benchmark::State& state)
{
    BareLog& log = Logs::Get().limit;
    MeasureLines(state, kLimitFile, kRecordsPerFile, IsDebugLine,
                 [&] { log.WriteDebug(kFormat, kFact.name, kFact.number, kFact.count); });
}

void WriteByPeer(benchmark::State& state, const Peer& peer)
{
    MeasureLines(state, peer.path, kRecordsPerFile, EndsAsExpected, [&] { peer.write(kFact); });
}

void BySpdlog(benchmark::State& state)
{
    WriteByPeer(state, Logs::Get().spdlog);
}

void ByGlog(benchmark::State& state)
{
    WriteByPeer(state, Logs::Get().glog);
}

void ByLog4cplus(benchmark::State& state)
{
    WriteByPeer(state, Logs::Get().log4cplus);
}

BENCHMARK(DebugOurs)->Name("log.debug/ours");
BENCHMARK(DebugLimit)->Name("log.debug/limit");
BENCHMARK(BySpdlog)->Name("log.debug/spdlog");
BENCHMARK(ByGlog)->Name("log.debug/glog");
BENCHMARK(ByLog4cplus)->Name("log.debug/log4cplus");

// CPU time of both threads, for each record.
BENCHMARK(DebugOurs)->Name("log.debug.two/ours")->Threads(2);
BENCHMARK(DebugLimit)->Name("log.debug.two/limit")->Threads(2);
BENCHMARK(BySpdlog)->Name("log.debug.two/spdlog")->Threads(2);
BENCHMARK(ByGlog)->Name("log.debug.two/glog")->Threads(2);
BENCHMARK(ByLog4cplus)->Name("log.debug.two/log4cplus")->Threads(2);

// The operation record.

void OperationOurs(benchmark::State& state)
{
    (void)Logs::Get();
    MeasureLines(state, kOperationFile, kRecordsPerFile, IsOperationRecord, [] {
        CTraceUtility::WriteTrace("um", "PACKAGE", kFact.name, kFact.number, kFact.count);
    });
}

void OperationLimit(benchmark::State& state)
{
    BareLog& log = Logs::Get().limit;
    MeasureLines(state, kLimitFile, kRecordsPerFile, IsOperationRecord,
                 [&] { log.WriteOperation(kFormat, kFact.name, kFact.number, kFact.count); });
}

BENCHMARK(OperationOurs)->Name("log.operation/ours");
BENCHMARK(OperationLimit)->Name("log.operation/limit");
BENCHMARK(BySpdlog)->Name("log.operation/spdlog");
BENCHMARK(ByGlog)->Name("log.operation/glog");
BENCHMARK(ByLog4cplus)->Name("log.operation/log4cplus");

// The debug line that the level rejects.

void RejectedOurs(benchmark::State& state)
{
    (void)Logs::Get();
    MeasureSilence(state, kDebugFile, [] {
        CTraceUtility::WriteDebug("um", kRejected, kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void RejectedLimit(benchmark::State& state)
{
    (void)Logs::Get();
    MeasureSilence(state, kLimitFile, [] {
        WriteRejected(kRejected, kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void RejectByPeer(benchmark::State& state, const Peer& peer)
{
    MeasureSilence(state, peer.path, [&] { peer.writeRejected(kFact); });
}

void RejectedSpdlog(benchmark::State& state)
{
    RejectByPeer(state, Logs::Get().spdlog);
}

void RejectedGlog(benchmark::State& state)
{
    RejectByPeer(state, Logs::Get().glog);
}

void RejectedLog4cplus(benchmark::State& state)
{
    RejectByPeer(state, Logs::Get().log4cplus);
}

BENCHMARK(RejectedOurs)->Name("log.rejected/ours");
BENCHMARK(RejectedLimit)->Name("log.rejected/limit");
BENCHMARK(RejectedSpdlog)->Name("log.rejected/spdlog");
BENCHMARK(RejectedGlog)->Name("log.rejected/glog");
BENCHMARK(RejectedLog4cplus)->Name("log.rejected/log4cplus");

// The debug line of a component that nobody initialised: the file is opened for it. The logs of
// another component lie beside it.

void UninitialisedOurs(benchmark::State& state)
{
    (void)Logs::Get();
    MeasureLines(state, kUninitialisedFile, kRecordsPerFile, IsDebugLine, [] {
        CTraceUtility::WriteDebug("raid", kInfo, kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void UninitialisedLimit(benchmark::State& state)
{
    (void)Logs::Get();
    MeasureLines(state, kUninitialisedFile, kRecordsPerFile, IsDebugLine, [] {
        WriteWithoutLog("QOR_raid_dbg", kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void UninitialisedSpdlog(benchmark::State& state)
{
    (void)Logs::Get();
    MeasureLines(state, kOnceFile, kRecordsPerFile, EndsAsExpected,
                 [] { WriteOnceBySpdlog(kOnceFile, kFact); });
}

BENCHMARK(UninitialisedOurs)->Name("log.uninitialised/ours");
BENCHMARK(UninitialisedLimit)->Name("log.uninitialised/limit");
BENCHMARK(UninitialisedSpdlog)->Name("log.uninitialised/spdlog");

}  // namespace
}  // namespace qor::bench
