#include "trace/Rotation.h"

#include <sys/wait.h>

#include <algorithm>
#include <cctype>

#include "trace/WriterTest.h"

namespace qor::test {
namespace {

using CTraceWriteRotationTest = WriterTest;

TEST_F(CTraceWriteRotationTest, RotatesWhatWouldReachTenMebibytes)
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

TEST_F(CTraceWriteRotationTest, RotatesInTheCourseOfWriting)
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

TEST_F(CTraceWriteRotationTest, KeepsAtMostFiveFilesOfAKind)
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

TEST_F(CTraceWriteRotationTest, LeavesADirectoryThatHasTheNameOfALog)
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

TEST_F(CTraceWriteRotationTest, CountsCompressedFilesAndLeavesOthersAlone)
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

TEST_F(CTraceWriteRotationTest, GoesOnInTheSameFileWhenItRotatesTwiceInASecond)
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

TEST_F(CTraceWriteRotationTest, TakesANewNameAtTheNextSecond)
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

TEST_F(CTraceWriteRotationTest, RotatesNothingForNull)
{
    CTraceWrite("um", kDebugMode).rotate(nullptr);

    EXPECT_EQ((Strings{LogName(kDebugLog)}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteRotationTest, CompressesTheFileThatItRotatesOut)
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

TEST_F(CTraceWriteRotationTest, CompressesTheFileOfALogThatIsNotOpen)
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

TEST_F(CTraceWriteRotationTest, CompressesByABitOfTheTraceLevel)
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

TEST_F(CTraceWriteRotationTest, CompressesNothingWithoutSettings)
{
    CTraceUtilityCom::settingInfoMap["um"] = nullptr;
    Writer writer("um", kDebugMode);
    WriteFile("/opt/some.log", "text");
    writer.debugLog_->path = "/opt/some.log";

    writer.rotate(writer.debugLog_.get());

    EXPECT_EQ("text", ReadFile("/opt/some.log"));
    EXPECT_FALSE(Exists("/opt/some.log.gz"));
}

TEST_F(CTraceWriteRotationTest, KeepsAtMostFiveFilesWhileItCompresses)
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

TEST_F(CTraceWriteRotationTest, RunsGzipAtItsBestAndReturnsItsStatus)
{
    const StubCommand gzip("/usr/bin/gzip", "echo \"$@\" >> /opt/calls; exit 3");
    CTraceWrite writer("um", kDebugMode);

    const int status = writer.compress("/opt/velmora/qor/log/some.log");

    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(3, WEXITSTATUS(status));
    EXPECT_EQ("-9 /opt/velmora/qor/log/some.log\n", ReadFile("/opt/calls"));
}

TEST_F(CTraceWriteRotationTest, CutsAnOverlongCommandAt1023Bytes)
{
    const StubCommand gzip("/usr/bin/gzip", "printf '%s' \"$2\" > /opt/argument");

    EXPECT_EQ(0, CTraceWrite("um", kDebugMode).compress(std::string(5000, 'x')));

    EXPECT_EQ(std::string(1023 - std::string("gzip -9 ").size(), 'x'), ReadFile("/opt/argument"));
}

TEST_F(CTraceWriteRotationTest, GivesTheShellNoPathWithAMeaningToIt)
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

TEST_F(CTraceWriteRotationTest, RunsNoCommandThatStandsInTheNameOfAComponent)
{
    const std::string component = "a;echo called>&2;";
    MakeLog("QOR_" + component + "_dbg_1.log", kLargest);

    EXPECT_EQ("", CaptureStderr([&] {
                  CTraceWrite(component.c_str(), kDebugMode).WriteDebugLog(kInfo, "text");
              }));

    EXPECT_EQ(kLargest, FileSize(LogPath("QOR_" + component + "_dbg_1.log")));
    EXPECT_EQ("text", DebugTexts(component).back().text);
}

TEST_F(CTraceWriteRotationTest, KeepsAFileThatGzipFailedToCompress)
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
TEST_F(CTraceWriteRotationTest, StartsNoGzipWhereItsResultIsThereAlready)
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

TEST_F(CTraceWriteRotationTest, StaysSilentAndStartsNothingWithoutALogDirectory)
{
    const StubCommand gzip("/usr/bin/gzip", "echo called >> /opt/calls");
    RemoveTree("/opt/velmora/qor");
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
}

TEST_F(CTraceWriteRotationTest, StartsNothingForAFileThatSomebodyRemoved)
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

}  // namespace
}  // namespace qor::test
