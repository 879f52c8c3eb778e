// log_growth_bench.cpp - how the costs of a log record grow: with the length of its text, with the
// number of open logs, with the size of the catalogue, with the files in the log directory.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "CTraceUtility.h"
#include "log_limit.h"
#include "log_measure.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::bench {
namespace {

constexpr auto kInfo = CTraceUtility::TRACE_DBG_INFO;
constexpr auto kRejected = CTraceUtility::TRACE_DBG_DBUG;

constexpr std::size_t kBytesPerFile = 2 << 20;  // long before a file would rotate
constexpr std::size_t kHead = 45;               // bytes before the text of a debug line

// Components of their own, each with a file that the library goes on in as the oldest one.
const std::string kDebugFile = test::LogPath("QOR_text_dbg_1.log");
const std::string kUninitialisedFile = test::LogPath("QOR_single_dbg_1.log");
const std::string kLimitFile = "/opt/peers/growth.log";

std::string Numbered(const std::string& name, long number)
{
    return name + std::to_string(number);
}

// The components whose catalogues have so many messages.
struct Catalogue {
    long messages;
    const char* component;
    const char* directory;
} const kCatalogues[] = {{10, "som", "som"}, {100, "cli", "cli"}, {1000, "text", "provider"}};

const Catalogue& CatalogueOf(long messages)
{
    for (const Catalogue& catalogue : kCatalogues) {
        if (catalogue.messages == messages)
            return catalogue;
    }
    std::abort();
}

std::string OperationFileOf(const Catalogue& catalogue)
{
    return test::LogPath(std::string("QOR_") + catalogue.component + "_trc_1.log");
}

// All levels but INFO are rejected, and nothing is compressed.
void WriteSettings(const Catalogue& catalogue)
{
    const std::string directory = std::string("/opt/velmora/qor/") + catalogue.directory;
    std::string messages;
    for (long i = 0; i < catalogue.messages; ++i)
        messages +=
            Numbered("[MESSAGE_", i) + "]\nFormatEng=%s\nType=info\nRead=0x00000001\nEvent=0\n";
    test::WriteFile(directory + "/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=1\n");
    test::WriteFile(directory + "/TraceSettingMsg.ini", messages);
}

BareLog& PrepareLogs()
{
    static BareLog& limit = *[] {
        test::MakeLogDirectory();
        for (const std::string& path : {kDebugFile, kUninitialisedFile, kLimitFile})
            test::WriteFile(path, "");
        for (const Catalogue& catalogue : kCatalogues) {
            WriteSettings(catalogue);
            test::WriteFile(OperationFileOf(catalogue), "");
            CTraceUtility::Initialize(catalogue.component, CTraceUtility::WRITE_MODE_BOTH);
        }
        return new BareLog(kLimitFile);
    }();
    return limit;
}

// Measures `write`, which appends a line that ends with the text.
template <class Write>
void Measure(benchmark::State& state, const std::string& path, const std::string& text, Write write)
{
    const std::string end = " " + text + "\n";
    const auto isExpected = [&](const std::string& line) {
        return line.size() > end.size() && line.substr(line.size() - end.size()) == end;
    };
    MeasureLines(state, path, kBytesPerFile / (text.size() + kHead), isExpected, write);
}

// The debug line, by the length of its text.

std::string Text(const benchmark::State& state)
{
    return std::string(static_cast<std::size_t>(state.range(0)), 'x');
}

void TextOurs(benchmark::State& state)
{
    (void)PrepareLogs();
    const std::string text = Text(state);
    Measure(state, kDebugFile, text,
            [&] { CTraceUtility::WriteDebug("text", kInfo, "%s", text.c_str()); });
}

void TextLimit(benchmark::State& state)
{
    BareLog& log = PrepareLogs();
    const std::string text = Text(state);
    Measure(state, kLimitFile, text, [&] { log.WriteDebug("%s", text.c_str()); });
}

BENCHMARK(TextOurs)->Name("log.debug.16B/ours")->Arg(16);
BENCHMARK(TextLimit)->Name("log.debug.16B/limit")->Arg(16);
BENCHMARK(TextOurs)->Name("log.debug.256B/ours")->Arg(256);
BENCHMARK(TextLimit)->Name("log.debug.256B/limit")->Arg(256);
BENCHMARK(TextOurs)->Name("log.debug.4K/ours")->Arg(4095);
BENCHMARK(TextLimit)->Name("log.debug.4K/limit")->Arg(4095);

// The rejected line, by the number of components with open logs.

void RejectedOurs(benchmark::State& state)
{
    (void)PrepareLogs();
    const long more = state.range(0) - static_cast<long>(std::size(kCatalogues));
    for (long i = 0; i < more; ++i)
        CTraceUtility::Initialize(Numbered("open", i).c_str(), CTraceUtility::WRITE_MODE_DEBUG);
    MeasureSilence(state, kDebugFile,
                   [] { CTraceUtility::WriteDebug("text", kRejected, "%d devices", 7); });
    for (long i = 0; i < more; ++i)
        CTraceUtility::Terminate(Numbered("open", i).c_str());
}

void RejectedLimit(benchmark::State& state)
{
    (void)PrepareLogs();
    MeasureSilence(state, kLimitFile, [] { WriteRejected(kRejected, "%d devices", 7); });
}

BENCHMARK(RejectedOurs)->Name("log.rejected.4/ours")->Arg(4);
BENCHMARK(RejectedLimit)->Name("log.rejected.4/limit");
BENCHMARK(RejectedOurs)->Name("log.rejected.16/ours")->Arg(16);
BENCHMARK(RejectedLimit)->Name("log.rejected.16/limit");

// The operation record, by the number of messages in the catalogue.

void CatalogueOurs(benchmark::State& state)
{
    (void)PrepareLogs();
    const Catalogue& catalogue = CatalogueOf(state.range(0));
    const std::string id = Numbered("MESSAGE_", catalogue.messages / 2);
    Measure(state, OperationFileOf(catalogue), "7 devices",
            [&] { CTraceUtility::WriteTrace(catalogue.component, id.c_str(), "7 devices"); });
}

void CatalogueLimit(benchmark::State& state)
{
    BareLog& log = PrepareLogs();
    Measure(state, kLimitFile, "7 devices", [&] { log.WriteOperation("%s", "7 devices"); });
}

BENCHMARK(CatalogueOurs)->Name("log.operation.10/ours")->Arg(10);
BENCHMARK(CatalogueLimit)->Name("log.operation.10/limit");
BENCHMARK(CatalogueOurs)->Name("log.operation.100/ours")->Arg(100);
BENCHMARK(CatalogueLimit)->Name("log.operation.100/limit");
BENCHMARK(CatalogueOurs)->Name("log.operation.1K/ours")->Arg(1000);
BENCHMARK(CatalogueLimit)->Name("log.operation.1K/limit");

// The line of a component that nobody initialised, by the files of others in the log directory.

class OtherFiles
{
public:
    explicit OtherFiles(long count) : count_(count)
    {
        for (long i = 0; i < count_; ++i)
            test::WriteFile(Path(i), "");
    }
    OtherFiles(const OtherFiles&) = delete;
    OtherFiles& operator=(const OtherFiles&) = delete;
    ~OtherFiles()
    {
        for (long i = 0; i < count_; ++i)
            (void)::unlink(Path(i).c_str());
    }

private:
    static std::string Path(long number)
    {
        return test::LogPath(Numbered("QOR_other_dbg_", number) + ".log");
    }

    long count_;
};

void FilesOurs(benchmark::State& state)
{
    (void)PrepareLogs();
    const OtherFiles others(state.range(0));
    Measure(state, kUninitialisedFile, "7 devices",
            [] { CTraceUtility::WriteDebug("single", kInfo, "%s", "7 devices"); });
}

void FilesLimit(benchmark::State& state)
{
    (void)PrepareLogs();
    const OtherFiles others(state.range(0));
    Measure(state, kUninitialisedFile, "7 devices",
            [] { WriteWithoutLog("QOR_single_dbg", "%s", "7 devices"); });
}

BENCHMARK(FilesOurs)->Name("log.uninitialised.10/ours")->Arg(10);
BENCHMARK(FilesLimit)->Name("log.uninitialised.10/limit")->Arg(10);
BENCHMARK(FilesOurs)->Name("log.uninitialised.100/ours")->Arg(100);
BENCHMARK(FilesLimit)->Name("log.uninitialised.100/limit")->Arg(100);
BENCHMARK(FilesOurs)->Name("log.uninitialised.1K/ours")->Arg(1000);
BENCHMARK(FilesLimit)->Name("log.uninitialised.1K/limit")->Arg(1000);

}  // namespace
}  // namespace qor::bench
