// Reading an operation log back: 1 % of its records, all of them, the last 100.
#include <dirent.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <list>
#include <string>

#include "CTraceRead.h"
#include "limit_pieces.h"
#include "support/Engine.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace {

using qor::bench::Size;
using Records = std::list<std::string>;

// A stored record: time stamp, space, read code of ten characters, space, body.
constexpr std::size_t kStampLength = 19;
constexpr std::size_t kBodyOffset = 31;

constexpr unsigned int kRare = 0x00000004;
constexpr unsigned int kAny = 0xFFFFFFFFU;
constexpr unsigned int kNoLimit = 0x7FFFFFFF;
constexpr unsigned int kLast = 100;

struct LogQuery {
    const char* operation;
    unsigned int type;
    unsigned int count;
    bool fromDate;  // reads from a date on
};

constexpr LogQuery kQueries[] = {
    {"log.read.1pct", kRare, kNoLimit, false},
    {"log.read.all", kAny, kNoLimit, false},
    {"log.read.last100", kAny, kLast, true},
};

constexpr Size kSizes[] = {{"100K", 100 << 10}, {"1M", 1 << 20}, {"10M", 10 << 20}};

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
    CTraceRead("um").ReadOperationLog(query.type, query.count, out, &fromDate);
}

// The limit: blocks are read into one buffer, each line is judged where it stands, a record is
// built once. What these logs do not hold - NUL bytes, records that are too short - is looked for
// in selected records alone.

std::string NewestLog()
{
    std::string newest;
    DIR* const directory = ::opendir(qor::test::kLogDirectory);
    while (const dirent* const entry = ::readdir(directory)) {
        const char* const name = entry->d_name;
        if (std::strstr(name, "QOR_um_trc") != nullptr && std::strstr(name, ".log") != nullptr &&
            std::strstr(name, ".swp") == nullptr && newest < name)
            newest = name;
    }
    (void)::closedir(directory);
    return qor::test::LogPath(newest);
}

unsigned long HexValue(const char* digit)
{
    unsigned long value = 0;
    for (;; ++digit) {
        const unsigned decimal = static_cast<unsigned char>(*digit) - unsigned{'0'};
        const unsigned letter = (static_cast<unsigned char>(*digit) | 0x20U) - unsigned{'a'};
        if (decimal < 10)
            value = value << 4 | decimal;
        else if (letter < 6)
            value = value << 4 | (letter + 10);
        else
            return value;
    }
}

// The first "0x" is searched by its "x": stamps are full of zeros. A blank must follow the number.
bool IsSelected(const char* line, std::size_t length, unsigned int type)
{
    const char* const end = line + length;
    const char* x = line;
    do {
        x = static_cast<const char*>(
            std::memchr(x + 1, 'x', static_cast<std::size_t>(end - x - 1)));
        if (x == nullptr)
            return false;
    } while (x[-1] != '0');
    return (HexValue(x + 1) & type) != 0 &&
           std::memchr(x, ' ', static_cast<std::size_t>(end - x)) != nullptr;
}

void Limit(const LogQuery& query, const std::string& from, Records& out)
{
    qor::bench::Pieces pieces(NewestLog().c_str());
    unsigned int taken = 0;
    for (auto piece = pieces.Next(); !piece.empty(); piece = pieces.Next()) {
        const char* const line = piece.data();
        std::size_t length = piece.size();
        if (query.fromDate && std::memcmp(line, from.data(), kStampLength) < 0)
            continue;
        if (!IsSelected(line, length, query.type))
            continue;
        if (line[length - 1] == '\n')
            --length;
        if (std::memchr(line, '\0', length) != nullptr || length < kBodyOffset)
            std::abort();
        if (taken++ >= query.count)
            continue;
        constexpr std::size_t kCode = kBodyOffset - kStampLength - 1;
        std::string& record = out.emplace_back(line + kCode, length - kCode);
        std::memcpy(&record[0], line, kStampLength + 1);
    }
}

// What a user would write without the library.
void Getline(const LogQuery& query, const std::string& from, Records& out)
{
    std::ifstream file(NewestLog());
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
    qor::bench::Measure(
        state, [&] { reader(query, from, records); },
        [&] {
            return records == expected && !records.empty() &&
                   (!query.fromDate || records.size() == kLast);
        },
        [&] { records.clear(); });
}

constexpr struct {
    const char* name;
    Reader read;
} kReaders[] = {{"ours", Ours}, {"limit", Limit}, {"getline", Getline}};

[[maybe_unused]] const bool kRegistered = [] {
    for (const Size& size : kSizes) {
        for (const LogQuery& query : kQueries) {
            for (const auto& who : kReaders)
                qor::bench::Add(std::string(query.operation) + "." + size.name, who.name,
                                [&](auto& state) { Measure(state, query, size.count, who.read); });
        }
    }
    return true;
}();

}  // namespace
