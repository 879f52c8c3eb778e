// Installations without fault, or with one.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Doctor.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/SmallDisk.h"
#include "support/WaitUntil.h"

namespace doctor::test {
namespace {

using qor::test::AppendFile;
using qor::test::MakeDirs;
using qor::test::RemoveTree;
using qor::test::RunShell;
using qor::test::ShellResult;
using qor::test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

void Change(const std::string& path, mode_t mode)
{
    if (::chmod(path.c_str(), mode) != 0)
        qor::test::ThrowErrno("chmod " + path);
}

// Leaves a link to the new place.
void Move(const std::string& from, const std::string& to)
{
    if (::rename(from.c_str(), to.c_str()) != 0 || ::symlink(to.c_str(), from.c_str()) != 0)
        qor::test::ThrowErrno("rename " + from);
}

// A channel in directories of its own, for --channel.
std::string OwnChannel(const std::string& client, const std::string& server)
{
    const std::string file = RootPath("som/own.conf");
    WriteFile(file, "[filetran]\nclientdir=" + client + "\nserverdir=" + server + "\n");
    return "--channel " + file;
}

bool IsLocked(const char* path)
{
    const int fd = ::open(path, O_RDWR | O_CLOEXEC);
    const bool isLocked = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
    (void)::close(fd);  // nothing was written
    return isLocked;
}

class GoodInstallationTest : public DoctorTest
{
protected:
    GoodInstallationTest() { MakeGoodInstallation(); }
};

TEST_F(GoodInstallationTest, HasNoFindings)
{
    const ShellResult result = Run();

    EXPECT_EQ("No findings.\n", result.output);
    EXPECT_EQ(0, result.status);
}

TEST_F(GoodInstallationTest, MayHaveNoFilesThatProgramsChoose)
{
    RemoveTree(RootPath("som/providers.ini"));
    RemoveTree(RootPath("etc/vendors.ini"));
    RemoveTree(RootPath("som/socket.conf"));

    EXPECT_EQ("No findings.\n", Run().output);
}

TEST_F(GoodInstallationTest, MayLackComponents)
{
    RemoveTree(RootPath("um"));
    RemoveTree(RootPath("cli"));

    EXPECT_EQ("No findings.\n", Run().output);
}

TEST_F(GoodInstallationTest, MayHaveACacheThatRootHasMade)
{
    WriteFile("/var/tmp/dmitmp", "System Information\n");

    EXPECT_EQ("No findings.\n", Run().output);
}

TEST_F(GoodInstallationTest, MayBeMadeUnderAUmaskThatLeavesTheGroupIn)
{
    WriteFile("/var/tmp/dmitmp", "System Information\n");
    Change("/var/tmp/dmitmp", 0660);
    Change(RootPath("etc/qorversion.ver"), 0660);
    Change(RootPath("um"), 0770);
    EXPECT_EQ("No findings.\n", Run().output);

    Change("/var/tmp/dmitmp", 0662);
    Change(RootPath("etc/qorversion.ver"), 0662);
    EXPECT_THAT(FindingsIn(Run().output), ElementsAre("writable-by-others", "shared-name-taken"));
}

TEST_F(GoodInstallationTest, KeepsTheUsualSpoolBesideAnother)
{
    for (const char* const name : {"C2", "S2"}) {
        MakeDirs(RootPath(name));
        Change(RootPath(name), 02770);
    }
    const std::string channel = OwnChannel(RootPath("C2"), RootPath("S2"));
    EXPECT_EQ("No findings.\n", Run(channel).output);

    Change(RootPath("som/SS"), 02777);
    EXPECT_THAT(FindingsIn(Run(channel).output), ElementsAre("spool-open-to-others"));
}

TEST_F(GoodInstallationTest, MayStandBehindALink)
{
    Move(kRoot, "/opt/elsewhere");
    EXPECT_EQ("No findings.\n", Run().output);

    Change("/opt/elsewhere", 0777);
    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("writable-by-others"));
    EXPECT_THAT(result.output, HasSubstr("/opt/velmora/qor: error: "));
}

TEST_F(GoodInstallationTest, IsLookedOverAboveThePlaceThatALinkLeadsTo)
{
    MakeDirs("/opt/open");
    Change("/opt/open", 0777);
    Move(kRoot, "/opt/open/qor");

    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("writable-by-others"));
    EXPECT_THAT(result.output, HasSubstr("/opt/open: error: "));
}

TEST_F(GoodInstallationTest, IsLookedOverBehindLinksOnce)
{
    Move(RootPath("um"), "/opt/um");
    ASSERT_EQ(0, ::symlink("..", RootPath("um/round").c_str()));
    ASSERT_EQ(0, ::symlink("/opt/um", RootPath("um/again").c_str()));
    ASSERT_EQ(0, ::symlink("/", RootPath("um/all").c_str()));
    ASSERT_EQ(0, ::symlink("/dev/null", RootPath("um/null").c_str()));
    ASSERT_EQ(0, ::symlink("/nowhere", RootPath("um/nothing").c_str()));
    EXPECT_EQ("No findings.\n", Run().output);

    Change("/opt/um/TraceSetting.ini", 0666);
    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("writable-by-others"));
    EXPECT_THAT(result.output, HasSubstr("/opt/velmora/qor/um/TraceSetting.ini: error: "));

    Change("/opt/um", 0777);
    EXPECT_THAT(Run().output, HasSubstr("/opt/velmora/qor/um: error: writable-by-others\n"));
}

TEST_F(GoodInstallationTest, TellsWhatAServerHasLeftBehind)
{
    WriteFile(RootPath("som/SS/" + StampBefore(0) + "cli.tmp"), "an answer being written");
    EXPECT_EQ("No findings.\n", Run().output);

    constexpr long kThreeDays = 3 * 24 * 3600;
    WriteFile(RootPath("som/SS/" + StampBefore(120) + "cli.tmp"), "");
    WriteFile(RootPath("som/SS/" + StampBefore(kThreeDays) + "cli.tmp"), "");
    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("spool-leftover", "spool-leftover"));
    EXPECT_THAT(result.output, HasSubstr("    Left behind by a server that was killed"));
}

TEST_F(GoodInstallationTest, TellsEachPercentSignThatIsNotDoubled)
{
    static const struct {
        const char* text;
        const char* effect;
    } cases[] = {
        {"5% max of it", "\"% m\" is a conversion to the text of errno"},
        {"5%-10% more", "\"%-10%\" is a conversion to one percent sign"},
        {"5% % more", "\"% %\" is a conversion to one percent sign"},
        {"5% done", "\"% d\" is a conversion to int, and takes an argument"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        WriteFile(
            RootPath("um/TraceSettingMsg.ini"),
            "[A]\nFormatEng=" + std::string(c.text) + "\nType=info\nRead=0x00000001\nEvent=0\n");
        const ShellResult result = Run();
        EXPECT_THAT(FindingsIn(result.output), ElementsAre("catalogue-percent-not-doubled"));
        EXPECT_THAT(result.output, HasSubstr(c.effect));
    }
    WriteFile(RootPath("um/TraceSettingMsg.ini"),
              "[A]\nFormatEng=5%% max, %m\nType=info\nRead=0x00000001\nEvent=0\n");
    EXPECT_EQ("No findings.\n", Run().output);
}

TEST_F(GoodInstallationTest, TellsACatalogueWithoutMessages)
{
    for (const char* const text : {"", "; no message\n"}) {
        WriteFile(RootPath("um/TraceSettingMsg.ini"), text);
        EXPECT_THAT(FindingsIn(Run().output), ElementsAre("catalogue-empty"));
    }
}

TEST_F(GoodInstallationTest, TellsOneFaultOfATraceLevelOnce)
{
    static const struct {
        const char* value;
        const char* finding;
    } cases[] = {
        {"7F ", "trailing-blank"},
        {"7F\t \r", "trailing-blank"},
        {"7F ; all", "comment-behind-value"},
        {"7F\t;", "comment-behind-value"},
        {"7F;all", "trace-level-malformed"},
        {"7F all", "trace-level-malformed"},
        {"all", "trace-level-malformed"},
        {"1F ", "compression-off"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        WriteFile(RootPath("um/TraceSetting.ini"),
                  "[APP_SETTING]\nTraceLevel=" + std::string(c.value) + "\n");
        const std::string output = Run().output;
        EXPECT_THAT(FindingsIn(output), testing::Contains(c.finding));
        EXPECT_EQ(c.finding == std::string("trace-level-malformed"),
                  output.find("trace-level-malformed") != std::string::npos);
    }
}

TEST_F(GoodInstallationTest, QuotesAPollingIntervalThatReadsAsAnotherNumber)
{
    WriteFile(RootPath("som/socket.conf"), "[filetran]\npolling_interval=99999999999999999999\n");

    EXPECT_THAT(Run().output, HasSubstr("The polling interval \"99999999999999999999\" reads as "));
}

TEST_F(GoodInstallationTest, TellsThatThereIsNoRoomForADirectoryThatIsMissing)
{
    const qor::test::SmallDisk disk(RootPath("small"), 1024 * 1024);
    const ShellResult result = Run(OwnChannel(RootPath("small/spool/CS"), RootPath("som/SS")));

    EXPECT_THAT(FindingsIn(result.output), ElementsAre("directory-missing", "disk-nearly-full"));
    EXPECT_THAT(result.output, HasSubstr("/opt/velmora/qor/small: error: disk-nearly-full\n"));
}

TEST_F(GoodInstallationTest, LoadsALibraryThatLeavesAProcessBehind)
{
    InstallLibrary("qor_doctor_forking_plugin", RootPath("provider/libqorp_Good.so"));

    EXPECT_EQ("No findings.\n", Run().output);
    ASSERT_TRUE(qor::test::Exists("/opt/forked"));
    EXPECT_TRUE(qor::test::WaitUntil([] { return !IsLocked("/opt/forked"); }));
}

TEST_F(GoodInstallationTest, TellsHowALibraryThatLeavesAProcessBehindEndsTheProcess)
{
    InstallLibrary("qor_doctor_forking_plugin", RootPath("provider/libqorp_Good.so"));
    WriteFile("/opt/abort", "");

    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("library-crashes"));
    EXPECT_THAT(result.output, HasSubstr("it ends the process by signal 6 (Aborted)"));
    EXPECT_TRUE(qor::test::WaitUntil([] { return !IsLocked("/opt/forked"); }));
}

TEST_F(GoodInstallationTest, TellsWhoMakesItsMissingDirectories)
{
    RemoveTree(RootPath("som/SS"));
    RemoveTree(RootPath("log"));

    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("directory-missing", "directory-missing"));
    EXPECT_THAT(result.output, HasSubstr("The first program that logs makes it with mode 0644"));
    EXPECT_THAT(result.output, HasSubstr("The first program that uses the channel makes it with"));
}

TEST_F(GoodInstallationTest, EndsWithOneForAWarning)
{
    WriteFile(RootPath("um/TraceSetting.ini"), "[APP_SETTING]\nTraceLevel=1F\n");

    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("compression-off"));
    EXPECT_THAT(result.output, HasSubstr("/opt/velmora/qor/um/TraceSetting.ini:2: warning: "));
    EXPECT_THAT(result.output, HasSubstr("Add 0x40: 0x5F."));
    EXPECT_THAT(result.output, HasSubstr("\n0 errors, 1 warning.\n"));
    EXPECT_EQ(1, result.status);
}

TEST_F(GoodInstallationTest, EndsWithTwoForAnError)
{
    WriteFile(RootPath("som/socket.conf"), "[filetran]\n\npolling_interval=-1\n");

    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("polling-interval-not-positive"));
    EXPECT_THAT(result.output, HasSubstr("/opt/velmora/qor/som/socket.conf:3: error: "));
    EXPECT_EQ(2, result.status);
}

TEST_F(GoodInstallationTest, EndsWithThreeWhenNotEverythingCouldBeLookedAt)
{
    (void)::chmod(RootPath("um/TraceSettingMsg.ini").c_str(), 0);
    const ShellResult result = RunShell("setpriv --bounding-set=-all --inh-caps=-all " + Command());

    EXPECT_THAT(result.output, HasSubstr("TraceSettingMsg.ini: not looked at: Permission denied"));
    EXPECT_EQ(3, result.status);
}

TEST_F(GoodInstallationTest, TellsThatItWasStartedWithSigchldIgnored)
{
    const ShellResult result = RunShell("env --ignore-signal=CHLD " + Command());

    EXPECT_THAT(FindingsIn(result.output), ElementsAre("sigchld-ignored"));
    EXPECT_THAT(result.output, HasSubstr("/status:"));
    EXPECT_EQ(2, result.status);
}

TEST_F(GoodInstallationTest, IsLookedOverWithoutLoadingLibraries)
{
    InstallLibrary("qor_doctor_crashing_plugin", RootPath("provider/libqorp_Good.so"));

    EXPECT_THAT(FindingsIn(Run().output), ElementsAre("library-crashes"));
    EXPECT_THAT(FindingsIn(Run("--no-load").output), IsEmpty());
    WriteFile(RootPath("provider/libqorp_Good.so"), "no library");
    EXPECT_THAT(FindingsIn(Run("--no-load").output), ElementsAre("library-not-loadable"));
}

TEST_F(GoodInstallationTest, IsLookedOverWithoutWaitingForAFifo)
{
    RemoveTree(RootPath("provider/libqorp_Good.so"));
    ASSERT_EQ(0, ::mkfifo(RootPath("provider/libqorp_Good.so").c_str(), 0644));

    for (const char* const arguments : {"", "--no-load"}) {
        const ShellResult result = Run(arguments);
        EXPECT_THAT(FindingsIn(result.output), ElementsAre("library-not-loadable"));
        EXPECT_THAT(result.output, HasSubstr("A FIFO in place of /opt/"));
    }
}

TEST_F(GoodInstallationTest, TellsOneDeviceWithoutAnIndex)
{
    WriteFile(RootPath("etc/vendors.ini"), "[Disk]\nDllName=Good.dll\nClassName=C\n");
    EXPECT_EQ("No findings.\n", Run().output);

    AppendFile(RootPath("etc/vendors.ini"), "[Tape]\nDllName=Other.dll\nClassName=C\n");
    EXPECT_THAT(FindingsIn(Run().output), ElementsAre("vendor-section-unread"));

    WriteFile(RootPath("etc/vendors.ini"), "[Disk]\nDllName=Good.dll\n");
    EXPECT_THAT(FindingsIn(Run().output), ElementsAre("vendor-key-missing"));
}

TEST_F(GoodInstallationTest, TellsThatTheLogDirectoryIsAsTheLibraryMakesIt)
{
    (void)::chmod(qor::test::kLogDirectory, 0644);

    EXPECT_THAT(FindingsIn(Run().output), ElementsAre("directory-without-search"));
}

TEST_F(GoodInstallationTest, ShowsNoControlCharactersOfItsFiles)
{
    WriteFile(RootPath("um/TraceSettingMsg.ini"), "[A\x1b[2J]\nFormat=x\n");

    const ShellResult result = Run();
    EXPECT_THAT(FindingsIn(result.output), ElementsAre("catalogue-entry-without-text"));
    EXPECT_THAT(result.output, HasSubstr("[A\\x1b[2J] has no FormatEng"));
}

}  // namespace
}  // namespace doctor::test
