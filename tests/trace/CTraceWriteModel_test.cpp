// Random records, written through the facade and through the writer, against a slow and literal
// model of the two logs.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <string>
#include <utility>

#include "CTraceWrite.h"
#include "support/RandomCases.h"
#include "trace/TraceTest.h"

namespace qor::test {
namespace {

constexpr std::uint64_t kLargestFile = 10485759;  // bytes that a file may have
constexpr std::size_t kMostOldFiles = 4;
constexpr std::size_t kLongestText = 4095;  // through the facade

std::string Stamp(std::time_t moment, const char* format, int yearOffset)
{
    std::tm utc{};
    (void)::gmtime_r(&moment, &utc);
    char text[128];
    (void)std::snprintf(text, sizeof text, format, utc.tm_year + yearOffset, utc.tm_mon + 1,
                        utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return text;
}

std::string LevelText(unsigned int level)
{
    static const std::map<unsigned int, std::string> texts = {{1, "--INFO--"},  {2, "**FAIL**"},
                                                              {4, "--FUNC--"},  {8, "**EXCP**"},
                                                              {16, "==WARN=="}, {32, "--DBUG--"}};
    const auto entry = texts.find(level);
    return entry != texts.end() ? entry->second : std::string("--????") + "--";
}

// One log of the component, all its files, without compression.
class LogModel
{
public:
    struct File {
        std::uint64_t before;  // bytes that the test put there
        std::string added;
    };

    // Begins with one file.
    LogModel(std::string kind, std::string name, std::uint64_t size)
        : kind_(std::move(kind)), current_(std::move(name)), files_{{current_, {size, ""}}}
    {
    }

    void Append(std::time_t moment, const std::string& record)
    {
        const File& file = files_[current_];
        if (file.before + file.added.size() + record.size() > kLargestFile)
            Rotate(moment);
        files_[current_].added += record;
    }

    const std::map<std::string, File>& files() const { return files_; }

private:
    void Rotate(std::time_t moment)
    {
        while (files_.size() > kMostOldFiles)
            files_.erase(files_.begin());
        current_ =
            "QOR_um" + kind_ + "_" + Stamp(moment, "%02d%02d%02d%02d%02d%02d", -100) + ".log";
        files_.insert({current_, {0, ""}});
    }

    std::string kind_;
    std::string current_;
    std::map<std::string, File> files_;
};

class CTraceWriteModelTest : public TraceTest
{
protected:
    // Of any bytes but NUL; mostly short, sometimes around the longest that the facade writes,
    // seldom far beyond.
    std::string RandomText()
    {
        const std::size_t dice = chance_.Below(50);
        const std::size_t length = dice == 0  ? chance_.Below(100000)
                                   : dice < 5 ? 4000 + chance_.Below(500)
                                              : chance_.Below(200);
        std::string text(length, ' ');
        for (char& c : text)
            c = static_cast<char>(1 + chance_.Below(255));
        return text;
    }

    // Mostly the same second or one of the next, sometimes any up to the year 11000 or so.
    void MoveClock()
    {
        const std::size_t dice = chance_.Below(100);
        moment_ = dice == 0 ? static_cast<std::time_t>(chance_.Below(285000000000))
                            : moment_ + static_cast<std::time_t>(dice < 50 ? 0 : chance_.Below(3));
        SetClock(moment_);
    }

    std::string OperationRecord(const std::string& read, const std::string& body) const
    {
        return LongStamp() + " " + read + " " + body + "\n";
    }

    std::string DebugRecord(unsigned int level, const std::string& text) const
    {
        char thread[24];
        (void)std::snprintf(thread, sizeof thread, "0x%08lx", ::syscall(SYS_gettid));
        return LongStamp() + " ThId:" + thread + " " + LevelText(level) + " " + text + "\n";
    }

    // One record of each log, by the model and by the library.
    void WriteBoth(LogModel& debug, LogModel& operation)
    {
        const bool byFacade = chance_.Below(2) == 0;
        const std::string text = RandomText();
        const std::string cut = byFacade ? text.substr(0, kLongestText) : text;
        const auto level = static_cast<unsigned int>(chance_.Below(130));

        if ((level & kTraceLevel) != 0)
            debug.Append(moment_, DebugRecord(level, cut));
        const auto debugLevel = static_cast<CTraceUtility::TRACE_DBG_LEVEL>(level);
        if (byFacade)
            CTraceUtility::WriteDebug("um", debugLevel, "%s", text.c_str());
        else
            getTraceObject("um")->WriteDebugLog(debugLevel, text.c_str());

        operation.Append(moment_, OperationRecord("0x1", (byFacade ? "info    " : "") + cut));
        if (byFacade)
            CTraceUtility::WriteTrace("um", "TEXT", text.c_str());
        else
            getTraceObject("um")->WriteOperationLog("0x1", text.c_str());
    }

    static void ExpectFiles(const LogModel& model, const std::string& kind)
    {
        std::map<std::string, std::string> expected;
        std::map<std::string, std::string> found;
        for (const auto& [name, file] : model.files())
            expected[name] = std::string(file.before, '\0') + file.added;
        for (const std::string& name : ListDir(kLogDirectory)) {
            if (name.find(kind) != std::string::npos)
                found[name] = ReadFile(LogPath(name));
        }
        EXPECT_TRUE(expected == found);  // megabytes: not to be printed
    }

    static constexpr unsigned int kTraceLevel = 0x9D;

    Chance chance_{20261115};
    std::time_t moment_ = kMoment;

private:
    std::string LongStamp() const { return Stamp(moment_, "%04d/%02d/%02d %02d:%02d:%02d", 1900); }
};

TEST_F(CTraceWriteModelTest, WritesWhatTheModelWrites)
{
    SetLevel("9D");
    SetCatalogue("[TEXT]\nFormatEng=%s\nType=info\nRead=0x1\nEvent=0\n");
    const unsigned rounds = std::min(RandomCases(1), 10U);  // each compares 20 MiB
    std::size_t rotations = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        EmptyDirectory(kLogDirectory);
        std::map<std::string, LogModel> models;
        for (const char* const kind : {kDebugLog, kOperationLog}) {
            const std::string name = "QOR_um" + std::string(kind) + "_0.log";
            const std::uint64_t size = kLargestFile - chance_.Below(100000);
            WriteFile(LogPath(name), "");
            ASSERT_EQ(0, ::truncate(LogPath(name).c_str(), static_cast<off_t>(size)));
            models.emplace(kind, LogModel(kind, name, size));
        }

        CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
        for (int i = 0; i < 150; ++i) {
            MoveClock();
            WriteBoth(models.at(kDebugLog), models.at(kOperationLog));
        }
        CTraceUtility::Terminate("um");

        for (const auto& [kind, model] : models) {
            ExpectFiles(model, kind);
            rotations += model.files().size() - 1;
        }
    }
    EXPECT_LT(0U, rotations);
}

}  // namespace
}  // namespace qor::test
