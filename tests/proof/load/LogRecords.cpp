#include "proof/load/LogRecords.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <thread>

#include "CTraceUtility.h"
#include "proof/engine/Proof.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/Processes.h"

namespace qor::proof {
namespace {

using namespace test;

constexpr std::size_t kStampSize = 19;

std::string SuffixOf(Log log)
{
    return log == Log::Debug ? kDebugLog : kOperationLog;
}

std::string PaddingOf(unsigned writer, unsigned number, std::size_t longest)
{
    Numbers numbers(writer * 1000003 + number + 1);
    const std::size_t length = longest / 4 + numbers.Below(longest - longest / 4);
    return std::string(length, static_cast<char>('a' + numbers.Below(26)));
}

std::string TextOf(unsigned writer, unsigned number, const std::string& padding)
{
    char head[64];
    (void)std::snprintf(head, sizeof head, "w=%02u n=%06u ", writer, number);
    const std::string text = head + padding;
    (void)std::snprintf(head, sizeof head, " c=%016" PRIx64, Checksum(text.data(), text.size()));
    return text + head;
}

// "261115082918" and whether it is not compressed.
std::pair<std::string, bool> OrderOf(const std::string& name)
{
    const std::size_t end = name.find(".log");
    return {name.substr(end - 12, 12), name.find(".gz") == std::string::npos};
}

Position PositionOf(const std::string& line, const std::string& file)
{
    const std::string shown = file + ": no whole record: " + line.substr(0, 100);
    const std::size_t begin = line.find("w=");
    const std::size_t end = line.rfind(" c=");
    Require(begin != std::string::npos && end != std::string::npos && begin < end &&
                line.size() == end + 19 && line[4] == '/' && line[kStampSize] == ' ',
            shown);
    const bool isDebug = line.compare(kStampSize, 8, " ThId:0x") == 0 &&
                         line.compare(35, 10, " --INFO-- ") == 0 && begin == 45;
    const bool isOperation =
        line.compare(kStampSize, 20, " 0x00000001 info    ") == 0 && begin == 39;
    Require(isDebug || isOperation, shown);

    char sum[20];
    (void)std::snprintf(sum, sizeof sum, "%016" PRIx64, Checksum(line.data() + begin, end - begin));
    Require(line.compare(end + 3, 16, sum) == 0, shown);
    Position position = {};
    Require(
        std::sscanf(line.c_str() + begin, "w=%u n=%u ", &position.writer, &position.number) == 2,
        shown);
    return position;
}

}  // namespace

void PrepareLogs(bool compress)
{
    EmptyDirectory("/opt");
    MakeLogDirectory();
    WriteFile("/opt/velmora/qor/um/TraceSetting.ini",
              std::string("[APP_SETTING]\nTraceLevel=") + (compress ? "7F" : "3F") + "\n");
    WriteFile("/opt/velmora/qor/um/TraceSettingMsg.ini",
              "[ID]\nFormatEng=%s\nType=info\nRead=0x00000001\nEvent=0\n");
}

void InitializeLog(Log log)
{
    CTraceUtility::Initialize(kLoadComponent, log == Log::Debug ? CTraceUtility::WRITE_MODE_DEBUG
                                                                : CTraceUtility::WRITE_MODE_TRACE);
}

void WriteRecord(Log log, unsigned writer, unsigned number, std::size_t longest)
{
    const std::string text = TextOf(writer, number, PaddingOf(writer, number, longest));
    if (log == Log::Debug)
        CTraceUtility::WriteDebug(kLoadComponent, CTraceUtility::TRACE_DBG_INFO, "%s",
                                  text.c_str());
    else
        CTraceUtility::WriteTrace(kLoadComponent, "ID", text.c_str());
}

void WriteFromThreads(Log log, unsigned writers, unsigned first, unsigned count,
                      std::size_t longest)
{
    std::vector<std::thread> threads;
    for (unsigned writer = 0; writer < writers; ++writer) {
        threads.emplace_back([=] {
            for (unsigned number = first; number < first + count; ++number)
                WriteRecord(log, writer, number, longest);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

std::vector<LogFile> ReadLogs(Log log)
{
    std::vector<std::string> names = LogFileNames(kLoadComponent, SuffixOf(log));
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return OrderOf(a) < OrderOf(b); });
    std::vector<LogFile> files;
    for (const std::string& name : names) {
        if (OrderOf(name).second) {
            files.push_back({name, ReadFile(LogPath(name))});
            continue;
        }
        const ShellResult result = RunShell("gzip -dc " + LogPath(name));
        Require(result.status == 0, "a torn file: " + name);
        files.push_back({name, result.output});
    }
    return files;
}

std::vector<Position> RecordsOf(const LogFile& file)
{
    std::vector<Position> positions;
    Require(file.text.empty() || file.text.back() == '\n', "a torn record ends " + file.name);
    for (const std::string& line : Lines(file.text))
        positions.push_back(PositionOf(line, file.name));
    return positions;
}

std::size_t RequireUnbroken(const std::vector<LogFile>& files, unsigned writers, unsigned count,
                            bool complete)
{
    std::size_t records = 0;
    std::vector<unsigned> next(writers, 0);
    std::vector<bool> begun(writers, complete);
    for (const LogFile& file : files) {
        for (const Position& position : RecordsOf(file)) {
            ++records;
            Require(position.writer < writers, "a record of a strange writer");
            const std::string where = "writer " + std::to_string(position.writer) + ", record " +
                                      std::to_string(position.number) + " in " + file.name;
            if (begun[position.writer])
                Require(position.number == next[position.writer], "out of order: " + where);
            begun[position.writer] = true;
            next[position.writer] = position.number + 1;
        }
    }
    for (unsigned writer = 0; writer < writers; ++writer)
        Require(next[writer] == count,
                "the last records are missing, writer " + std::to_string(writer) + ": " +
                    std::to_string(next[writer]) + " of " + std::to_string(count));
    return records;
}

}  // namespace qor::proof
