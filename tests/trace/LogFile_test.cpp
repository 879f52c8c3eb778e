#include "trace/LogFile.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <fstream>

#include "base/Handles.h"
#include "support/SmallDisk.h"
#include "trace/WriterTest.h"

namespace {

// While it exists, the next calls of write(2) fail as those that a signal meets: a log on a disk is
// not interrupted, one that is mounted over a network can be.
class InterruptedWrites
{
public:
    explicit InterruptedWrites(int count) { left_ = count; }
    InterruptedWrites(const InterruptedWrites&) = delete;
    InterruptedWrites& operator=(const InterruptedWrites&) = delete;
    ~InterruptedWrites() { left_ = 0; }

    static int Left() { return left_; }

    static bool Take()
    {
        if (left_ == 0)
            return false;
        --left_;
        return true;
    }

private:
    inline static std::atomic<int> left_{0};
};

}  // namespace

extern "C" ssize_t write(int fd, const void* data, std::size_t size)
{
    if (InterruptedWrites::Take()) {
        errno = EINTR;
        return -1;
    }
    static auto* const next =
        reinterpret_cast<ssize_t (*)(int, const void*, std::size_t)>(::dlsym(RTLD_NEXT, "write"));
    return next(fd, data, size);
}

namespace qor::test {
namespace {

using CTraceWriteLogFileTest = WriterTest;

TEST_F(CTraceWriteLogFileTest, OpensFilesThatTheirOwnerWritesAndAllMayRead)
{
    const CTraceWrite writer("um", kBothModes);

    EXPECT_EQ(mode_t{0644}, FileMode(LogPath(LogName(kDebugLog))));
    EXPECT_EQ(mode_t{0644}, FileMode(LogPath(LogName(kOperationLog))));
}

void ExpectDescribed(const SLogFile& log, int kind, const std::string& suffix)
{
    const std::string name = "QOR_um" + suffix + "_261115082918.log";
    EXPECT_EQ(kind, log.kind);
    EXPECT_EQ(name, log.name);
    EXPECT_EQ("/opt/velmora/qor/log/" + name, log.path);
    EXPECT_EQ(suffix, log.suffix);
    EXPECT_TRUE(log.stream.is_open());
}

TEST_F(CTraceWriteLogFileTest, DescribesTheFilesThatItOpens)
{
    const Writer writer("um", kBothModes);

    ExpectDescribed(*writer.operationLog_, 1, "_trc");
    ExpectDescribed(*writer.debugLog_, 2, "_dbg");
}

// Records go through the stream then.
TEST_F(CTraceWriteLogFileTest, OpensALogWithTheLastFreeDescriptor)
{
    Writer writer("um", kDebugMode);
    writer.debugLog_->stream.close();
    {
        const DescriptorLimit limit(1);
        EXPECT_EQ(0, writer.Open(kDebugLog));
        writer.WriteDebugLog(kInfo, "first");
        writer.WriteDebugLog(kInfo, "second");
    }
    EXPECT_EQ(DebugRecord("first") + DebugRecord("second"), DebugLog());
}

TEST_F(CTraceWriteLogFileTest, GoesOnWritingWhenASignalInterruptsIt)
{
    Writer writer("um", kBothModes);
    for (const int interrupts : {1, 2, 5}) {
        SCOPED_TRACE(interrupts);
        const InterruptedWrites interrupted(interrupts);
        writer.WriteDebugLog(kInfo, "text");
        EXPECT_EQ(0, InterruptedWrites::Left());
    }

    EXPECT_EQ(DebugRecord("text") + DebugRecord("text") + DebugRecord("text"), DebugLog());
}

TEST_F(CTraceWriteLogFileTest, ReportsNoFailureToOpen)
{
    RemoveTree(kLogDirectory);
    Writer writer("um", kDebugMode);

    EXPECT_EQ(mode_t{0644}, FileMode(kLogDirectory));
    RemoveTree(kLogDirectory);

    EXPECT_EQ(0, writer.Open("_dbg"));
    EXPECT_FALSE(writer.debugLog_->stream.is_open());
    EXPECT_TRUE(writer.debugLog_->stream.fail());
}

TEST_F(CTraceWriteLogFileTest, OpensItsFilesCloseOnExec)
{
    SyslogSocket log;
    CTraceWrite writer("um", kBothModes);
    writer.WriteEventLog(1, "connects");

    int found = 0;
    for (const auto& [fd, target] : OpenDescriptors()) {
        if (target.find(kLogDirectory) == std::string::npos)
            continue;
        ++found;
        EXPECT_EQ(FD_CLOEXEC, ::fcntl(fd, F_GETFD)) << target;
    }
    EXPECT_LE(2, found);
    EXPECT_EQ("", RunShell("ls -l /proc/self/fd | grep -e QOR_ -e socket:").output);
}

TEST_F(CTraceWriteLogFileTest, KeepsAwayFromTheStandardDescriptors)
{
    EXPECT_EQ(
        0, InChild([] {
            for (const int standard : {0, 1, 2})
                (void)::close(standard);
            Writer writer("um", kBothModes);
            writer.rotate(writer.debugLog_.get());
            writer.WriteDebugLog(kInfo, "text");
            for (const int standard : {0, 1, 2}) {
                if (::fcntl(standard, F_GETFD) != -1)
                    return 1 + standard;
            }
            for (const auto& [fd, target] : OpenDescriptors()) {
                if (target.find("QOR_") != std::string::npos && ::fcntl(fd, F_GETFD) != FD_CLOEXEC)
                    return 4;
            }
            return 0;
        }));
    EXPECT_EQ("text", DebugTexts("um").at(0).text);
}

TEST_F(CTraceWriteLogFileTest, OpensNoLogThroughALink)
{
    SetLevel(kNoCompression);
    WriteFile("/opt/target", "target\n");
    for (const char* const target : {"/opt/target", "/opt/missing"}) {
        SCOPED_TRACE(target);
        EmptyDirectory(kLogDirectory);
        ASSERT_EQ(0, ::symlink(target, LogPath("QOR_um_dbg_1.log").c_str()));

        CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");

        EXPECT_EQ("target\n", ReadFile("/opt/target"));
        EXPECT_FALSE(Exists("/opt/missing"));
        EXPECT_EQ(DebugRecord("text"), ReadFile(LogPath(LogName(kDebugLog))));
    }
}

TEST_F(CTraceWriteLogFileTest, WaitsForNoReaderOfAFifo)
{
    SetLevel(kNoCompression);
    for (const bool isRead : {false, true}) {
        SCOPED_TRACE(isRead);
        EmptyDirectory(kLogDirectory);
        const std::string fifo = LogPath("QOR_um_dbg_1.log");
        ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
        const UniqueFd reader(isRead ? ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK) : -1);

        CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");

        EXPECT_EQ(DebugRecord("text"), ReadFile(LogPath(LogName(kDebugLog))));
    }
}

TEST_F(CTraceWriteLogFileTest, KnowsWhetherARecordIsTooMuch)
{
    MakeLog("QOR_um_dbg_1.log", 1000);
    Writer writer("um", kDebugMode);

    EXPECT_FALSE(writer.isSizeOver(writer.debugLog_.get(), 0));
    EXPECT_FALSE(writer.isSizeOver(writer.debugLog_.get(), kLargest - 1000));
    EXPECT_TRUE(writer.isSizeOver(writer.debugLog_.get(), kLargest - 999));
    EXPECT_TRUE(writer.isSizeOver(writer.debugLog_.get(), ~0UL)) << "the sum wraps around";
    EXPECT_TRUE(writer.isSizeOver(writer.operationLog_.get(), 0)) << "closed: unknown";
    writer.debugLog_->stream.setstate(std::ios::badbit);
    EXPECT_TRUE(writer.isSizeOver(writer.debugLog_.get(), 0)) << "failed: unknown";
    EXPECT_TRUE(writer.isSizeOver(nullptr, 0));
}

TEST_F(CTraceWriteLogFileTest, TakesANewFileWhereADirectoryHasTheOldName)
{
    MakeDirs(LogPath("QOR_um_dbg_1.log"));
    CTraceWrite writer("um", kDebugMode);

    EXPECT_EQ("", CaptureStderr([&] { writer.WriteDebugLog(kInfo, "text"); }));

    EXPECT_EQ(DebugRecord("text"), ReadFile(LogPath(LogName(kDebugLog))));
    EXPECT_TRUE(Exists(LogPath("QOR_um_dbg_1.log")));
}

TEST_F(CTraceWriteLogFileTest, LosesRecordsButNoFilesOnAFullDisk)
{
    const StubCommand gzip("/usr/bin/gzip", "echo called >> /opt/calls");
    SmallDisk disk(kLogDirectory, 64 * 1024);
    const Strings older = {"QOR_um_dbg_1.log.gz", "QOR_um_dbg_2.log.gz", "QOR_um_dbg_3.log.gz",
                           "QOR_um_dbg_4.log.gz"};
    MakeLogs(older);
    Writer writer("um", kDebugMode);
    writer.WriteDebugLog(kInfo, "before");
    disk.Fill();

    for (int i = 0; i < 200; ++i)
        writer.WriteDebugLog(kInfo, "does not fit");

    EXPECT_TRUE(writer.debugLog_->stream.good());
    EXPECT_FALSE(Exists("/opt/calls"));
    for (const std::string& name : older)
        EXPECT_EQ(name, ReadFile(LogPath(name)));
    EXPECT_EQ(0U, DebugLog().find(DebugRecord("before") + DebugRecord("does not fit")));

    RemoveTree(LogPath("filler"));
    writer.WriteDebugLog(kInfo, "ends the line that was cut off");
    writer.WriteDebugLog(kInfo, "after");
    const std::string log = DebugLog();
    ASSERT_LE(DebugRecord("after").size(), log.size());
    EXPECT_EQ(DebugRecord("after"), log.substr(log.size() - DebugRecord("after").size()));
    EXPECT_EQ(5U, LogFileNames("um", kDebugLog).size() + older.size());
}

using SLogStreamTest = WriterTest;

TEST_F(SLogStreamTest, WritesAfterWhatADerivedClassPutIntoTheStream)
{
    Writer writer("um", kBothModes);
    std::ofstream& stream = writer.debugLog_->stream;
    stream = std::ofstream(writer.debugLog_->path, std::ios::app);

    stream << "before\n";
    writer.WriteDebugLog(CTraceUtility::TRACE_DBG_INFO, "one");
    stream << "between\n";
    writer.WriteDebugLog(CTraceUtility::TRACE_DBG_INFO, "two");

    EXPECT_EQ("before\n" + DebugRecord("one") + "between\n" + DebugRecord("two"),
              ReadFile(writer.debugLog_->path));
}

TEST_F(SLogStreamTest, WritesToTheStreamThatADerivedClassOpens)
{
    Writer writer("um", kDebugMode);
    writer.WriteDebugLog(kInfo, "first");

    writer.debugLog_->stream.close();
    writer.debugLog_->stream.open("/opt/other.log", std::ios::app);
    writer.WriteDebugLog(kInfo, "second");

    EXPECT_EQ(DebugRecord("first"), DebugLog());
    EXPECT_EQ(DebugRecord("second"), ReadFile("/opt/other.log"));
}

TEST_F(SLogStreamTest, WritesToTheStreamThatADerivedClassSwapsIn)
{
    Writer um("um", kDebugMode);
    Writer som("som", kDebugMode);

    um.debugLog_->stream.swap(som.debugLog_->stream);
    um.WriteDebugLog(kInfo, "of um");
    std::ofstream other("/opt/other.log", std::ios::app);
    som.debugLog_->stream.swap(other);
    som.WriteDebugLog(kInfo, "of som");

    EXPECT_EQ(DebugRecord("of um"), ReadFile(som.debugLog_->path));
    EXPECT_EQ(DebugRecord("of som"), ReadFile("/opt/other.log"));
    EXPECT_EQ("", ReadFile(um.debugLog_->path));
}

}  // namespace
}  // namespace qor::test
