// Logs written: debug lines and operation records, and how their cost grows with the length of the
// text, the number of open logs, the size of the catalogue and the files in the log directory.
//
// Every contender writes the same text to a file of its own on the tmpfs, each line flushed. Files
// are emptied long before they would rotate.
//
// The source makes two programs: one with the peers, and one without them, which measures growth.
// The peers start threads, and in a program with threads each system call on a file takes longer.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "CTraceUtility.h"
#include "log_limit.h"
#include "log_peers.h"
#include "support/Engine.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::bench {
namespace {

constexpr auto kInfo = CTraceUtility::TRACE_DBG_INFO;
constexpr auto kRejected = CTraceUtility::TRACE_DBG_DBUG;

constexpr LogFact kFact = {"firmware", 7, 42};
constexpr char kFormat[] = "Update of %s: package %d of %d";
constexpr char kLine[] = "Update of firmware: package 7 of 42\n";

constexpr int kBatch = 500;         // lines between two times that a file is emptied
constexpr std::size_t kStamp = 19;  // bytes

// The components. Each log has a file that the library goes on in as the oldest one.
constexpr char kOpen[] = "um";
constexpr char kNotOpen[] = "raid";
constexpr struct {
    const char* size;
    int messages;
    const char* component;
    const char* directory;
} kCatalogues[] = {
    {"10", 10, "som", "som"}, {"100", 100, "cli", "cli"}, {"1K", 1000, "text", "provider"}};

std::string DebugFile(const std::string& component)
{
    return test::LogPath("QOR_" + component + "_dbg_1.log");
}

std::string OperationFile(const std::string& component)
{
    return test::LogPath("QOR_" + component + "_trc_1.log");
}

std::string PeerFile(const std::string& name)
{
    return "/opt/peers/" + name + ".log";
}

bool HasPeers()
{
    return LogPeers != nullptr;
}

void EmptyFile(const std::string& path)
{
    if (::truncate(path.c_str(), 0) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
}

std::string Message(const std::string& id, const std::string& format)
{
    return "[" + id + "]\nFormatEng=" + format + "\nType=info\nRead=0x00000001\nEvent=0\n";
}

// Of the levels INFO alone is wanted; nothing is compressed.
void WriteSettings(const std::string& directory, const std::string& catalogue)
{
    const std::string path = "/opt/velmora/qor/" + directory;
    test::WriteFile(path + "/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=1\n");
    test::WriteFile(path + "/TraceSettingMsg.ini", catalogue);
}

// Made once; the logs of the limit, of the peers and of kOpen stay open until the process ends.
BareLog& PreparedLimit()
{
    static BareLog& limit = *[] {
        WriteSettings("um", Message("PACKAGE", kFormat));
        for (const auto& catalogue : kCatalogues) {
            std::string messages;
            for (int i = 0; i < catalogue.messages; ++i)
                messages += Message("MESSAGE_" + std::to_string(i), "%s");
            WriteSettings(catalogue.directory, messages);
            test::WriteFile(DebugFile(catalogue.component), "");
            test::WriteFile(OperationFile(catalogue.component), "");
        }
        for (const std::string& path : {DebugFile(kOpen), OperationFile(kOpen), DebugFile(kNotOpen),
                                        PeerFile("limit"), PeerFile("once")})
            test::WriteFile(path, "");
        if (HasPeers()) {
            for (const LogPeer& peer : LogPeers())
                peer.open(PeerFile(peer.name));
        }
        CTraceUtility::Initialize(kOpen, CTraceUtility::WRITE_MODE_BOTH);
        return new BareLog(PeerFile("limit"));
    }();
    return limit;
}

// What a line has before its text and after its stamp; a peer's head is its own affair.
enum class Head { kDebug, kOperation, kAny };

bool IsExpected(const std::string& line, Head head, const std::string& text)
{
    if (line.size() < kStamp + text.size())
        return false;
    if (head == Head::kAny)
        return line.substr(line.size() - text.size()) == text;
    char thread[48];
    (void)std::snprintf(thread, sizeof thread, " ThId:0x%08x --INFO-- ",
                        static_cast<unsigned int>(::gettid()));
    return line.substr(kStamp) == (head == Head::kDebug ? thread : " 0x00000001 info    ") + text;
}

// `write` appends a line with the text to the file.
template <class Write>
void MeasureLines(benchmark::State& state, const std::string& path, Head head,
                  const std::string& text, Write write)
{
    Measure(
        state, write, [&] { return IsExpected(test::ReadFile(path), head, text); },
        [&] { EmptyFile(path); }, kBatch);
}

// `write` must write nothing.
template <class Write>
void MeasureSilence(benchmark::State& state, const std::string& path, Write write)
{
    EmptyFile(path);
    Measure(state, write, [&] { return test::ReadFile(path).empty(); });
}

void DebugOurs(benchmark::State& state)
{
    (void)PreparedLimit();
    MeasureLines(state, DebugFile(kOpen), Head::kDebug, kLine, [] {
        CTraceUtility::WriteDebug(kOpen, kInfo, kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void DebugLimit(benchmark::State& state)
{
    BareLog& log = PreparedLimit();
    MeasureLines(state, PeerFile("limit"), Head::kDebug, kLine,
                 [&] { log.WriteDebug(kFormat, kFact.name, kFact.number, kFact.count); });
}

void OperationOurs(benchmark::State& state)
{
    (void)PreparedLimit();
    MeasureLines(state, OperationFile(kOpen), Head::kOperation, kLine, [] {
        CTraceUtility::WriteTrace(kOpen, "PACKAGE", kFact.name, kFact.number, kFact.count);
    });
}

void OperationLimit(benchmark::State& state)
{
    BareLog& log = PreparedLimit();
    MeasureLines(state, PeerFile("limit"), Head::kOperation, kLine,
                 [&] { log.WriteOperation(kFormat, kFact.name, kFact.number, kFact.count); });
}

void ByPeer(benchmark::State& state, const LogPeer& peer)
{
    (void)PreparedLimit();
    MeasureLines(state, PeerFile(peer.name), Head::kAny, kLine, [&] { peer.write(kFact); });
}

std::string Other(int number)
{
    return "other" + std::to_string(number);
}

// Empty debug logs of components other0 and so on.
class OtherFiles
{
public:
    explicit OtherFiles(int count) : count_(count)
    {
        for (int i = 0; i < count_; ++i)
            test::WriteFile(DebugFile(Other(i)), "");
    }
    OtherFiles(const OtherFiles&) = delete;
    OtherFiles& operator=(const OtherFiles&) = delete;
    ~OtherFiles()
    {
        for (int i = 0; i < count_; ++i)
            (void)::unlink(DebugFile(Other(i)).c_str());
    }

private:
    int count_;
};

// So many components have open logs.
void RejectedOurs(benchmark::State& state, int components)
{
    (void)PreparedLimit();
    const OtherFiles files(components - 1);
    for (int i = 0; i < components - 1; ++i)
        CTraceUtility::Initialize(Other(i).c_str(), CTraceUtility::WRITE_MODE_DEBUG);
    MeasureSilence(state, DebugFile(kOpen), [] {
        CTraceUtility::WriteDebug(kOpen, kRejected, kFormat, kFact.name, kFact.number, kFact.count);
    });
    for (int i = 0; i < components - 1; ++i)
        CTraceUtility::Terminate(Other(i).c_str());
}

void RejectedLimit(benchmark::State& state)
{
    (void)PreparedLimit();
    MeasureSilence(state, PeerFile("limit"), [] {
        WriteRejected(kRejected, kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void RejectedByPeer(benchmark::State& state, const LogPeer& peer)
{
    (void)PreparedLimit();
    MeasureSilence(state, PeerFile(peer.name), [&] { peer.writeRejected(kFact); });
}

void TextOurs(benchmark::State& state, std::size_t length)
{
    (void)PreparedLimit();
    const std::string text(length, 'x');
    MeasureLines(state, DebugFile(kOpen), Head::kDebug, text + "\n",
                 [&] { CTraceUtility::WriteDebug(kOpen, kInfo, "%s", text.c_str()); });
}

void TextLimit(benchmark::State& state, std::size_t length)
{
    BareLog& log = PreparedLimit();
    const std::string text(length, 'x');
    MeasureLines(state, PeerFile("limit"), Head::kDebug, text + "\n",
                 [&] { log.WriteDebug("%s", text.c_str()); });
}

void CatalogueOurs(benchmark::State& state, const char* component, int messages)
{
    (void)PreparedLimit();
    const std::string id = "MESSAGE_" + std::to_string(messages / 2);
    CTraceUtility::Initialize(component, CTraceUtility::WRITE_MODE_BOTH);
    MeasureLines(state, OperationFile(component), Head::kOperation, "7 devices\n",
                 [&] { CTraceUtility::WriteTrace(component, id.c_str(), "7 devices"); });
    CTraceUtility::Terminate(component);
}

void CatalogueLimit(benchmark::State& state)
{
    BareLog& log = PreparedLimit();
    MeasureLines(state, PeerFile("limit"), Head::kOperation, "7 devices\n",
                 [&] { log.WriteOperation("%s", "7 devices"); });
}

// The line of a component that nobody initialised: the file is opened for it. Beside it lie the
// logs of others, and `files` more.

void NotOpenOurs(benchmark::State& state, int files)
{
    (void)PreparedLimit();
    const OtherFiles others(files);
    MeasureLines(state, DebugFile(kNotOpen), Head::kDebug, kLine, [] {
        CTraceUtility::WriteDebug(kNotOpen, kInfo, kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void NotOpenLimit(benchmark::State& state, int files)
{
    (void)PreparedLimit();
    const OtherFiles others(files);
    MeasureLines(state, DebugFile(kNotOpen), Head::kDebug, kLine, [] {
        WriteWithoutLog("QOR_raid_dbg", kFormat, kFact.name, kFact.number, kFact.count);
    });
}

void NotOpenSpdlog(benchmark::State& state)
{
    (void)PreparedLimit();
    const std::string path = PeerFile("once");
    MeasureLines(state, path, Head::kAny, kLine, [&] { WriteOnceBySpdlog(path, kFact); });
}

void AddUninitialised(const std::string& size, int files)
{
    const std::string operation = "log.uninitialised" + size;
    Add(operation, "ours", [=](auto& state) { NotOpenOurs(state, files); });
    Add(operation, "limit", [=](auto& state) { NotOpenLimit(state, files); });
}

void AddBesidePeers()
{
    // Two threads: the processor time of both, for each line.
    Add("log.debug", "ours", DebugOurs);
    Add("log.debug", "limit", DebugLimit);
    Add("log.debug.two", "ours", DebugOurs)->Threads(2);
    Add("log.debug.two", "limit", DebugLimit)->Threads(2);
    Add("log.operation", "ours", OperationOurs);
    Add("log.operation", "limit", OperationLimit);
    Add("log.rejected", "ours", [](auto& state) { RejectedOurs(state, 1); });
    Add("log.rejected", "limit", RejectedLimit);
    for (const LogPeer& peer : LogPeers()) {
        const auto write = [=](benchmark::State& state) { ByPeer(state, peer); };
        Add("log.debug", peer.name, write);
        Add("log.debug.two", peer.name, write)->Threads(2);
        Add("log.operation", peer.name, write);
        Add("log.rejected", peer.name, [=](auto& state) { RejectedByPeer(state, peer); });
    }
    AddUninitialised("", 0);
    Add("log.uninitialised", "spdlog", NotOpenSpdlog);
}

void AddGrowth()
{
    for (const Size& size : {Size{"16B", 16}, Size{"256B", 256}, Size{"4K", 4095}}) {
        const std::string operation = std::string("log.debug.") + size.name;
        Add(operation, "ours", [=](auto& state) { TextOurs(state, size.count); });
        Add(operation, "limit", [=](auto& state) { TextLimit(state, size.count); });
    }
    for (const int components : {4, 16}) {
        const std::string operation = "log.rejected." + std::to_string(components);
        Add(operation, "ours", [=](auto& state) { RejectedOurs(state, components); });
        Add(operation, "limit", RejectedLimit);
    }
    for (const auto& catalogue : kCatalogues) {
        const std::string operation = std::string("log.operation.") + catalogue.size;
        Add(operation, "ours", [&catalogue](auto& state) {
            CatalogueOurs(state, catalogue.component, catalogue.messages);
        });
        Add(operation, "limit", CatalogueLimit);
    }
    AddUninitialised(".10", 10);
    AddUninitialised(".100", 100);
    AddUninitialised(".1K", 1000);
}

[[maybe_unused]] const bool kRegistered = [] {
    HasPeers() ? AddBesidePeers() : AddGrowth();
    return true;
}();

}  // namespace
}  // namespace qor::bench
