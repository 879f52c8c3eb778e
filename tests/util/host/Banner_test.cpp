// COsInfo's block in the login banner.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "COsInfo.h"
#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/HostTest.h"
#include "support/Interrupts.h"
#include "support/LogFiles.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/SmallDisk.h"
#include "support/Text.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kBanner[] = "/etc/motd";
constexpr char kBlock[] = "/opt/velmora/qor/etc/motd.dat";
constexpr char kMark[] = "/var/tmp/motds";
constexpr char kScratchCopy[] = "/tmp/motd";
constexpr char kBlockText[] = "-qor begin\nServed by qor.\nqor- end\n";

class COsInfoBannerTest : public HostTest
{
protected:
    // What is left of a banner when the blocks are removed.
    std::string WithoutBlocks(const std::string& banner)
    {
        WriteFile(kBanner, banner);
        host_.motd(false);
        EXPECT_FALSE(Exists(kScratchCopy));
        return ReadFile(kBanner);
    }

    const ReplacedFile banner_{kBanner, "site\n"};
    const ReplacedFile scratch_{kScratchCopy};
    COsInfo host_;
};

TEST_F(COsInfoBannerTest, HoldsTheBlockAloneHoweverOftenItIsAdded)
{
    WriteFile(kBlock, kBlockText);
    for (int i = 0; i < 3; ++i) {
        host_.motd(true);
        EXPECT_EQ(kBlockText, ReadFile(kBanner)) << "The site's own text is gone, as intended.";
    }
}

TEST_F(COsInfoBannerTest, TakesTheBlockByteForByte)
{
    const std::string block = "no marks\r\n\0\xff"s + std::string(100000, 'x');
    WriteFile(kBlock, block);
    host_.motd(true);
    EXPECT_EQ(block, ReadFile(kBanner));
}

TEST_F(COsInfoBannerTest, IsMadeWhenItIsMissing)
{
    RemoveTree(kBanner);
    WriteFile(kBlock, kBlockText);
    host_.motd(true);
    EXPECT_EQ(kBlockText, ReadFile(kBanner));
    EXPECT_EQ(0644U, FileMode(kBanner));
}

TEST_F(COsInfoBannerTest, IsEmptyAfterAddingABlockThatIsMissing)
{
    host_.motd(true);
    EXPECT_EQ("", ReadFile(kBanner));
    EXPECT_FALSE(Exists(kBlock));
}

TEST_F(COsInfoBannerTest, IsOnlyEmptiedWhenTheMarkIsFound)
{
    WriteFile(kBlock, kBlockText);
    WriteFile(kMark, "qor\n");

    host_.motd(true);

    EXPECT_EQ("", ReadFile(kBanner));
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(COsInfoBannerTest, IsEmptiedByTheCheckWhichLooksElsewhere)
{
    WriteFile(kBanner, kBlockText);
    EXPECT_FALSE(host_.isAlreadyMotd());
    EXPECT_EQ("", ReadFile(kBanner));
}

TEST_F(COsInfoBannerTest, IsThereAlreadyWhenTheMarksFileHoldsTheName)
{
    const struct {
        const char* content;
        bool found;
    } cases[] = {
        {"qor\n", true},  {"a\nxqory\nb", true}, {"-qor", true},     {"", false},
        {"QOR\n", false}, {"qo\nr\n", false},    {"q o r\n", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        WriteFile(kMark, c.content);
        WriteFile(kBanner, "site\n");
        EXPECT_EQ(c.found, host_.isAlreadyMotd());
        EXPECT_EQ("", ReadFile(kBanner));
        EXPECT_FALSE(Exists(kMark));
    }
}

TEST_F(COsInfoBannerTest, IsCheckedInSilence)
{
    EXPECT_EQ("", CaptureStderr([this] { EXPECT_FALSE(host_.isAlreadyMotd()); }));
}

TEST_F(COsInfoBannerTest, IsCheckedByASearchWhoseOutputIsThrownAway)
{
    const StubCommand grep("/usr/bin/grep",
                           "outputs=$(readlink /proc/$$/fd/1 /proc/$$/fd/2)\n"
                           "echo \"$# $*\n$outputs\" > /opt/called");
    EXPECT_TRUE(host_.isAlreadyMotd());
    EXPECT_EQ("2 qor /var/tmp/motds\n/dev/null\n/dev/null\n", ReadFile("/opt/called"));
}

TEST_F(COsInfoBannerTest, IsThereAlreadyExactlyWhenTheSearchSucceeds)
{
    for (const int status : {0, 1, 2, 127, 255}) {
        SCOPED_TRACE(status);
        const StubCommand grep("/usr/bin/grep", "exit " + std::to_string(status));
        EXPECT_EQ(status == 0, host_.isAlreadyMotd());
    }
    const ReplacedFile grep("/usr/bin/grep");
    EXPECT_FALSE(host_.isAlreadyMotd());
}

TEST_F(COsInfoBannerTest, IsNotThereWhenTheStatusIsUnknown)
{
    WriteFile(kMark, "qor\n");
    EXPECT_EQ(0, InChildThatIgnoresSigchld([this] {
                  EXPECT_FALSE(host_.isAlreadyMotd());
                  return 0;
              }));
    EXPECT_EQ("", ReadFile(kBanner));
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(COsInfoBannerTest, IsNotThereWhereTheCheckCannotWriteIt)
{
    RemoveTree(kBanner);
    MakeDirs(kBanner);
    WriteFile(kMark, "qor\n");
    (void)CaptureStderr([this] { EXPECT_FALSE(host_.isAlreadyMotd()); });
    EXPECT_FALSE(Exists(kMark));
}

TEST_F(COsInfoBannerTest, LosesWhatTheMarksEncloseAndTheLineAfterIt)
{
    const struct {
        const char* banner;
        const char* left;
    } cases[] = {
        {"A\n-qor\nx\nqor-\nB\nC\n", "A\nC\n"},
        {"", ""},
        {"A\n", "A\n"},
        {"A\n\n B\t\nC\r\n", "A\n\n B\t\nC\r\n"},
        {"-qor\nqor-\n", ""},
        {"-qor\nqor-\nB\n", ""},
        {"-qor\nqor-\nB\nC\n", "C\n"},
        {"-qor begin\nx\nqor- end\nB\nC\n", "C\n"},
        {"-qorx\nx\nqor-x\nB\nC\n", "C\n"},
        {"A\n-qor\nx\ny\n\nz\nqor-\n\nC\n", "A\nC\n"},
        {" -qor\nx\n qor-\n", " -qor\nx\n qor-\n"},
        {"-qo\nx\nor-\n", "-qo\nx\nor-\n"},
        {"-QOR\nqor-\nA\n", "-QOR\nqor-\nA\n"},
        {"qor-\nA\n", "qor-\nA\n"},
        {"-qor\n-qor\nqor-\nB\nC\n", "C\n"},
        {"A\n-qor\nx\n qor-\nqor\nB\n", "A\n"},
        // Several blocks; the line after one is dropped, also where it begins another.
        {"A\n-qor\nx\nqor-\nB\nC\n-qor\ny\nqor-\nD\nE\n", "A\nC\nE\n"},
        {"-qor\nx\nqor-\n-qor\ny\nqor-\nB\n", "y\nqor-\nB\n"},
        // A block that is not closed.
        {"A\n-qor\nx\nB\nC\n", "A\n"},
        {"A\n-qor\n", "A\n"},
        {"A\n-qor", "A\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.banner);
        EXPECT_EQ(c.left, WithoutBlocks(c.banner));
    }
}

TEST_F(COsInfoBannerTest, LosesALastLineWithoutLineFeed)
{
    EXPECT_EQ("A\n", WithoutBlocks("A\nB"));
    EXPECT_EQ("", WithoutBlocks("B"));
    EXPECT_EQ("A\n", WithoutBlocks("A\n-qor\nqor-\nB\nC"));
    EXPECT_EQ("A\n", WithoutBlocks("A\n-qor\nqor-"));
    EXPECT_EQ("A\n", WithoutBlocks("A\n-qor\nqor-\nB"));
}

TEST_F(COsInfoBannerTest, LosesAllFromALineOf128BytesOn)
{
    for (const std::size_t length : {126U, 127U, 128U, 129U, 1000U}) {
        SCOPED_TRACE(length);
        const std::string line(length, 'x');
        const std::string whole = "A\n" + line + "\nC\n";
        EXPECT_EQ(length < 128 ? whole : "A\n", WithoutBlocks(whole));
        EXPECT_EQ("A\n", WithoutBlocks("A\n" + line));
    }
}

TEST_F(COsInfoBannerTest, LosesAllFromALongLineInABlockOn)
{
    for (const std::size_t length : {126U, 127U, 128U, 129U}) {
        SCOPED_TRACE(length);
        const char* const left = length < 128 ? "A\nC\n" : "A\n";
        const std::string line(length - 4, 'x');
        EXPECT_EQ(left, WithoutBlocks("A\n-qor" + line + "\nx\nqor-\nB\nC\n"));
        EXPECT_EQ(left, WithoutBlocks("A\n-qor\nxxxx" + line + "\nqor-\nB\nC\n"));
        EXPECT_EQ(left, WithoutBlocks("A\n-qor\nx\nqor-" + line + "\nB\nC\n"));
        EXPECT_EQ(left, WithoutBlocks("A\n-qor\nx\nqor-\nxxxx" + line + "\nC\n"));
    }
}

TEST_F(COsInfoBannerTest, BeginsWithWhatTheScratchCopyHeldBefore)
{
    WriteFile(kScratchCopy, "old\n");
    EXPECT_EQ("old\nA\n", WithoutBlocks("A\n"));

    WriteFile(kScratchCopy, "old\n");
    EXPECT_EQ("old\n", WithoutBlocks("")) << "The empty banner, too.";

    WriteFile(kScratchCopy, "old");
    EXPECT_EQ("oldA\n", WithoutBlocks("A\n"));

    WriteFile(kScratchCopy, "-qor\n");
    EXPECT_EQ("C\n", WithoutBlocks("A\nqor-\nB\nC\n"));
}

TEST_F(COsInfoBannerTest, IsMadeByRemovingToo)
{
    RemoveTree(kBanner);
    host_.motd(false);
    EXPECT_EQ("", ReadFile(kBanner));
    EXPECT_EQ(0644U, FileMode(kBanner));
    EXPECT_FALSE(Exists(kScratchCopy));
}

TEST_F(COsInfoBannerTest, StaysTheSameFile)
{
    ASSERT_EQ(0, ::chmod(kBanner, 0600));
    struct stat before;
    ASSERT_EQ(0, ::stat(kBanner, &before));

    EXPECT_EQ("A\n", WithoutBlocks("A\n"));

    struct stat after;
    ASSERT_EQ(0, ::stat(kBanner, &after));
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(0600U, FileMode(kBanner));
}

TEST_F(COsInfoBannerTest, IsUntouchedWhenItsScratchCopyCannotBeMade)
{
    MakeDirs(kScratchCopy);
    host_.motd(false);
    EXPECT_EQ("site\n", ReadFile(kBanner));

    SmallDisk disk("/tmp", 4096);
    disk.MakeReadOnly();
    host_.motd(false);
    EXPECT_EQ("site\n", ReadFile(kBanner));
}

TEST_F(COsInfoBannerTest, IsUntouchedWhenItsScratchCopyFindsNoRoom)
{
    const std::string banner(8192, '\n');
    WriteFile(kBanner, banner);
    const SmallDisk disk("/tmp", 4096);

    host_.motd(false);

    EXPECT_EQ(banner, ReadFile(kBanner));
    EXPECT_EQ(Strings(), ListDir("/tmp"));
}

TEST_F(COsInfoBannerTest, IsUntouchedWhenItCannotBeReadOrWritten)
{
    for (const mode_t mode : {0200U, 0400U}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(0, ::chmod(kBanner, mode));
        {
            const WithoutPrivileges ordinary;
            host_.motd(false);
        }
        EXPECT_EQ("site\n", ReadFile(kBanner));
        EXPECT_FALSE(Exists(kScratchCopy));
    }
}

// Others can make files in /tmp: what they have planted is neither read nor written.
TEST_F(COsInfoBannerTest, IsUntouchedWhenTheScratchCopyIsPlanted)
{
    const std::string banner = "A\n-qor\nx\nqor-\nB\nC\n";
    WriteFile("/opt/other", "kept");
    for (const char* const target : {"/opt/other", "/opt/absent", kBanner}) {
        SCOPED_TRACE(target);
        ASSERT_EQ(0, ::symlink(target, kScratchCopy));
        EXPECT_EQ(banner, WithoutBlocks(banner));
        EXPECT_EQ("kept", ReadFile("/opt/other"));
        EXPECT_FALSE(Exists("/opt/absent"));
    }
}

TEST_F(COsInfoBannerTest, IsChangedToTheEndOnACancelledThread)
{
    WriteFile(kBanner, "A\n-qor\nx\nqor-\nB\nC\n");
    const auto removal = RunCancelled([this] { host_.motd(false); });
    EXPECT_TRUE(removal.returned);
    EXPECT_EQ("A\nC\n", ReadFile(kBanner));

    const auto addition = RunCancelled([this] { host_.motd(true); });
    EXPECT_FALSE(addition.returned) << "The thread may end at the command of the check.";
}

TEST_F(COsInfoBannerTest, IsLeftEmptyByAddingAndRemoving)
{
    WriteFile(kBlock, kBlockText);
    host_.motd(true);
    host_.motd(false);
    EXPECT_EQ("", ReadFile(kBanner));
}

TEST_F(COsInfoBannerTest, ChangesWithoutATrace)
{
    host_.motd(true);
    host_.motd(false);
    host_.copyFile("/opt/absent", "/opt/absent/too");
    EXPECT_EQ(Strings(), ListDir("/opt/velmora/qor/log"));
}

class COsInfoCopyFileTest : public HostTest
{
protected:
    COsInfo host_;
};

TEST_F(COsInfoCopyFileTest, AppendsTheWholeFile)
{
    std::string bytes = "a\r\n\0b"s;
    bytes += std::string(1 << 20, '\xff');
    for (const std::string& content : {""s, "a\n"s, "no line feed"s, bytes}) {
        SCOPED_TRACE(content.size());
        WriteFile("/opt/from", content);
        WriteFile("/opt/to", "before");
        host_.copyFile("/opt/from", "/opt/to");
        EXPECT_EQ("before" + content, ReadFile("/opt/to"));
        EXPECT_EQ(content, ReadFile("/opt/from"));
    }
}

TEST_F(COsInfoCopyFileTest, AppendsAtEachCall)
{
    WriteFile("/opt/from", "a");
    for (int i = 0; i < 3; ++i)
        host_.copyFile("/opt/from", "/opt/to");
    EXPECT_EQ("aaa", ReadFile("/opt/to"));
}

TEST_F(COsInfoCopyFileTest, MakesTheTargetWithTheModeThatTheMaskLeaves)
{
    for (const mode_t mask : {0U, 022U, 077U}) {
        SCOPED_TRACE(mask);
        WriteFile("/opt/from", "a");
        const mode_t former = ::umask(mask);
        host_.copyFile("/opt/from", "/opt/to");
        (void)::umask(former);
        EXPECT_EQ(0666U & ~mask, FileMode("/opt/to"));
        RemoveTree("/opt/to");
    }
}

TEST_F(COsInfoCopyFileTest, MakesTheTargetOfAMissingSourceOrADirectory)
{
    for (const char* const from : {"/opt/absent", "/opt/velmora"}) {
        SCOPED_TRACE(from);
        host_.copyFile(from, "/opt/to");
        EXPECT_EQ("", ReadFile("/opt/to"));

        WriteFile("/opt/to", "before");
        host_.copyFile(from, "/opt/to");
        EXPECT_EQ("before", ReadFile("/opt/to"));
        RemoveTree("/opt/to");
    }
    EXPECT_FALSE(Exists("/opt/absent"));
}

TEST_F(COsInfoCopyFileTest, LeavesTheSourceOfATargetThatCannotBeMade)
{
    WriteFile("/opt/from", "a");
    host_.copyFile("/opt/from", "/opt/absent/to");
    host_.copyFile("/opt/from", "/opt");
    host_.copyFile("/opt/from", "");
    EXPECT_EQ("a", ReadFile("/opt/from"));
    EXPECT_FALSE(Exists("/opt/absent"));
}

TEST_F(COsInfoCopyFileTest, LeavesAFileThatIsCopiedOntoItself)
{
    WriteFile("/opt/file", "a\n");
    ASSERT_EQ(0, ::symlink("/opt/file", "/opt/link"));
    ASSERT_EQ(0, ::link("/opt/file", "/opt/name"));
    for (const char* to : {"/opt/file", "/opt/./file", "/opt/link", "/opt/name"}) {
        SCOPED_TRACE(to);
        host_.copyFile("/opt/file", to);
        EXPECT_EQ("a\n", ReadFile("/opt/file"));
    }
}

TEST_F(COsInfoCopyFileTest, KeepsWhatFitsOnAFullDisk)
{
    const std::string content(10000, 'x');
    WriteFile("/opt/from", content);
    const SmallDisk disk("/opt/small", 4096);
    host_.copyFile("/opt/from", "/opt/small/to");
    EXPECT_EQ(content.substr(0, 4096), ReadFile("/opt/small/to"));
}

TEST_F(COsInfoCopyFileTest, ReadsAPipeToItsEnd)
{
    ASSERT_EQ(0, ::mkfifo("/opt/pipe", 0600));
    ChildProcess writer([] {
        WriteFile("/opt/pipe", "a\nb\n");
        return 0;
    });
    host_.copyFile("/opt/pipe", "/opt/to");
    EXPECT_EQ(0, writer.Wait());
    EXPECT_EQ("a\nb\n", ReadFile("/opt/to"));
}

TEST_F(COsInfoCopyFileTest, GoesOnReadingAndWritingWhenASignalInterruptsIt)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    EXPECT_EQ(0, ReadInterrupted("/opt/pipe", [this] {
                  host_.copyFile("/opt/pipe", "/opt/to");
                  return 0;
              }));
    EXPECT_EQ("text", ReadFile("/opt/to"));

    EXPECT_EQ("text", WriteInterrupted("/opt/full", [this] {
                  host_.copyFile("/opt/to", "/opt/full");
                  return 0;
              }));
}

TEST_F(COsInfoCopyFileTest, GoesOnOpeningWhenASignalInterruptsIt)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    WriteFile("/opt/from", "a\n");
    ASSERT_EQ(0, ::mkfifo("/opt/pipe", 0600));
    ChildProcess copier([this] {
        CatchInterrupts();
        host_.copyFile("/opt/from", "/opt/pipe");
        return 0;
    });

    EXPECT_TRUE(InterruptIn(copier, SYS_openat));

    const OwnedFd pipe(::open("/opt/pipe", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    EXPECT_EQ(0, copier.Wait());
    char text[3] = "";
    EXPECT_EQ(2, ::read(pipe.get(), text, 2));
    EXPECT_STREQ("a\n", text);
}

}  // namespace
}  // namespace qor::test
