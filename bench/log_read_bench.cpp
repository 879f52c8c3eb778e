// Reading an operation log back: 1 % of its records, all of them, the last 100.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <list>
#include <string>

#include "CTraceRead.h"
#include "log_read_limit.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace {

using qor::bench::kBodyOffset;
using qor::bench::kStampLength;
using qor::bench::LogQuery;
using Records = std::list<std::string>;

constexpr char kComponent[] = "um";
constexpr unsigned int kRare = 0x00000004;
constexpr unsigned int kAny = 0xFFFFFFFFU;
constexpr unsigned int kNoLimit = 0x7FFFFFFF;
constexpr unsigned int kLast = 100;

constexpr LogQuery kQueries[] = {
    {"log.read.1pct", kRare, kNoLimit, false},
    {"log.read.all", kAny, kNoLimit, false},
    {"log.read.last100", kAny, kLast, true},
};

constexpr struct {
    const char* name;
    std::size_t bytes;
} kSizes[] = {{"100K", 100 << 10}, {"1M", 1 << 20}, {"10M", 10 << 20}};

std::string Stamp(std::size_t second)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "2026/%02zu/%02zu %02zu:%02zu:%02zu",
                        1 + second / 86400 / 28 % 12, 1 + second / 86400 % 28, second / 3600 % 24,
                        second / 60 % 60, second % 60);
    return text;
}

struct Log {
    std::string text;
    std::string lastDate;  // the first stamp of the last kLast records
};

// A record a second, of 70 to 120 bytes; every hundredth has a read code of its own.
Log MakeLog(std::size_t size)
{
    Log log;
    std::size_t records = 0;
    while (log.text.size() + 128 < size) {
        log.text += Stamp(records);
        log.text += records % 100 == 50 ? " 0x00000004 fail    " : " 0x00000001 info    ";
        log.text += "Package number " + std::to_string(records * 7919 % 10007);
        log.text.append(" is being installed on the managed servers of the group",
                        10 + records % 46);
        log.text += '\n';
        ++records;
    }
    log.lastDate = Stamp(records - kLast);
    return log;
}

void Ours(const LogQuery& query, const std::string& from, Records& out)
{
    std::string fromDate = from;
    CTraceRead(kComponent).ReadOperationLog(query.type, query.count, out, &fromDate);
}

// --- What a user would write without the library.

void Getline(const LogQuery& query, const std::string& from, Records& out)
{
    std::ifstream file(qor::bench::NewestLog());
    unsigned int taken = 0;
    for (std::string line; taken < query.count && std::getline(file, line);) {
        if (query.fromDate && line.compare(0, kStampLength, from) < 0)
            continue;
        const auto code = line.find("0x");
        if (code == std::string::npos ||
            (std::stoul(line.substr(code), nullptr, 16) & query.type) == 0)
            continue;
        out.push_back(line.substr(0, kStampLength + 1) + line.substr(kBodyOffset));
        ++taken;
    }
}

// --- The measurement.

using Reader = void (*)(const LogQuery&, const std::string& from, Records&);

void Measure(benchmark::State& state, const LogQuery& query, std::size_t size, Reader reader)
{
    const Log log = MakeLog(size);
    qor::test::MakeLogDirectory();
    qor::test::EmptyDirectory(qor::test::kLogDirectory);
    qor::test::WriteFile(qor::test::LogPath("QOR_um_trc_261115082918.log"), log.text);
    const std::string from = query.fromDate ? log.lastDate : "";

    Records expected;
    Getline(query, from, expected);
    Records records;
    reader(query, from, records);
    if (records != expected || records.empty() || (query.fromDate && records.size() != kLast)) {
        state.SkipWithError("other records than the plain reader's");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        records.clear();
        state.ResumeTiming();
        reader(query, from, records);
    }
}

bool RegisterAll()
{
    for (const auto& size : kSizes) {
        for (const LogQuery& query : kQueries) {
            const std::string operation = std::string(query.operation) + "." + size.name;
            const auto add = [&](const char* who, Reader reader) {
                (void)benchmark::RegisterBenchmark((operation + "/" + who).c_str(),
                                                   [&query, &size, reader](auto& state) {
                                                       Measure(state, query, size.bytes, reader);
                                                   });
            };
            add("ours", Ours);
            add("limit", qor::bench::ReadLogByLimit);
            add("getline", Getline);
        }
    }
    return true;
}

const bool kRegistered = RegisterAll();

}  // namespace
