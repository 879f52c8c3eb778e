// The logs under load.
#include <algorithm>
#include <ctime>
#include <memory>
#include <vector>

#include "proof/engine/Proof.h"
#include "proof/load/Load.h"
#include "proof/load/LogRecords.h"
#include "support/FrozenTime.h"

namespace qor::proof {
namespace {

constexpr unsigned kProcesses = 8;
constexpr std::size_t kMostFiles = 5;
constexpr std::size_t kAroundText = 80;   // more than what a record has around its padding
constexpr std::size_t kLongestLine = 60;  // 80000 lines stay below 10 MiB

std::string Mebibytes(const std::vector<LogFile>& files)
{
    std::size_t bytes = 0;
    for (const LogFile& file : files)
        bytes += file.text.size();
    return std::to_string(bytes / (1024 * 1024)) + " MiB";
}

// The text of the violation; "" for a whole log of two writers with 50 records each.
std::string FailureOf(const LogFile& file)
{
    try {
        (void)RequireUnbroken({file}, 2, 50, true);
        return "";
    } catch (const Violation& violation) {
        return violation.what();
    }
}

std::string OutOfOrder(const Position& position, const std::string& file)
{
    return "out of order: writer " + std::to_string(position.writer) + ", record " +
           std::to_string(position.number) + " in " + file;
}

}  // namespace

std::string ThreadsOnOneLog(Log log, unsigned records, std::size_t longest)
{
    PrepareLogs(true);
    // Rotations within a second would share a name (see the case clock-stands): while less than a
    // file's worth is written the clock stands.
    const unsigned phase = static_cast<unsigned>(kMostSize / kThreads / (longest + kAroundText));
    std::time_t now = kStart;
    {
        const test::FrozenTime clock(now);
        InitializeLog(log);
    }
    for (unsigned first = 0; first < records; first += phase) {
        const test::FrozenTime clock(++now);
        WriteFromThreads(log, kThreads, first, std::min(phase, records - first), longest);
    }

    const std::vector<LogFile> files = ReadLogs(log);
    Require(files.size() >= 2, "no rotation");
    Require(files.size() <= kMostFiles, "more than five files");
    const bool nothingRemoved = files.size() < kMostFiles;
    const std::size_t kept = RequireUnbroken(files, kThreads, records, nothingRemoved);
    return std::to_string(kThreads) + " threads x " + std::to_string(records) +
           " records: " + std::to_string(kept) + " kept in " + std::to_string(files.size()) +
           " files, " + Mebibytes(files) + ": all whole, each thread's in order, none missing";
}

std::string ProcessesOnOneLog(unsigned records)
{
    PrepareLogs(false);
    RequireInNewProcess("the first process", [] {
        InitializeLog(Log::Debug);
        WriteRecord(Log::Debug, kProcesses, 0, kLongestLine);
    });
    std::vector<std::unique_ptr<Worker>> processes;
    for (unsigned process = 0; process < kProcesses; ++process) {
        processes.push_back(std::make_unique<Worker>(
            [=] {
                InitializeLog(Log::Debug);
                for (unsigned number = 0; number < records; ++number)
                    WriteRecord(Log::Debug, process, number, kLongestLine);
            },
            300));
    }
    for (const auto& process : processes)
        Require(process->Wait().Failure().empty(), "a process failed");

    std::vector<LogFile> files = ReadLogs(Log::Debug);
    Require(files.size() == 1, "more than one file");
    const std::string size = Mebibytes(files);
    files[0].text.erase(0, files[0].text.find('\n') + 1);  // the first process's
    const std::size_t kept = RequireUnbroken(files, kProcesses, records, true);
    Require(kept == std::size_t{kProcesses} * records, "records are missing");
    return std::to_string(kProcesses) + " processes x " + std::to_string(records) + " lines, " +
           size + " in one file: none torn, none missing, each process's in order";
}

std::string FaultyLogsAreFound()
{
    PrepareLogs(false);
    InitializeLog(Log::Debug);
    // In turns: the record that is taken away below is nobody's last.
    for (unsigned number = 0; number < 50; ++number) {
        WriteRecord(Log::Debug, 0, number, 200);
        WriteRecord(Log::Debug, 1, number, 200);
    }
    const std::vector<LogFile> files = ReadLogs(Log::Debug);
    Require(files.size() == 1, "more than one file");
    const std::string whole = FailureOf(files[0]);
    Require(whole.empty(), "a whole log is called faulty: " + whole);

    const std::string& name = files[0].name;
    const std::string& text = files[0].text;
    const std::size_t begin = text.find('\n', text.size() / 2) + 1;
    const std::size_t end = text.find('\n', begin) + 1;
    const std::string record = text.substr(begin, end - begin);
    std::string missing = text;
    missing.erase(begin, record.size());
    std::string torn = text;
    torn.erase(begin + record.size() / 2, 3);
    std::string changed = text;
    changed[end - 30] = static_cast<char>(changed[end - 30] ^ 1);
    const std::string moved = missing + record;
    const std::string doubled = text + record;
    const Position position = RecordsOf({name, record}).at(0);
    const std::string atGap = OutOfOrder({position.writer, position.number + 1}, name);
    const std::string atRecord = OutOfOrder(position, name);
    const auto noRecord = [&](const std::string& faulty) {
        const std::string line = faulty.substr(begin, faulty.find('\n', begin) - begin);
        return name + ": no whole record: " + line.substr(0, 100);
    };
    const struct {
        std::string text;
        std::string failure;
    } faults[] = {{missing, atGap},
                  {torn, noRecord(torn)},
                  {changed, noRecord(changed)},
                  {moved, atGap},
                  {doubled, atRecord}};
    for (const auto& fault : faults) {
        const std::string failure = FailureOf({name, fault.text});
        Require(failure == fault.failure,
                "instead of \"" + fault.failure + "\" is found: \"" + failure + "\"");
    }
    return "5 of 5 deliberate faults found: a record missing, torn, changed, moved, doubled";
}

}  // namespace qor::proof
