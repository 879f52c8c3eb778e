#include "CTraceWrite.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "base/Handles.h"
#include "support/Allocations.h"
#include "support/Descriptors.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/SmallDisk.h"
#include "support/SyslogSocket.h"
#include "support/Threads.h"
#include "support/WaitUntil.h"
#include "trace/TraceModel.h"
#include "trace/TraceTest.h"

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

constexpr std::uint64_t kLargest = 10485759;  // bytes that a file may have
constexpr auto kDebugMode = CTraceUtility::WRITE_MODE_DEBUG;
constexpr auto kTraceMode = CTraceUtility::WRITE_MODE_TRACE;
constexpr auto kBothModes = CTraceUtility::WRITE_MODE_BOTH;

static_assert(std::has_virtual_destructor<CTraceWrite>::value, "deleted through its base");

// Bits 1 to 32: everything is written and nothing compressed.
const char kNoCompression[] = "3F";

// Shows what derived classes see.
struct Writer : CTraceWrite {
    using CTraceBase::debugLog_;
    using CTraceBase::operationLog_;
    using CTraceWrite::CTraceWrite;
};

class CTraceWriteTest : public TraceTest
{
protected:
    // A record of the debug log, without settings for another level.
    static std::string DebugRecord(const std::string& text)
    {
        char head[64];
        (void)std::snprintf(head, sizeof head, "%s ThId:0x%08lx --INFO-- ", kStamp,
                            ::syscall(SYS_gettid));
        return head + text + "\n";
    }

    // A file of the kind and size, without taking the room.
    static void MakeLog(const std::string& name, std::uint64_t size)
    {
        WriteFile(LogPath(name), "");
        ASSERT_EQ(0, ::truncate(LogPath(name).c_str(), static_cast<off_t>(size)));
    }

    static void MakeLogs(const Strings& names)
    {
        for (const std::string& name : names)
            WriteFile(LogPath(name), name);
    }
};

CTraceUtility::TRACE_DBG_LEVEL Level(unsigned int level)
{
    return static_cast<CTraceUtility::TRACE_DBG_LEVEL>(level);
}

TEST_F(CTraceWriteTest, WritesOperationRecords)
{
    CTraceWrite writer("um", kTraceMode);

    writer.WriteOperationLog("0x00000001", "info    Update started");
    EXPECT_EQ("2026/11/15 08:29:18 0x00000001 info    Update started\n", OperationLog());

    SetClock(kMoment + 1);
    writer.WriteOperationLog("code", "%s\tbody");
    EXPECT_EQ(
        "2026/11/15 08:29:18 0x00000001 info    Update started\n"
        "2026/11/15 08:29:19 code %s\tbody\n",
        OperationLog());
    EXPECT_EQ((Strings{"QOR_um_trc_261115082918.log"}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, WritesDebugRecords)
{
    CTraceWrite writer("um", kDebugMode);

    writer.WriteDebugLog(kInfo, "7 devices");
    writer.WriteDebugLog(CTraceUtility::TRACE_DBG_FAIL, "%s");

    char thread[24];
    (void)std::snprintf(thread, sizeof thread, "ThId:0x%08lx", ::syscall(SYS_gettid));
    EXPECT_EQ(std::string("2026/11/15 08:29:18 ") + thread + " --INFO-- 7 devices\n" +
                  "2026/11/15 08:29:18 " + thread + " **FAIL** %s\n",
              DebugLog());
    EXPECT_EQ((Strings{"QOR_um_dbg_261115082918.log"}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, WritesTextsOfAnyLength)
{
    CTraceWrite writer("um", kBothModes);
    for (const std::size_t length : {0U, 1U, 4095U, 4096U, 5000U, 1000000U}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        ASSERT_EQ(0, ::truncate(LogPath(LogName(kDebugLog)).c_str(), 0));
        ASSERT_EQ(0, ::truncate(LogPath(LogName(kOperationLog)).c_str(), 0));
        writer.WriteDebugLog(kInfo, text.c_str());
        writer.WriteOperationLog("0x1", text.c_str());
        EXPECT_EQ(DebugRecord(text), DebugLog());
        EXPECT_EQ("2026/11/15 08:29:18 0x1 " + text + "\n", OperationLog());
    }
}

TEST_F(CTraceWriteTest, StampsYearsOfAnyLength)
{
    CTraceWrite writer("um", kBothModes);
    SetClock(253402300800);

    writer.WriteOperationLog("0x1", "body");
    writer.WriteDebugLog(kInfo, "text");

    EXPECT_EQ("10000/01/01 00:00:00 0x1 body\n", OperationLog());
    EXPECT_EQ(0U, DebugLog().find("10000/01/01 00:00:00 ThId:0x"));
}

TEST_F(CTraceWriteTest, WritesEachRecordAtOnce)
{
    CTraceWrite writer("um", kBothModes);
    const int status = InChild([&] {
        writer.WriteDebugLog(kInfo, "last words");
        writer.WriteOperationLog("0x1", "last words");
        return ::raise(SIGKILL);
    });

    EXPECT_EQ(128 + SIGKILL, status);
    EXPECT_EQ("last words", DebugTexts("um").at(0).text);
    EXPECT_EQ("2026/11/15 08:29:18 0x1 last words\n", OperationLog());
}

TEST_F(CTraceWriteTest, NamesTheThreadOfAForkedChild)
{
    CTraceWrite writer("um", kDebugMode);
    writer.WriteDebugLog(kInfo, "parent");

    ChildProcess child([&] {
        writer.WriteDebugLog(kInfo, "child");
        return 0;
    });
    ASSERT_EQ(0, child.Wait());

    const std::vector<DebugLine> records = DebugTexts("um");
    ASSERT_EQ(2U, records.size());
    EXPECT_EQ(::syscall(SYS_gettid), records[0].thread);
    EXPECT_EQ(child.pid(), records[1].thread);
}

TEST_F(CTraceWriteTest, OpensTheLogsOfItsMode)
{
    static const struct {
        unsigned int mode;
        Strings files;
    } cases[] = {
        {0, {}},
        {kDebugMode, {LogName(kDebugLog)}},
        {kTraceMode, {LogName(kOperationLog)}},
        {kBothModes, {LogName(kDebugLog), LogName(kOperationLog)}},
        {4, {}},
        {6, {LogName(kOperationLog)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        EmptyDirectory(kLogDirectory);
        CTraceWrite writer("um", static_cast<CTraceUtility::WRITE_MODE>(c.mode));
        EXPECT_EQ(c.files, ListDir(kLogDirectory));
        EXPECT_EQ((c.mode & kDebugMode) != 0, writer.IsDebugWanted(kInfo));
    }
}

TEST_F(CTraceWriteTest, OpensFilesThatTheirOwnerWritesAndAllMayRead)
{
    const CTraceWrite writer("um", kBothModes);

    EXPECT_EQ(mode_t{0644}, FileMode(LogPath(LogName(kDebugLog))));
    EXPECT_EQ(mode_t{0644}, FileMode(LogPath(LogName(kOperationLog))));
}

TEST_F(CTraceWriteTest, WritesNothingToALogThatItsModeLeavesOut)
{
    CTraceWrite operations("um", kTraceMode);
    operations.WriteDebugLog(kInfo, "text");
    EXPECT_EQ((Strings{LogName(kOperationLog)}), ListDir(kLogDirectory));
    EXPECT_EQ("", OperationLog());

    CTraceWrite debug("som", kDebugMode);
    debug.WriteOperationLog("0x1", "body");
    EXPECT_EQ((Strings{"QOR_som_dbg_261115082918.log", LogName(kOperationLog)}),
              ListDir(kLogDirectory));
    EXPECT_EQ("", ReadNewestLog("som", kDebugLog));
}

TEST_F(CTraceWriteTest, CountsEveryRequestedLogAsOpenByIntent)
{
    RemoveTree(kLogDirectory);
    CTraceWrite writer("um", kBothModes);

    EXPECT_TRUE(writer.IsDebugWanted(kInfo));

    MakeLogDirectory();
    writer.WriteDebugLog(kInfo, "text");
    writer.WriteOperationLog("0x1", "body");
    EXPECT_EQ(DebugRecord("text"), DebugLog());
    EXPECT_EQ("2026/11/15 08:29:18 0x1 body\n", OperationLog());
}

TEST_F(CTraceWriteTest, DoesNothingForANullComponentOrOneWithoutSettings)
{
    CTraceUtilityCom::settingInfoMap["um"] = nullptr;
    for (const char* const component : {static_cast<const char*>(nullptr), "um"}) {
        CTraceWrite writer(component, kBothModes);
        Msg_Info info;

        writer.WriteOperationLog("0x1", "body");
        writer.WriteDebugLog(kInfo, "text");

        EXPECT_FALSE(writer.IsDebugWanted(kInfo));
        EXPECT_FALSE(writer.GetMessageInfo("ID", &info));
        EXPECT_TRUE(ListDir(kLogDirectory).empty());
    }
}

TEST_F(CTraceWriteTest, WritesNothingForNullTexts)
{
    CTraceWrite writer("um", kBothModes);

    writer.WriteOperationLog(nullptr, "body");
    writer.WriteOperationLog("0x1", nullptr);
    writer.WriteDebugLog(kInfo, nullptr);

    EXPECT_EQ("", OperationLog());
    EXPECT_EQ("", DebugLog());
}

TEST_F(CTraceWriteTest, FiltersDebugRecordsByTheBitsOfTheTraceLevel)
{
    static const struct {
        const char* traceLevel;
        std::vector<unsigned int> written;  // of all single bits and 0, 3, 6
    } cases[] = {
        {"0", {}},
        {"1", {1, 3}},
        {"2", {2, 3, 6}},
        {"1D", {1, 4, 8, 16, 3, 6}},
        {"20", {32}},
        {"3F", {1, 2, 4, 8, 16, 32, 3, 6}},
        {"40", {64}},
        {"80", {128}},
        {"FFFFFFFF", {1, 2, 4, 8, 16, 32, 64, 128, 3, 6}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.traceLevel);
        SetLevel(c.traceLevel);
        CTraceUtilityCom::settingInfoMap.clear();
        EmptyDirectory(kLogDirectory);
        CTraceWrite writer("um", kDebugMode);

        for (const unsigned int level : {0U, 1U, 2U, 4U, 8U, 16U, 32U, 64U, 128U, 3U, 6U})
            writer.WriteDebugLog(Level(level), std::to_string(level).c_str());

        std::vector<unsigned int> written;
        for (const DebugLine& line : DebugTexts("um")) {
            written.push_back(static_cast<unsigned int>(std::stoul(line.text)));
            EXPECT_EQ(writer.GetDebugLevelString(Level(written.back())), line.level);
        }
        EXPECT_EQ(c.written, written);
    }
}

TEST_F(CTraceWriteTest, GoesOnInTheOldestFileThatIsNotCompressedByIntent)
{
    static const struct {
        const char* name;
        Strings files;
        const char* taken;
    } cases[] = {
        {"no file", {}, "QOR_um_dbg_261115082918.log"},
        {"the oldest", {"QOR_um_dbg_3.log", "QOR_um_dbg_2.log"}, "QOR_um_dbg_2.log"},
        {"compressed ones before it",
         {"QOR_um_dbg_1.log.gz", "QOR_um_dbg_2.log.gz", "QOR_um_dbg_3.log", "QOR_um_dbg_4.log"},
         "QOR_um_dbg_3.log"},
        {"a compressed one after it",
         {"QOR_um_dbg_1.log", "QOR_um_dbg_2.log.gz"},
         "QOR_um_dbg_1.log"},
        {"compressed ones alone", {"QOR_um_dbg_1.log.gz"}, "QOR_um_dbg_261115082918.log"},
        {"another kind", {"QOR_um_trc_1.log"}, "QOR_um_dbg_261115082918.log"},
        {"another component", {"QOR_umx_dbg_1.log"}, "QOR_um_dbg_261115082918.log"},
        {"an editor's file", {".QOR_um_dbg_1.log.swp"}, "QOR_um_dbg_261115082918.log"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EmptyDirectory(kLogDirectory);
        for (const std::string& file : c.files)
            WriteFile(LogPath(file), "before\n");
        const bool isNew = !Exists(LogPath(c.taken));
        CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");
        EXPECT_EQ((isNew ? "" : "before\n") + DebugRecord("text"), ReadFile(LogPath(c.taken)));
        EXPECT_EQ(c.files.size() + (isNew ? 1 : 0), ListDir(kLogDirectory).size());
    }
}

TEST_F(CTraceWriteTest, DescribesTheFilesThatItOpens)
{
    const Writer writer("um", kBothModes);

    const SLogFile& operations = *writer.operationLog_;
    EXPECT_EQ(1, operations.kind);
    EXPECT_EQ("QOR_um_trc_261115082918.log", operations.name);
    EXPECT_EQ("/opt/velmora/qor/log/QOR_um_trc_261115082918.log", operations.path);
    EXPECT_EQ("_trc", operations.suffix);
    EXPECT_TRUE(operations.stream.is_open());
    const SLogFile& debug = *writer.debugLog_;
    EXPECT_EQ(2, debug.kind);
    EXPECT_EQ("QOR_um_dbg_261115082918.log", debug.name);
    EXPECT_EQ("/opt/velmora/qor/log/QOR_um_dbg_261115082918.log", debug.path);
    EXPECT_EQ("_dbg", debug.suffix);
    EXPECT_TRUE(debug.stream.is_open());
}

TEST_F(CTraceWriteTest, WritesAfterWhatADerivedClassPutIntoTheStream)
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

TEST_F(CTraceWriteTest, WritesToTheStreamThatADerivedClassOpens)
{
    Writer writer("um", kDebugMode);
    writer.WriteDebugLog(kInfo, "first");

    writer.debugLog_->stream.close();
    writer.debugLog_->stream.open("/opt/other.log", std::ios::app);
    writer.WriteDebugLog(kInfo, "second");

    EXPECT_EQ(DebugRecord("first"), DebugLog());
    EXPECT_EQ(DebugRecord("second"), ReadFile("/opt/other.log"));
}

TEST_F(CTraceWriteTest, WritesToTheStreamThatADerivedClassSwapsIn)
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

// Records go through the stream then.
TEST_F(CTraceWriteTest, OpensALogWithTheLastFreeDescriptor)
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

TEST_F(CTraceWriteTest, GoesOnWritingWhenASignalInterruptsIt)
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

TEST_F(CTraceWriteTest, OpensAnyOtherKindAsTheDebugLog)
{
    Writer writer("um", static_cast<CTraceUtility::WRITE_MODE>(0));

    EXPECT_EQ(0, writer.Open("_trc"));
    EXPECT_TRUE(writer.operationLog_->stream.is_open());
    EXPECT_FALSE(writer.debugLog_->stream.is_open());

    EXPECT_EQ(0, writer.Open("_other"));
    EXPECT_EQ(2, writer.debugLog_->kind);
    EXPECT_EQ("_dbg", writer.debugLog_->suffix);
    EXPECT_EQ(0, writer.Open(nullptr));
    EXPECT_EQ((Strings{LogName(kDebugLog), LogName(kOperationLog)}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, ReportsNoFailureToOpen)
{
    RemoveTree(kLogDirectory);
    Writer writer("um", kDebugMode);

    EXPECT_EQ(mode_t{0644}, FileMode(kLogDirectory));
    RemoveTree(kLogDirectory);

    EXPECT_EQ(0, writer.Open("_dbg"));
    EXPECT_FALSE(writer.debugLog_->stream.is_open());
    EXPECT_TRUE(writer.debugLog_->stream.fail());
}

TEST_F(CTraceWriteTest, OpensItsFilesCloseOnExec)
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

TEST_F(CTraceWriteTest, KeepsAwayFromTheStandardDescriptors)
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

TEST_F(CTraceWriteTest, OpensNoLogThroughALink)
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

TEST_F(CTraceWriteTest, WaitsForNoReaderOfAFifo)
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

TEST_F(CTraceWriteTest, RotatesWhatWouldReachTenMebibytes)
{
    SetLevel(kNoCompression);
    const std::string debug = DebugRecord("text");
    const std::string operation = "2026/11/15 08:29:18 0x1 body\n";
    static const struct {
        std::uint64_t after;  // bytes of each file with its record
        bool rotates;
    } cases[] = {
        {kLargest - 1, false},           {kLargest, false},    {kLargest + 1, true},
        {kLargest + debug.size(), true}, {2 * kLargest, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.after);
        EmptyDirectory(kLogDirectory);
        MakeLog("QOR_um_dbg_1.log", c.after - debug.size());
        MakeLog("QOR_um_trc_1.log", c.after - operation.size());
        CTraceWrite writer("um", kBothModes);
        writer.WriteDebugLog(kInfo, "text");
        writer.WriteOperationLog("0x1", "body");
        EXPECT_EQ(c.after - (c.rotates ? debug.size() : 0), FileSize(LogPath("QOR_um_dbg_1.log")));
        EXPECT_EQ(c.rotates ? debug : "", DebugLog());
        EXPECT_EQ(c.rotates ? operation : "", OperationLog());
    }
}

TEST_F(CTraceWriteTest, RotatesInTheCourseOfWriting)
{
    SetLevel(kNoCompression);
    CTraceWrite writer("um", kTraceMode);
    const std::string body(1 << 20, 'x');
    const std::size_t record = std::string("2026/11/15 08:29:18 0x1 \n").size() + body.size();

    for (int i = 0; i < 9; ++i)
        writer.WriteOperationLog("0x1", body.c_str());
    SetClock(kMoment + 1);
    writer.WriteOperationLog("0x1", body.c_str());

    EXPECT_EQ(9 * record, FileSize(LogPath("QOR_um_trc_261115082918.log")));
    EXPECT_EQ(record, FileSize(LogPath("QOR_um_trc_261115082919.log")));
}

TEST_F(CTraceWriteTest, KnowsWhetherARecordIsTooMuch)
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

TEST_F(CTraceWriteTest, KeepsAtMostFiveFilesOfAKind)
{
    static const struct {
        int before;
        std::vector<int> kept;
    } cases[] = {
        {1, {1}}, {3, {1, 2, 3}}, {4, {1, 2, 3, 4}}, {5, {2, 3, 4, 5}}, {7, {4, 5, 6, 7}},
    };
    SetLevel(kNoCompression);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before);
        EmptyDirectory(kLogDirectory);
        const auto name = [](int i) { return "QOR_um_dbg_" + std::to_string(i) + ".log"; };
        for (int i = 1; i <= c.before; ++i)
            MakeLog(name(i), kLargest);
        CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");

        Strings expected;
        for (const int i : c.kept)
            expected.push_back(name(i));
        expected.push_back(LogName(kDebugLog));
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, ListDir(kLogDirectory));
        EXPECT_EQ(DebugRecord("text"), ReadFile(LogPath(LogName(kDebugLog))));
    }
}

TEST_F(CTraceWriteTest, LeavesADirectoryThatHasTheNameOfALog)
{
    SetLevel(kNoCompression);
    static const struct {
        const char* directory;
        Strings kept;
    } cases[] = {
        {"QOR_um_dbg_1.log", {"3", "4", "5", "6"}},
        {"QOR_um_dbg_7.log", {"4", "5", "6"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.directory);
        EmptyDirectory(kLogDirectory);
        MakeDirs(LogPath(c.directory));
        for (const char* const i : {"2", "3", "4", "5", "6"})
            MakeLog(std::string("QOR_um_dbg_") + i + ".log", kLargest);
        CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");

        Strings expected = {LogName(kDebugLog), c.directory};
        for (const std::string& i : c.kept)
            expected.push_back("QOR_um_dbg_" + i + ".log");
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, ListDir(kLogDirectory));
    }
}

TEST_F(CTraceWriteTest, CountsCompressedFilesAndLeavesOthersAlone)
{
    SetLevel(kNoCompression);
    const Strings others = {"QOR_som_dbg_0.log", "QOR_um_trc_0.log", "QOR_umx_dbg_0.log",
                            ".QOR_um_dbg_0.log.swp"};
    MakeLogs(others);
    MakeLogs({"QOR_um_dbg_1.log.gz", "QOR_um_dbg_2.log.gz", "QOR_um_dbg_3.log.gz",
              "QOR_um_dbg_5.log.gz"});
    MakeLog("QOR_um_dbg_4.log", kLargest);

    CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");

    EXPECT_FALSE(Exists(LogPath("QOR_um_dbg_1.log.gz")));
    for (const char* const kept :
         {"QOR_um_dbg_2.log.gz", "QOR_um_dbg_3.log.gz", "QOR_um_dbg_4.log", "QOR_um_dbg_5.log.gz"})
        EXPECT_TRUE(Exists(LogPath(kept))) << kept;
    for (const std::string& other : others)
        EXPECT_EQ(other, ReadFile(LogPath(other)));
}

TEST_F(CTraceWriteTest, GoesOnInTheSameFileWhenItRotatesTwiceInASecond)
{
    SetLevel(kNoCompression);
    MakeLog("QOR_um_dbg_1.log", kLargest);
    Writer writer("um", kDebugMode);

    writer.WriteDebugLog(kInfo, "first");
    writer.rotate(writer.debugLog_.get());
    writer.WriteDebugLog(kInfo, "second");

    EXPECT_EQ((Strings{"QOR_um_dbg_1.log", LogName(kDebugLog)}), ListDir(kLogDirectory));
    EXPECT_EQ(DebugRecord("first") + DebugRecord("second"), DebugLog());
}

TEST_F(CTraceWriteTest, TakesANewNameAtTheNextSecond)
{
    SetLevel(kNoCompression);
    Writer writer("um", kTraceMode);
    SetClock(kMoment + 1);

    writer.rotate(writer.operationLog_.get());

    EXPECT_EQ("QOR_um_trc_261115082919.log", writer.operationLog_->name);
    EXPECT_EQ(LogPath("QOR_um_trc_261115082919.log"), writer.operationLog_->path);
    EXPECT_EQ((Strings{"QOR_um_trc_261115082918.log", "QOR_um_trc_261115082919.log"}),
              ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, RotatesNothingForNull)
{
    CTraceWrite("um", kDebugMode).rotate(nullptr);

    EXPECT_EQ((Strings{LogName(kDebugLog)}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, CompressesTheFileThatItRotatesOut)
{
    const std::string before(kLargest, 'x');
    WriteFile(LogPath("QOR_um_dbg_1.log"), before);

    const std::string errors =
        CaptureStderr([] { CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text"); });

    EXPECT_EQ("", errors);
    EXPECT_EQ((Strings{"QOR_um_dbg_1.log.gz", LogName(kDebugLog)}), ListDir(kLogDirectory));
    EXPECT_EQ(DebugRecord("text"), DebugLog());
    EXPECT_EQ(0, RunShell("gunzip " + LogPath("QOR_um_dbg_1.log.gz")).status);
    EXPECT_EQ(before, ReadFile(LogPath("QOR_um_dbg_1.log")));
}

TEST_F(CTraceWriteTest, CompressesTheFileOfALogThatIsNotOpen)
{
    Writer writer("um", kDebugMode);
    writer.debugLog_->stream.close();
    WriteFile("/opt/some.log", "text");
    writer.debugLog_->path = "/opt/some.log";

    writer.rotate(writer.debugLog_.get());

    EXPECT_FALSE(Exists("/opt/some.log"));
    EXPECT_EQ("text", RunShell("zcat /opt/some.log.gz").output);
    EXPECT_TRUE(writer.debugLog_->stream.is_open());
}

TEST_F(CTraceWriteTest, CompressesByABitOfTheTraceLevel)
{
    static const struct {
        const char* level;
        bool compresses;
    } cases[] = {{"1", false}, {"41", true}, {"FFFFFFBF", false}, {"FFFFFFFF", true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.level);
        SetLevel(c.level);
        CTraceUtilityCom::settingInfoMap.clear();
        EmptyDirectory(kLogDirectory);
        MakeLog("QOR_um_dbg_1.log", kLargest);
        CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");
        EXPECT_EQ(c.compresses, Exists(LogPath("QOR_um_dbg_1.log.gz")));
        EXPECT_EQ(!c.compresses, Exists(LogPath("QOR_um_dbg_1.log")));
    }
}

TEST_F(CTraceWriteTest, CompressesNothingWithoutSettings)
{
    CTraceUtilityCom::settingInfoMap["um"] = nullptr;
    Writer writer("um", kDebugMode);
    WriteFile("/opt/some.log", "text");
    writer.debugLog_->path = "/opt/some.log";

    writer.rotate(writer.debugLog_.get());

    EXPECT_EQ("text", ReadFile("/opt/some.log"));
    EXPECT_FALSE(Exists("/opt/some.log.gz"));
}

TEST_F(CTraceWriteTest, KeepsAtMostFiveFilesWhileItCompresses)
{
    Writer writer("um", kTraceMode);
    for (int i = 0; i < 7; ++i) {
        SetClock(kMoment + i);
        writer.WriteOperationLog("0x1", std::to_string(i).c_str());
        SetClock(kMoment + i + 1);
        writer.rotate(writer.operationLog_.get());
    }

    EXPECT_EQ((Strings{"QOR_um_trc_261115082921.log.gz", "QOR_um_trc_261115082922.log.gz",
                       "QOR_um_trc_261115082923.log.gz", "QOR_um_trc_261115082924.log.gz",
                       "QOR_um_trc_261115082925.log"}),
              ListDir(kLogDirectory));
    EXPECT_EQ("2026/11/15 08:29:21 0x1 3\n",
              RunShell("zcat " + LogPath("QOR_um_trc_261115082921.log.gz")).output);
}

TEST_F(CTraceWriteTest, RunsGzipAtItsBestAndReturnsItsStatus)
{
    const StubCommand gzip("/usr/bin/gzip", "echo \"$@\" >> /opt/calls; exit 3");
    CTraceWrite writer("um", kDebugMode);

    const int status = writer.compress("/opt/velmora/qor/log/some.log");

    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(3, WEXITSTATUS(status));
    EXPECT_EQ("-9 /opt/velmora/qor/log/some.log\n", ReadFile("/opt/calls"));
}

TEST_F(CTraceWriteTest, CutsAnOverlongCommandAt1023Bytes)
{
    const StubCommand gzip("/usr/bin/gzip", "printf '%s' \"$2\" > /opt/argument");

    EXPECT_EQ(0, CTraceWrite("um", kDebugMode).compress(std::string(5000, 'x')));

    EXPECT_EQ(std::string(1023 - std::string("gzip -9 ").size(), 'x'), ReadFile("/opt/argument"));
}

TEST_F(CTraceWriteTest, GivesTheShellNoPathWithAMeaningToIt)
{
    const StubCommand gzip("/usr/bin/gzip", "echo \"$2\" >> /opt/calls");
    CTraceWrite writer("um", kDebugMode);
    const std::string plain = "/opt/aZ09._-+,:@=%";

    EXPECT_EQ(0, writer.compress(plain));
    for (int c = 1; c < 256; ++c) {
        if (plain.find(static_cast<char>(c)) == std::string::npos && ::isalnum(c) == 0) {
            EXPECT_EQ(-1, writer.compress(std::string("/opt/a") + static_cast<char>(c)));
        }
    }

    EXPECT_EQ(plain + "\n", ReadFile("/opt/calls"));
}

TEST_F(CTraceWriteTest, RunsNoCommandThatStandsInTheNameOfAComponent)
{
    const std::string component = "a;echo called>&2;";
    MakeLog("QOR_" + component + "_dbg_1.log", kLargest);

    EXPECT_EQ("", CaptureStderr([&] {
                  CTraceWrite(component.c_str(), kDebugMode).WriteDebugLog(kInfo, "text");
              }));

    EXPECT_EQ(kLargest, FileSize(LogPath("QOR_" + component + "_dbg_1.log")));
    EXPECT_EQ("text", DebugTexts(component).back().text);
}

TEST_F(CTraceWriteTest, KeepsAFileThatGzipFailedToCompress)
{
    const StubCommand gzip("/usr/bin/gzip", "exit 1");
    for (int i = 1; i <= 5; ++i)
        MakeLog("QOR_um_dbg_" + std::to_string(i) + ".log", kLargest);
    Writer writer("um", kDebugMode);

    writer.WriteDebugLog(kInfo, "text");

    EXPECT_EQ((Strings{"QOR_um_dbg_2.log", LogName(kDebugLog), "QOR_um_dbg_3.log",
                       "QOR_um_dbg_4.log", "QOR_um_dbg_5.log"}),
              ListDir(kLogDirectory));
    EXPECT_EQ(DebugRecord("text"), ReadFile(LogPath(LogName(kDebugLog))));
    EXPECT_EQ(LogName(kDebugLog), writer.debugLog_->name);
}

// On a terminal gzip would ask whether to overwrite, and wait under the writer's lock.
TEST_F(CTraceWriteTest, StartsNoGzipWhereItsResultIsThereAlready)
{
    const StubCommand gzip("/usr/bin/gzip", "echo called >> /opt/calls");
    MakeLog("QOR_um_dbg_1.log", kLargest);
    WriteFile(LogPath("QOR_um_dbg_1.log.gz"), "earlier");
    Writer writer("um", kDebugMode);

    writer.WriteDebugLog(kInfo, "text");

    EXPECT_FALSE(Exists("/opt/calls"));
    EXPECT_EQ((Strings{"QOR_um_dbg_1.log", "QOR_um_dbg_1.log.gz", LogName(kDebugLog)}),
              ListDir(kLogDirectory));
    EXPECT_EQ("earlier", ReadFile(LogPath("QOR_um_dbg_1.log.gz")));
}

TEST_F(CTraceWriteTest, StaysSilentAndStartsNothingWithoutALogDirectory)
{
    const StubCommand gzip("/usr/bin/gzip", "echo called >> /opt/calls");
    RemoveTree("/opt/velmora/qor");
    const DescriptorMap before = OpenDescriptors();

    const std::string errors = CaptureStderr([] {
        CTraceWrite writer("um", kBothModes);
        for (int i = 0; i < 100; ++i) {
            writer.WriteDebugLog(kInfo, "text");
            writer.WriteOperationLog("0x1", "body");
        }
    });

    EXPECT_EQ("", errors);
    EXPECT_FALSE(Exists("/opt/calls"));
    EXPECT_FALSE(Exists("/opt/velmora/qor"));
    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
}

TEST_F(CTraceWriteTest, StartsNothingForAFileThatSomebodyRemoved)
{
    const StubCommand gzip("/usr/bin/gzip", "echo called >> /opt/calls; echo called >&2");
    MakeLog("QOR_um_dbg_1.log", kLargest);
    CTraceWrite writer("um", kDebugMode);
    RemoveTree(kLogDirectory);

    EXPECT_EQ("", CaptureStderr([&] { writer.WriteDebugLog(kInfo, "lost"); }));
    EXPECT_FALSE(Exists("/opt/calls"));

    MakeLogDirectory();
    writer.WriteDebugLog(kInfo, "text");
    EXPECT_EQ(DebugRecord("text"), DebugLog());
}

TEST_F(CTraceWriteTest, TakesANewFileWhereADirectoryHasTheOldName)
{
    MakeDirs(LogPath("QOR_um_dbg_1.log"));
    CTraceWrite writer("um", kDebugMode);

    EXPECT_EQ("", CaptureStderr([&] { writer.WriteDebugLog(kInfo, "text"); }));

    EXPECT_EQ(DebugRecord("text"), ReadFile(LogPath(LogName(kDebugLog))));
    EXPECT_TRUE(Exists(LogPath("QOR_um_dbg_1.log")));
}

TEST_F(CTraceWriteTest, LosesRecordsButNoFilesOnAFullDisk)
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

TEST_F(CTraceWriteTest, DropsARecordWithoutMemoryForIt)
{
    const std::string text(100000, 'x');
    CTraceWrite writer("um", kDebugMode);
    {
        const AllocationLimit limit(1000);
        writer.WriteDebugLog(kInfo, text.c_str());
    }
    EXPECT_EQ("", DebugLog());

    writer.WriteDebugLog(kInfo, "the lock is free");
    EXPECT_EQ(DebugRecord("the lock is free"), DebugLog());
}

constexpr std::size_t kThreads = 4;
constexpr std::size_t kRecords = 2000;  // of each thread

// Runs `write(thread, record)` for all records on all threads at once.
void WriteOnThreads(const std::function<void(std::size_t, std::size_t)>& write)
{
    OnThreads(kThreads, [&write](std::size_t thread) {
        for (std::size_t i = 0; i < kRecords; ++i)
            write(thread, i);
    });
}

// "THREAD RECORD " and a tail whose length changes from record to record.
std::string NumberedText(std::size_t thread, std::size_t record)
{
    return std::to_string(thread) + " " + std::to_string(record) + " " +
           std::string(record % 300, static_cast<char>('a' + thread));
}

// `texts` hold every numbered text once, each thread's in its order.
void ExpectAllInOrder(const Strings& texts)
{
    std::vector<std::size_t> next(kThreads, 0);
    for (const std::string& text : texts) {
        const std::size_t thread = std::stoul(text);
        ASSERT_LT(thread, kThreads) << text;
        ASSERT_EQ(NumberedText(thread, next[thread]), text);
        ++next[thread];
    }
    EXPECT_EQ(std::vector<std::size_t>(kThreads, kRecords), next);
}

// What follows `head` in each record of the kind's two files, of which the first began as zeros.
Strings TextsOfBothFiles(const std::string& kind, const std::string& head, std::size_t headLength)
{
    const std::string first = ReadFile(LogPath("QOR_um" + kind + "_1.log"));
    const std::string all = first.substr(first.find_first_not_of('\0')) + ReadNewestLog("um", kind);
    Strings texts;
    for (const std::string& line : Lines(all)) {
        EXPECT_EQ(0U, line.find(head)) << line;
        texts.push_back(line.substr(std::min(headLength, line.size())));
    }
    return texts;
}

// Both logs rotate in the midst of it.
TEST_F(CTraceWriteTest, LosesAndTearsNothingOnSeveralThreads)
{
    SetLevel(kNoCompression);
    MakeLog("QOR_um_dbg_1.log", kLargest - 500000);
    MakeLog("QOR_um_trc_1.log", kLargest - 500000);
    CTraceWrite writer("um", kBothModes);

    WriteOnThreads([&](std::size_t thread, std::size_t record) {
        const std::string text = NumberedText(thread, record);
        writer.WriteDebugLog(kInfo, text.c_str());
        writer.WriteOperationLog("0x1", text.c_str());
    });

    EXPECT_EQ((Strings{"QOR_um_dbg_1.log", LogName(kDebugLog), "QOR_um_trc_1.log",
                       LogName(kOperationLog)}),
              ListDir(kLogDirectory));
    const std::string stamp = kStamp;
    ExpectAllInOrder(TextsOfBothFiles(kDebugLog, stamp + " ThId:0x", DebugRecord("").size() - 1));
    ExpectAllInOrder(TextsOfBothFiles(kOperationLog, stamp + " 0x1 ", stamp.size() + 5));
}

TEST_F(CTraceWriteTest, HoldsBothLogsWhileOneRotates)
{
    // Begins, and goes on when the test opens the gate.
    const StubCommand gzip("/usr/bin/gzip", "echo > /opt/begun; cat /opt/gate");
    ASSERT_EQ(0, ::mkfifo("/opt/gate", 0600));
    const auto debug = [](CTraceWrite& writer) { writer.WriteDebugLog(kInfo, "text"); };
    const auto operation = [](CTraceWrite& writer) { writer.WriteOperationLog("0x1", "body"); };
    static const struct {
        const char* rotating;
        std::function<void(CTraceWrite&)> first;
        std::function<void(CTraceWrite&)> second;
    } cases[] = {{"QOR_um_dbg_1.log", debug, operation}, {"QOR_um_trc_1.log", operation, debug}};

    for (const auto& c : cases) {
        SCOPED_TRACE(c.rotating);
        RemoveTree("/opt/begun");
        EmptyDirectory(kLogDirectory);
        MakeLog(c.rotating, kLargest);
        CTraceWrite writer("um", kBothModes);
        std::thread first([&] { c.first(writer); });
        EXPECT_TRUE(WaitUntil([] { return Exists("/opt/begun"); }));

        std::atomic<pid_t> thread{0};
        std::atomic<bool> done{false};
        std::thread second([&] {
            thread = static_cast<pid_t>(::syscall(SYS_gettid));
            c.second(writer);
            done = true;
        });
        EXPECT_TRUE(WaitUntil([&] { return done || (thread != 0 && Sleeps(thread)); }));
        EXPECT_FALSE(done);

        WriteFile("/opt/gate", "");
        first.join();
        second.join();
        EXPECT_TRUE(done);
        EXPECT_EQ("2026/11/15 08:29:18 0x1 body\n", OperationLog());
        EXPECT_EQ("text", DebugTexts("um").back().text);
    }
}

TEST_F(CTraceWriteTest, WritesSeveralComponentsOnSeveralThreads)
{
    static const char* const components[kThreads] = {"um", "som", "cli", "lan"};
    std::vector<std::unique_ptr<CTraceWrite>> writers;
    for (const char* const component : components)
        writers.push_back(std::make_unique<CTraceWrite>(component, kBothModes));

    WriteOnThreads([&](std::size_t thread, std::size_t record) {
        const std::string text = NumberedText(thread, record);
        writers[thread]->WriteDebugLog(kInfo, text.c_str());
        writers[thread]->WriteOperationLog("0x1", text.c_str());
    });

    for (std::size_t t = 0; t < kThreads; ++t) {
        SCOPED_TRACE(components[t]);
        const std::vector<DebugLine> debug = DebugTexts(components[t]);
        const Strings operations = Lines(ReadNewestLog(components[t], kOperationLog));
        ASSERT_EQ(kRecords, debug.size());
        ASSERT_EQ(kRecords, operations.size());
        for (std::size_t i = 0; i < kRecords; ++i) {
            ASSERT_EQ(kStamp, debug[i].stamp);
            ASSERT_EQ(debug[0].thread, debug[i].thread);
            ASSERT_EQ(NumberedText(t, i), debug[i].text);
            ASSERT_EQ(std::string(kStamp) + " 0x1 " + NumberedText(t, i), operations[i]);
        }
    }
}

TEST_F(CTraceWriteTest, FindsMessagesInTheCatalogue)
{
    SetCatalogue("[ID]\nFormatEng=text %d\nType=warn\nRead=0x00000010\nEvent=3\n");
    CTraceWrite writer("um", kTraceMode);
    Msg_Info info;

    EXPECT_TRUE(writer.GetMessageInfo("ID", &info));

    EXPECT_EQ(MessageFields("text %d", "0x00000010", "warn", 3), FieldsOf(info));
}

TEST_F(CTraceWriteTest, DescribesAnUnknownMessage)
{
    SetCatalogue("[ID]\nFormatEng=text\nType=warn\nRead=0x00000010\nEvent=3\n");
    CTraceWrite writer("um", kTraceMode);
    for (const char* const id : {"OTHER", "id", "", "ID ", "50%", "an identifier of some length"}) {
        SCOPED_TRACE(id);
        Msg_Info info = {"former", "former", "former", 7};
        EXPECT_TRUE(writer.GetMessageInfo(id, &info));
        const std::string text = std::string("[Error] Message ID Not Found!! id=(") + id + ")";
        EXPECT_EQ(MessageFields(text, "0xFFFFFFFF", "", 0), FieldsOf(info));
    }
}

TEST_F(CTraceWriteTest, FindsNoMessageForNull)
{
    CTraceWrite writer("um", kTraceMode);
    Msg_Info info = {"former", "former", "former", 7};

    EXPECT_FALSE(writer.GetMessageInfo(nullptr, &info));
    EXPECT_FALSE(writer.GetMessageInfo("ID", nullptr));

    EXPECT_EQ(MessageFields("former", "former", "former", 7), FieldsOf(info));
}

TEST_F(CTraceWriteTest, MapsEventTypesToPriorities)
{
    static const struct {
        unsigned short type;
        int priority;
    } cases[] = {{1, LOG_ERR}, {2, LOG_WARNING}, {4, LOG_INFO}};
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        log.Clear();
        writer.WriteEventLog(c.type, "text");
        EXPECT_EQ((SentEvents{{c.priority, "text"}}), Sent(log));
    }
}

TEST_F(CTraceWriteTest, SendsNothingForOtherEventTypesAndNull)
{
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);

    for (const int type : {0, 3, 5, 6, 7, 8, 16, 65535})
        writer.WriteEventLog(static_cast<unsigned short>(type), "text");
    writer.WriteEventLog(1, nullptr);

    EXPECT_TRUE(log.Received().empty());
}

TEST_F(CTraceWriteTest, SendsALongEventWhole)
{
    const std::string text(20000, 'x');
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);

    writer.WriteEventLog(4, text.c_str());
    writer.WriteEventLog(4, (text + "%10000d").c_str());

    const std::vector<SyslogMessage> sent = log.Messages();
    ASSERT_EQ(2U, sent.size());
    EXPECT_EQ(text, sent[0].text);
    EXPECT_EQ(text.size() + 7 + 8191, sent[1].text.size());
}

TEST_F(CTraceWriteTest, TakesTheTextOfAnEventAsAFormatByIntent)
{
    static const struct {
        const char* text;
        const char* sent;
    } cases[] = {
        {"plain", "plain"},
        {"", ""},
        {"100%%", "100%"},
        {"%%%%", "%%"},
        {"disk 100%", "disk 100%"},
        {"a %n b", "a  b"},
        {"a %d b", "a 0 b"},
        {"a %s b", "a (null) b"},
        {"%08lx|%5.1f", "00000000|  0.0"},
        {"%s%s%n%n%s%p", "(null)(null)(null)(nil)"},
    };
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        log.Clear();
        writer.WriteEventLog(1, c.text);
        EXPECT_EQ((SentEvents{{LOG_ERR, c.sent}}), Sent(log));
    }
}

}  // namespace
}  // namespace qor::test
