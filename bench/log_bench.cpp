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
#include <iterator>
#include <string>
#include <utility>

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
constexpr struct Catalogue {
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

BareLog* g_limit = nullptr;

// Once. All logs stay open until the process ends: of the limit, of the peers, of kOpen, and, where
// growth is measured, of the catalogues' components.
void Prepare()
{
    [[maybe_unused]] static const bool prepared = [] {
        WriteSettings("um", Message("PACKAGE", kFormat));
        for (const auto& catalogue : kCatalogues) {
            std::string messages;
            for (int i = 0; i < catalogue.messages; ++i)
                messages += Message("MESSAGE_" + std::to_string(i), "%s");
            WriteSettings(catalogue.directory, messages);
            test::WriteFile(DebugFile(catalogue.component), "");
            test::WriteFile(OperationFile(catalogue.component), "");
            if (!HasPeers())
                CTraceUtility::Initialize(catalogue.component, CTraceUtility::WRITE_MODE_BOTH);
        }
        for (const std::string& path : {DebugFile(kOpen), OperationFile(kOpen), DebugFile(kNotOpen),
                                        PeerFile("limit"), PeerFile("once")})
            test::WriteFile(path, "");
        if (HasPeers()) {
            for (const LogPeer& peer : LogPeers())
                peer.open(PeerFile(peer.name));
        }
        CTraceUtility::Initialize(kOpen, CTraceUtility::WRITE_MODE_BOTH);
        g_limit = new BareLog(PeerFile("limit"));
        return true;
    }();
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

std::string Other(int number)
{
    return "other" + std::to_string(number);
}

// Empty debug logs of the components other0 and so on.
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

// `write` appends a line with the text to the file. So many more files lie in its directory.
template <class Write>
void AddLine(const std::string& operation, const std::string& who, const std::string& path,
             Head head, const std::string& text, Write write, int threads = 1, int files = 0)
{
    auto* const row = Add(operation, who, [=](benchmark::State& state) {
        Prepare();
        const OtherFiles others(files);
        Measure(
            state, write, [&] { return IsExpected(test::ReadFile(path), head, text); },
            [&] { EmptyFile(path); }, kBatch);
    });
    if (threads > 1)
        row->Threads(threads);
}

// `write` must write nothing to the file. So many other components have open logs.
template <class Write>
void AddSilence(const std::string& operation, const std::string& who, const std::string& path,
                Write write, int others = 0)
{
    Add(operation, who, [=](benchmark::State& state) {
        Prepare();
        const OtherFiles files(others);
        for (int i = 0; i < others; ++i)
            CTraceUtility::Initialize(Other(i).c_str(), CTraceUtility::WRITE_MODE_DEBUG);
        EmptyFile(path);
        Measure(state, write, [&] { return test::ReadFile(path).empty(); });
        for (int i = 0; i < others; ++i)
            CTraceUtility::Terminate(Other(i).c_str());
    });
}

// Of two threads, the processor time of both is measured, for each line.
void AddLines()
{
    for (const auto& [operation, threads] :
         {std::make_pair("log.debug", 1), std::make_pair("log.debug.two", 2)}) {
        AddLine(
            operation, "ours", DebugFile(kOpen), Head::kDebug, kLine,
            [] {
                CTraceUtility::WriteDebug(kOpen, kInfo, kFormat, kFact.name, kFact.number,
                                          kFact.count);
            },
            threads);
        AddLine(
            operation, "limit", PeerFile("limit"), Head::kDebug, kLine,
            [] { g_limit->WriteDebug(kFormat, kFact.name, kFact.number, kFact.count); }, threads);
    }
    AddLine("log.operation", "ours", OperationFile(kOpen), Head::kOperation, kLine, [] {
        CTraceUtility::WriteTrace(kOpen, "PACKAGE", kFact.name, kFact.number, kFact.count);
    });
    AddLine("log.operation", "limit", PeerFile("limit"), Head::kOperation, kLine,
            [] { g_limit->WriteOperation(kFormat, kFact.name, kFact.number, kFact.count); });
    for (const LogPeer& peer : LogPeers()) {
        const auto write = [=] { peer.write(kFact); };
        const std::string path = PeerFile(peer.name);
        AddLine("log.debug", peer.name, path, Head::kAny, kLine, write);
        AddLine("log.debug.two", peer.name, path, Head::kAny, kLine, write, 2);
        AddLine("log.operation", peer.name, path, Head::kAny, kLine, write);
        AddSilence("log.rejected", peer.name, path, [=] { peer.writeRejected(kFact); });
    }
}

void AddRejected(const std::string& size, int components)
{
    const std::string operation = "log.rejected" + size;
    AddSilence(
        operation, "ours", DebugFile(kOpen),
        [] {
            CTraceUtility::WriteDebug(kOpen, kRejected, kFormat, kFact.name, kFact.number,
                                      kFact.count);
        },
        components - (HasPeers() ? 1 : 1 + static_cast<int>(std::size(kCatalogues))));
    AddSilence(operation, "limit", PeerFile("limit"),
               [] { WriteRejected(kRejected, kFormat, kFact.name, kFact.number, kFact.count); });
}

void AddText(const Size& size)
{
    const std::string operation = std::string("log.debug.") + size.name;
    const std::string text(size.count, 'x');
    AddLine(operation, "ours", DebugFile(kOpen), Head::kDebug, text + "\n",
            [=] { CTraceUtility::WriteDebug(kOpen, kInfo, "%s", text.c_str()); });
    AddLine(operation, "limit", PeerFile("limit"), Head::kDebug, text + "\n",
            [=] { g_limit->WriteDebug("%s", text.c_str()); });
}

void AddCatalogue(const Catalogue& catalogue)
{
    const std::string operation = std::string("log.operation.") + catalogue.size;
    const std::string id = "MESSAGE_" + std::to_string(catalogue.messages / 2);
    const char* const component = catalogue.component;
    AddLine(operation, "ours", OperationFile(component), Head::kOperation, "7 devices\n",
            [=] { CTraceUtility::WriteTrace(component, id.c_str(), "7 devices"); });
    AddLine(operation, "limit", PeerFile("limit"), Head::kOperation, "7 devices\n",
            [] { g_limit->WriteOperation("%s", "7 devices"); });
}

// The line of a component that nobody initialised: the file is opened for it. Beside it lie the
// logs of others, and `files` more.
void AddUninitialised(const std::string& size, int files)
{
    const std::string operation = "log.uninitialised" + size;
    const auto add = [=](const char* who, const std::string& path, Head head, auto write) {
        AddLine(operation, who, path, head, kLine, write, 1, files);
    };
    add("ours", DebugFile(kNotOpen), Head::kDebug, [] {
        CTraceUtility::WriteDebug(kNotOpen, kInfo, kFormat, kFact.name, kFact.number, kFact.count);
    });
    add("limit", DebugFile(kNotOpen), Head::kDebug,
        [] { WriteWithoutLog("QOR_raid_dbg", kFormat, kFact.name, kFact.number, kFact.count); });
    if (HasPeers())
        add("spdlog", PeerFile("once"), Head::kAny,
            [path = PeerFile("once")] { WriteOnceBySpdlog(path, kFact); });
}

[[maybe_unused]] const bool kRegistered = [] {
    if (HasPeers()) {
        AddLines();
        AddRejected("", 1);
        AddUninitialised("", 0);
        return true;
    }
    for (const Size& size : {Size{"16B", 16}, Size{"256B", 256}, Size{"4K", 4095}})
        AddText(size);
    for (const int components : {4, 16})
        AddRejected("." + std::to_string(components), components);
    for (const Catalogue& catalogue : kCatalogues)
        AddCatalogue(catalogue);
    AddUninitialised(".10", 10);
    AddUninitialised(".100", 100);
    AddUninitialised(".1K", 1000);
    return true;
}();

}  // namespace
}  // namespace qor::bench
