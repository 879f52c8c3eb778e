// The helpers that tests are written with: above all, that their checks can fail.
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/PrivateDiskTest.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/ScopedEnv.h"
#include "support/SmallDisk.h"
#include "support/SyslogSocket.h"
#include "support/Text.h"
#include "support/WaitUntil.h"

namespace qor::test {
namespace {

class SupportTest : public PrivateDiskTest
{
};

// A test inside a test, whose end is looked at.
class Probe : public PrivateDiskTest
{
public:
    void TestBody() override {}
};

pid_t ForkSleeper()
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        (void)::pause();  // until it is killed
        ::_exit(0);
    }
    return pid;
}

TEST_F(SupportTest, ReportsADescriptorLeftOpen)
{
    int fd = -1;
    EXPECT_NONFATAL_FAILURE(
        {
            const Probe probe;
            fd = ::open("/etc/passwd", O_RDONLY | O_CLOEXEC);
        },
        "-> /etc/passwd");
    ASSERT_EQ(0, ::close(fd));
}

TEST_F(SupportTest, ReportsADescriptorClosed)
{
    static int fd = -1;
    fd = ::open("/etc/passwd", O_RDONLY | O_CLOEXEC);
    EXPECT_NONFATAL_FAILURE(
        {
            const Probe probe;
            ASSERT_EQ(0, ::close(fd));
        },
        "closed ");
}

TEST_F(SupportTest, ReportsAndEndsAChildLeftRunning)
{
    static pid_t pid = -1;
    EXPECT_NONFATAL_FAILURE(
        {
            const Probe probe;
            pid = ForkSleeper();
        },
        "left children: ");
    EXPECT_EQ(-1, ::kill(pid, 0));
    EXPECT_EQ(ESRCH, errno);
}

TEST_F(SupportTest, ClearsWhatTheTestBeforeLeft)
{
    WriteFile("/opt/a/b/c", "1");
    WriteFile("/var/tmp/.hidden", "2");
    const SyslogSocket log;
    ASSERT_EQ(0, ::symlink("/nowhere", "/opt/link"));

    const Probe probe;

    EXPECT_TRUE(ListDir("/opt").empty());
    EXPECT_TRUE(ListDir("/var/tmp").empty());
    EXPECT_FALSE(Exists("/dev/log"));
}

TEST_F(SupportTest, ReturnsTheStatusOfAChild)
{
    EXPECT_EQ(0, InChild([] { return 0; }));
    EXPECT_EQ(7, InChild([] { return 7; }));
    EXPECT_EQ(128 + SIGKILL, InChild([] { return ::raise(SIGKILL); }));
}

TEST_F(SupportTest, TurnsAFailedExpectationOfAChildIntoItsStatus)
{
    const int status = InChild([] {
        // The report of this child would look like the test's own.
        (void)::close(STDOUT_FILENO);
        EXPECT_EQ(1, 2);
        return 0;
    });
    EXPECT_EQ(kExpectationFailed, status);
}

TEST_F(SupportTest, EndsAChildThatThrows)
{
    int status = -1;
    const std::string text = CaptureStderr(
        [&] { status = InChild([]() -> int { throw std::runtime_error("out of the child"); }); });
    EXPECT_EQ(128 + SIGABRT, status);
    EXPECT_NE(std::string::npos, text.find("out of the child"));
}

TEST_F(SupportTest, StopsAChildByASignal)
{
    ChildProcess child([] { return ::pause(); });
    EXPECT_TRUE(child.Running());

    child.Kill(SIGTERM);

    EXPECT_EQ(128 + SIGTERM, child.Wait());
    EXPECT_FALSE(child.Running());
    EXPECT_EQ(128 + SIGTERM, child.Wait());
}

TEST_F(SupportTest, LeavesNoChildProcessBehind)
{
    pid_t pid = -1;
    {
        const ChildProcess child([] { return ::pause(); });
        pid = child.pid();
    }
    EXPECT_EQ(-1, ::kill(pid, 0));
}

TEST_F(SupportTest, CapturesStandardErrorOfTheProcessAndItsChildren)
{
    const std::string text = CaptureStderr([] {
        (void)std::fputs("here ", stderr);
        ASSERT_EQ(0, InChild([] { return std::fputs("there", stderr) < 0; }));
    });
    EXPECT_EQ("here there", text);
}

TEST_F(SupportTest, WaitsForACondition)
{
    const ChildProcess child([] {
        WriteFile("/opt/answer", "");
        return 0;
    });
    EXPECT_TRUE(WaitUntil([] { return Exists("/opt/answer"); }));
    EXPECT_FALSE(WaitUntil([] { return false; }, std::chrono::milliseconds(3)));
}

TEST_F(SupportTest, NamesThePathOfAFailure)
{
    try {
        (void)ReadFile("/opt/missing");
        FAIL() << "no exception";
    } catch (const std::system_error& failure) {
        EXPECT_STREQ("open /opt/missing: No such file or directory", failure.what());
    }
}

TEST_F(SupportTest, ReplacesAFileAndPutsItBack)
{
    const std::string before = ReadFile("/etc/passwd");
    const mode_t mode = FileMode("/etc/passwd");
    {
        const ReplacedFile replaced("/etc/passwd", "nobody here\n", 0600);
        EXPECT_EQ("nobody here\n", ReadFile("/etc/passwd"));
        EXPECT_EQ(mode_t{0600}, FileMode("/etc/passwd"));
    }
    EXPECT_EQ(before, ReadFile("/etc/passwd"));
    EXPECT_EQ(mode, FileMode("/etc/passwd"));
}

TEST_F(SupportTest, PutsBackALinkAndAnAbsence)
{
    ASSERT_EQ(0, ::symlink("/opt/target", "/opt/link"));
    WriteFile("/opt/target", "target");
    {
        const ReplacedFile link("/opt/link", "file");
        const ReplacedFile absent("/opt/absent");
        WriteFile("/opt/absent", "made by the test");
        EXPECT_EQ("target", ReadFile("/opt/target"));
        EXPECT_EQ("file", ReadFile("/opt/link"));
    }
    EXPECT_EQ("target", ReadFile("/opt/link"));
    EXPECT_EQ("/opt/target\n", RunShell("readlink /opt/link").output);
    EXPECT_FALSE(Exists("/opt/absent"));
}

TEST_F(SupportTest, ParsesSystemLogDatagrams)
{
    static const struct {
        const char* datagram;
        const char* ident;
        int pid;
        const char* text;
    } cases[] = {
        {"<11>Nov 15 08:29:18 ident[4711]: text", "ident", 4711, "text"},
        {"<11>Nov  5 08:29:18 update manager[1]: a: b[2]: c", "update manager", 1, "a: b[2]: c"},
        {"<14>Nov 15 08:29:18 ident: line\nline", "ident", 0, "line\nline"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.datagram);
        const std::optional<SyslogMessage> message = ParseSyslog(c.datagram);
        ASSERT_TRUE(message);
        EXPECT_EQ(c.ident, message->ident);
        EXPECT_EQ(c.pid, message->pid);
        EXPECT_EQ(c.text, message->text);
    }
    EXPECT_FALSE(ParseSyslog("text"));
    EXPECT_FALSE(ParseSyslog("<11>text"));
}

TEST_F(SupportTest, FindsTheLogFilesOfAComponent)
{
    EXPECT_TRUE(LogFileNames("um", kOperationLog).empty());
    for (const char* const name : {"QOR_um_trc_261115082918.log", "QOR_um_trc_251115082918.log.gz",
                                   "QOR_um_dbg_261115082918.log", "QOR_umx_trc_261115082918.log",
                                   "QOR_um_trc_261115082918.log.swp", "QOR_um_trc_26111508291.log"})
        WriteFile(LogPath(name), name);

    EXPECT_EQ((Strings{"QOR_um_trc_251115082918.log.gz", "QOR_um_trc_261115082918.log"}),
              LogFileNames("um", kOperationLog));
    EXPECT_EQ("QOR_um_trc_261115082918.log", ReadNewestLog("um", kOperationLog));
    EXPECT_EQ("", ReadNewestLog("som", kDebugLog));
}

TEST_F(SupportTest, ParsesDebugRecords)
{
    WriteFile(LogPath("QOR_um_dbg_261115082918.log"),
              "2026/11/15 08:29:18 ThId:0x0000126f --INFO-- one\n"
              "2026/11/15 08:29:19 ThId:0x00000001 **FAIL** two\nlines\n");

    const std::vector<DebugLine> records = DebugTexts("um");
    ASSERT_EQ(2U, records.size());
    EXPECT_EQ("2026/11/15 08:29:18", records[0].stamp);
    EXPECT_EQ(4719, records[0].thread);
    EXPECT_EQ("--INFO--", records[0].level);
    EXPECT_EQ("one", records[0].text);
    EXPECT_EQ("**FAIL**", records[1].level);
    EXPECT_EQ("two\nlines", records[1].text);
    EXPECT_THROW((void)ParseDebugLog("no record\n"), std::runtime_error);
}

TEST_F(SupportTest, CutsTextIntoLines)
{
    EXPECT_TRUE(Lines("").empty());
    EXPECT_EQ((Strings{"a", "", "b"}), Lines("a\n\nb\n"));
    EXPECT_EQ((Strings{"a", "b"}), Lines("a\nb"));
}

TEST_F(SupportTest, FillsADisk)
{
    WriteFile("/opt/disk/below", "1");
    {
        SmallDisk disk("/opt/disk", 64 * 1024);
        WriteFile("/opt/disk/file", "");
        disk.Fill();
        EXPECT_THROW(AppendFile("/opt/disk/file", "more"), std::system_error);
        RemoveTree("/opt/disk/filler");
        EXPECT_NO_THROW(AppendFile("/opt/disk/file", "more"));
    }
    EXPECT_EQ("1", ReadFile("/opt/disk/below"));
}

TEST_F(SupportTest, SetsTheEnvironmentForAWhile)
{
    const ScopedEnv outer("QOR_TEST_VARIABLE", "outer");
    {
        const ScopedEnv inner("QOR_TEST_VARIABLE", nullptr);
        EXPECT_EQ(nullptr, std::getenv("QOR_TEST_VARIABLE"));
    }
    EXPECT_STREQ("outer", std::getenv("QOR_TEST_VARIABLE"));
}

TEST_F(SupportTest, SetsTheTimeZoneForAWhile)
{
    const ScopedTimeZone outer("UTC0");
    const std::time_t moment = 0;
    std::tm local = {};
    {
        const ScopedTimeZone inner("JST-9");
        (void)::localtime_r(&moment, &local);
        EXPECT_EQ(9, local.tm_hour);
    }
    (void)::localtime_r(&moment, &local);
    EXPECT_EQ(0, local.tm_hour);
}

TEST(TextTest, DescribesTheWholeTextOrNothing)
{
    EXPECT_TRUE(Matches("a+|b", "aaa"));
    EXPECT_FALSE(Matches("a+|b", "aab"));
    EXPECT_FALSE(Matches("a+|b", "ba"));
    EXPECT_THROW((void)Matches("(", "("), std::runtime_error);
}

TEST(TextTest, FindsThePartsOfTheFirstMatch)
{
    const Pattern pattern("([0-9]+)(;([a-z]))?");
    EXPECT_EQ(Strings({"12;x", "12", ";x", "x"}), pattern.Find(" 12;x 3;y"));
    EXPECT_EQ(Strings({"12", "12", "", ""}), pattern.Find("12;"));
    EXPECT_EQ(Strings(), pattern.Find("none"));
}

}  // namespace
}  // namespace qor::test
