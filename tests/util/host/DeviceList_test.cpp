// COsInfo's list of devices.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "COsInfo.h"
#include "support/Cancellation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/HostTest.h"
#include "support/LogFiles.h"
#include "support/Memcheck.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/ScopedEnv.h"
#include "support/SmallDisk.h"
#include "support/Text.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kScript[] = "/opt/velmora/qor/etc/lspcimn.sh";
constexpr char kList[] = "/opt/velmora/qor/etc/devices.tmp";
constexpr char kNotCreated[] =
    "**FAIL** bool COsInfo::makeDeviceInfo() failed to create file "
    "/opt/velmora/qor/etc/devices.tmp";
constexpr char kNotWritten[] =
    "**FAIL** bool COsInfo::makeDeviceInfo() failed to write file "
    "/opt/velmora/qor/etc/devices.tmp";

std::string UpperCase(std::string hexadecimal)
{
    for (char& c : hexadecimal)
        c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    return hexadecimal;
}

class COsInfoDeviceListTest : public HostTest
{
protected:
    static void InstallScript(const std::string& lines)
    {
        WriteFile(kScript, "#!/bin/sh\n" + lines + "\n");
        ASSERT_EQ(0, ::chmod(kScript, 0755));
    }

    // A script that prints the text byte for byte.
    static void InstallOutput(const std::string& output)
    {
        WriteFile("/opt/output", output);
        InstallScript("cat /opt/output");
    }

    // The list that is made of a script's output.
    std::string ListOf(const std::string& output)
    {
        InstallOutput(output);
        EXPECT_TRUE(host_.makeDeviceInfo());
        return ReadFile(kList);
    }

    COsInfo host_;
};

TEST_F(COsInfoDeviceListTest, HasALineForEachRecordWithADigitInFront)
{
    EXPECT_EQ("00:1f.2-8086-2922\n00:02.0-ABCD-12EF\n",
              ListOf("Bus Vendor Device\n00:1f.2 8086 2922\n00:02.0 abcd 12ef\n"));
    EXPECT_EQ(Strings(), Records("som"));
}

TEST_F(COsInfoDeviceListTest, IsMadeOfThreeWordsEach)
{
    const struct {
        std::string output;
        std::string list;
    } cases[] = {
        {"", ""},
        {" \n\t\n", ""},
        {"1 a b\n", "1-A-B\n"},
        {"1 a b", "1-A-B\n"},
        {"  1\ta\n\nb\r\n", "1-A-B\n"},
        {"1 a b 2 c d\n", "1-A-B\n2-C-D\n"},
        {"1 a b extra\n2 c d\n", "1-A-B\n"},
        {"1 a\n2 b c\n", "1-A-2\n"},
        {"1 a b\n2 c\n", "1-A-B\n2-C-\n"},
        {"1 a b\n2\n", "1-A-B\n2--\n"},
        {"1", "1--\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.output);
        EXPECT_EQ(c.list, ListOf(c.output));
    }
}

TEST_F(COsInfoDeviceListTest, LeavesOutRecordsThatDoNotBeginWithADecimalDigit)
{
    for (const char* first : {"0", "9", "00:1f.2", "5x"}) {
        SCOPED_TRACE(first);
        EXPECT_EQ(first + "-A-B\n2-C-D\n"s, ListOf(first + " a b\n2 c d\n"s));
    }
    for (const char* first : {"Bus", "/", ":", "-1", "a0", "f0", ".5", "+1", "\xb2", "\xd9\xa0"}) {
        SCOPED_TRACE(first);
        EXPECT_EQ("2-C-D\n", ListOf(first + " a b\n2 c d\n"s));
    }
}

TEST_F(COsInfoDeviceListTest, RaisesTheSecondAndThirdWordOnly)
{
    EXPECT_EQ("0a:bc-AZ09-A.B_C\n", ListOf("0a:bc az09 a.b_c\n"));
    EXPECT_EQ("1z-Z@[`{\x80\xe4-\xff\n", ListOf("1z z@[`{\x80\xe4 \xff\n"));
}

TEST_F(COsInfoDeviceListTest, IsANewFileForAllToRead)
{
    const mode_t mask = ::umask(0);
    EXPECT_EQ("1-A-B\n", ListOf("1 a b\n"));
    (void)::umask(mask);
    EXPECT_EQ(0644U, FileMode(kList));
}

TEST_F(COsInfoDeviceListTest, ReplacesTheListBefore)
{
    WriteFile(kList, "a much longer list of devices\n");
    ASSERT_EQ(0, ::chmod(kList, 0600));

    EXPECT_EQ("1-A-B\n", ListOf("1 a b\n"));

    EXPECT_EQ(0600U, FileMode(kList)) << "The mode is for a new file.";
}

TEST_F(COsInfoDeviceListTest, HoldsEveryRecordOfALongOutput)
{
    std::string output;
    std::string list;
    for (int i = 0; i < 20000; ++i) {
        output += std::to_string(i) + " abcd 12ef\n";
        list += std::to_string(i) + "-ABCD-12EF\n";
    }
    EXPECT_EQ(list, ListOf(output));
}

TEST_F(COsInfoDeviceListTest, HoldsALongRecord)
{
    const std::string word(100000, 'x');
    EXPECT_EQ("1-" + std::string(word.size(), 'X') + "-B\n", ListOf("1 " + word + " b\n"));
}

TEST_F(COsInfoDeviceListTest, GivesTheScriptAPrivateScratchFile)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind adds descriptors of its own");
    InstallScript(kNoteScratch + "ls /proc/self/fd > /opt/inherited; echo 1 a b"s);
    const std::string before = RunShell("ls /proc/self/fd").output;

    EXPECT_TRUE(host_.makeDeviceInfo());

    EXPECT_TRUE(Matches(kScratchPattern + " 600 0\n"s, ReadFile(kScratchNote)));
    EXPECT_EQ(before, ReadFile("/opt/inherited")) << "The list is closed for the script.";
}

TEST_F(COsInfoDeviceListTest, IgnoresTheExitStatusOfTheScript)
{
    InstallScript("echo 1 a b; exit 3");
    EXPECT_TRUE(host_.makeDeviceInfo());
    EXPECT_EQ("1-A-B\n", ReadFile(kList));
}

TEST_F(COsInfoDeviceListTest, IsEmptyWithoutAScriptToRun)
{
    WriteFile(kList, "before\n");
    const std::string missing = CaptureStderr([this] { EXPECT_TRUE(host_.makeDeviceInfo()); });
    EXPECT_EQ("", ReadFile(kList));
    EXPECT_EQ(1U, Lines(missing).size()) << "The shell reports it: " << missing;

    WriteFile(kScript, "#!/bin/sh\necho 1 a b\n");  // not executable
    WriteFile(kList, "before\n");
    (void)CaptureStderr([this] { EXPECT_TRUE(host_.makeDeviceInfo()); });
    EXPECT_EQ("", ReadFile(kList));
    EXPECT_EQ(Strings(), Records("som"));
}

TEST_F(COsInfoDeviceListTest, ReportsAListThatCannotBeMade)
{
    InstallScript("touch /opt/ran");
    MakeDirs(kList);

    EXPECT_FALSE(host_.makeDeviceInfo());

    EXPECT_FALSE(Exists("/opt/ran"));
    EXPECT_EQ(Strings({kNotCreated}), Records("som"));
}

TEST_F(COsInfoDeviceListTest, ReportsAMissingDirectory)
{
    RemoveTree(kEtcDir);

    EXPECT_FALSE(host_.makeDeviceInfo());

    EXPECT_FALSE(Exists(kEtcDir));
    EXPECT_EQ(Strings({kNotCreated}), Records("som"));
}

TEST_F(COsInfoDeviceListTest, ReportsAListThatFindsNoRoom)
{
    SmallDisk disk(kEtcDir, 8192);
    InstallOutput("Bus a b\n1 a b\n2 c d\n");
    disk.Fill();

    EXPECT_FALSE(host_.makeDeviceInfo());

    EXPECT_EQ("", ReadFile(kList));
    EXPECT_EQ(Strings({kNotWritten}), Records("som"));
}

TEST_F(COsInfoDeviceListTest, KeepsTheRecordsThatFoundRoom)
{
    std::string output;
    std::string list;
    for (int i = 1000; i < 2000; ++i) {
        output += std::to_string(i) + " a b\n";
        list += std::to_string(i) + "-A-B\n";
    }
    const SmallDisk disk(kEtcDir, 8192);  // a page for the script, and one for the list
    InstallOutput(output);

    EXPECT_FALSE(host_.makeDeviceInfo());

    EXPECT_EQ(list.substr(0, 4096), ReadFile(kList));
    EXPECT_EQ(Strings({kNotWritten}), Records("som"));
}

TEST_F(COsInfoDeviceListTest, TakesALineForWrittenWhoseFirstByteFoundRoom)
{
    InstallScript("printf 1");
    const int status = InChild([this] {
        rlimit limit;
        if (::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || ::getrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 2;
        limit.rlim_cur = 1;
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 3;
        return host_.makeDeviceInfo() ? 0 : 1;
    });

    EXPECT_EQ(0, status);
    EXPECT_EQ("1", ReadFile(kList));
}

TEST_F(COsInfoDeviceListTest, FailsInSilenceWhenTheStatusIsUnknown)
{
    InstallScript("touch /opt/ran; echo 1 a b");
    WriteFile(kList, "before\n");

    EXPECT_EQ(0, InChildThatIgnoresSigchld([this] {
                  EXPECT_FALSE(host_.makeDeviceInfo());
                  return 0;
              }));

    EXPECT_TRUE(Exists("/opt/ran"));
    EXPECT_EQ("", ReadFile(kList));
    EXPECT_EQ(Strings(), Records("som"));
}

TEST_F(COsInfoDeviceListTest, IsEmptyWhenItsThreadIsCancelled)
{
    InstallScript("echo 0 1 2; exec sleep 100 2>/dev/null");
    const auto run = RunCancelled([this] { (void)host_.makeDeviceInfo(); });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_EQ("", ReadFile(kList));
}

TEST_F(COsInfoDeviceListTest, FailsInSilenceWithoutADescriptor)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind refuses a new file only after it has made it");
    InstallScript("touch /opt/ran; echo 1 a b");
    {
        const DescriptorLimit limit(1);  // for the list
        EXPECT_FALSE(host_.makeDeviceInfo());
    }
    EXPECT_FALSE(Exists("/opt/ran"));
    EXPECT_EQ("", ReadFile(kList));
    EXPECT_EQ(Strings(), Records("som"));
}

TEST_F(COsInfoDeviceListTest, IsEmptyWhereNoScratchFileCanBeMade)
{
    InstallScript("echo 1 a b");
    WriteFile(kList, "before\n");
    SmallDisk disk(kScratchDir, 4096);
    disk.MakeReadOnly();

    (void)CaptureStderr([this] { EXPECT_TRUE(host_.makeDeviceInfo()); });

    EXPECT_EQ("", ReadFile(kList));
    EXPECT_EQ(Strings(), Records("som"));
}

TEST_F(COsInfoDeviceListTest, HoldsTheOutputThatFoundRoom)
{
    InstallScript("yes '1 a b' | head -n 2000 2>/dev/null");
    {
        const SmallDisk disk(kScratchDir, 4096);
        (void)CaptureStderr([this] { EXPECT_TRUE(host_.makeDeviceInfo()); });
    }
    std::string list;
    for (int i = 0; i < 4096 / 6; ++i)
        list += "1-A-B\n";
    EXPECT_EQ(list + "1-A-\n", ReadFile(kList));  // 4096 is 682 records and "1 a "
}

TEST_F(COsInfoDeviceListTest, ListsTheDevicesOfThisMachine)
{
    WriteFile(kScript, ReadFile(DataPath("lspcimn.sh")));
    ASSERT_EQ(0, ::chmod(kScript, 0755));

    EXPECT_TRUE(host_.makeDeviceInfo());

    std::string expected;
    const Pattern device("^([^ ]+) [0-9a-f]{4}: ([0-9a-f]{4}):([0-9a-f]{4})( .*)?$");
    for (const std::string& line : Lines(RunShell("lspci -n 2>/dev/null").output)) {
        const Strings parts = device.Find(line);
        ASSERT_FALSE(parts.empty()) << line;
        expected += parts[1] + "-" + UpperCase(parts[2]) + "-" + UpperCase(parts[3]) + "\n";
    }
    EXPECT_EQ(expected, ReadFile(kList));
}

TEST_F(COsInfoDeviceListTest, ListsTheDevicesOfARecordedMachine)
{
    const ScopedEnv dump("LSPCI_DUMP", DataPath("devices.lspci").c_str());
    WriteFile(kScript, ReadFile(DataPath("lspcimn.sh")));
    ASSERT_EQ(0, ::chmod(kScript, 0755));

    EXPECT_TRUE(host_.makeDeviceInfo());

    EXPECT_EQ(
        "00:02.0-ABCD-12EF\n"
        "00:1f.2-8086-2922\n"
        "03:00.1-FEED-00C0\n",
        ReadFile(kList))
        << "The bus ff begins with no digit.";
}

}  // namespace
}  // namespace qor::test
