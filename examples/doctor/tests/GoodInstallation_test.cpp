// Installations without fault, or with one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Doctor.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace doctor::test {
namespace {

using qor::test::AppendFile;
using qor::test::RemoveTree;
using qor::test::RunShell;
using qor::test::ShellResult;
using qor::test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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
