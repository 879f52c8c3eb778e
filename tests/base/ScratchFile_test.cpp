#include "base/ScratchFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>
#include <type_traits>
#include <vector>

#include "base/TimeStamp.h"
#include "support/Cancellation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "support/HostTest.h"
#include "support/Memcheck.h"
#include "support/Processes.h"
#include "support/SmallDisk.h"
#include "support/Text.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

constexpr std::time_t kSecond = 1700000000;

int RunIn(const ScratchFile& scratch, const char* command)
{
    const CancelGuard guard;
    return scratch.Run(guard, command);
}

class ScratchFileTest : public HostTest
{
protected:
    const std::string first_ = ScratchName("00001700000000000042");
    const std::string second_ = ScratchName("00001700000000000043");
};

TEST_F(ScratchFileTest, IsAnEmptyFileThatOnlyItsOwnerMayUse)
{
    const mode_t mask = ::umask(0);
    const ScratchFile scratch;
    (void)::umask(mask);

    EXPECT_TRUE(Matches(kScratchPattern, scratch.path()));
    EXPECT_EQ("", ReadFile(scratch.path()));
    EXPECT_EQ(0600U, FileMode(scratch.path()));
}

TEST_F(ScratchFileTest, IsRemovedAtItsEnd)
{
    std::optional<ScratchFile> scratch;
    scratch.emplace();
    WriteFile(scratch->path(), "output");
    const std::string path = scratch->path();

    scratch.reset();

    EXPECT_FALSE(Exists(path));
}

TEST_F(ScratchFileTest, ToleratesThatSomebodyElseRemovedIt)
{
    const ScratchFile scratch;
    RemoveTree(scratch.path());

    EXPECT_EQ(0, RunIn(scratch, "echo again"));
    EXPECT_EQ("again\n", ReadFile(scratch.path()));
}

TEST_F(ScratchFileTest, IsNotCopied)
{
    static_assert(!std::is_copy_constructible_v<ScratchFile>, "two owners would remove one file");
    static_assert(!std::is_copy_assignable_v<ScratchFile>, "two owners would remove one file");
    const ScratchFile one;
    const ScratchFile other;

    EXPECT_NE(one.path(), other.path());
}

TEST_F(ScratchFileTest, TakesAFreshStampWhenAFileHasTheName)
{
    const FrozenTime frozen({{kSecond, 42}, {kSecond, 43}});
    WriteFile(first_, "somebody else's");
    {
        const ScratchFile scratch;
        EXPECT_EQ(second_, scratch.path());
    }
    EXPECT_EQ("somebody else's", ReadFile(first_));
    RemoveTree(first_);
}

TEST_F(ScratchFileTest, TriesAHundredStamps)
{
    std::vector<timeval> moments;
    for (suseconds_t i = 0; i <= 100; ++i)
        moments.push_back({kSecond, i});
    const auto take = [&](std::size_t moment) {
        WriteFile(ScratchName(FormatTimeStamp(moments[moment])), "somebody else's");
    };
    for (std::size_t i = 0; i < 99; ++i)
        take(i);
    {
        const FrozenTime frozen(moments);
        EXPECT_EQ(ScratchName("00001700000000000099"), ScratchFile().path());
    }
    take(99);
    {
        const FrozenTime frozen(moments);
        EXPECT_EQ("", ScratchFile().path());
    }
    EmptyDirectory(kScratchDir);
}

TEST_F(ScratchFileTest, NeverGoesThroughAPlantedLink)
{
    WriteFile("/opt/victim", "kept");
    for (const char* target : {"/opt/victim", "/opt/absent"}) {
        SCOPED_TRACE(target);
        const FrozenTime frozen({{kSecond, 42}, {kSecond, 43}});
        ASSERT_EQ(0, ::symlink(target, first_.c_str()));

        EXPECT_EQ(0, RunIn(ScratchFile(), "echo overwritten"));

        EXPECT_EQ("kept", ReadFile("/opt/victim"));
        EXPECT_FALSE(Exists("/opt/absent"));
        ASSERT_EQ(0, ::unlink(first_.c_str()));
    }
}

TEST_F(ScratchFileTest, GivesUpWhenEveryNameIsTaken)
{
    const FrozenTime frozen(kSecond, 42);
    ASSERT_EQ(0, ::symlink("/opt/absent", first_.c_str()));
    {
        const ScratchFile scratch;
        EXPECT_EQ("", scratch.path());
        EXPECT_EQ(-1, RunIn(scratch, "touch /opt/ran"));
    }
    EXPECT_FALSE(Exists("/opt/ran"));
    EXPECT_FALSE(Exists("/opt/absent"));
    EXPECT_EQ(0, ::unlink(first_.c_str())) << "The planted link is not ours to remove.";
}

TEST_F(ScratchFileTest, LeavesTheFailureToTheShellWhereNoFileCanBeMade)
{
    const auto fails = [] {
        const int status = RunIn(ScratchFile(), "touch /opt/ran");
        return WIFEXITED(status) && WEXITSTATUS(status) != 0;
    };
    (void)CaptureStderr([&] {
        {
            const SmallDisk var("/var", 4096);  // without a /var/tmp
            EXPECT_TRUE(fails());
            WriteFile("/var/tmp", "");
            EXPECT_TRUE(fails());
        }
        SmallDisk disk(kScratchDir, 4096);
        disk.MakeReadOnly();
        EXPECT_TRUE(fails());
    });
    EXPECT_FALSE(Exists("/opt/ran"));
}

TEST_F(ScratchFileTest, RunsNothingWhereOnlyTheCommandMayWrite)
{
    ASSERT_EQ(0, ::chmod(kScratchDir, 0555));
    int status = 0;
    {
        const WithoutPrivileges ordinary;
        status = RunIn(ScratchFile(), "touch /opt/ran");
    }
    ASSERT_EQ(0, ::chmod(kScratchDir, 01777));

    EXPECT_EQ(-1, status);
    EXPECT_FALSE(Exists("/opt/ran"));
}

TEST_F(ScratchFileTest, RunsNothingWithoutADescriptor)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind refuses a new file only after it has made it");
    {
        const DescriptorLimit none;
        EXPECT_EQ(-1, RunIn(ScratchFile(), "touch /opt/ran"));
    }
    EXPECT_FALSE(Exists("/opt/ran"));
}

TEST_F(ScratchFileTest, TakesTheOutputOfACommand)
{
    const ScratchFile scratch;

    EXPECT_EQ(0, RunIn(scratch, "printf 'a  b\\n\\200'"));

    EXPECT_EQ("a  b\n\200", ReadFile(scratch.path()));
    EXPECT_EQ(0600U, FileMode(scratch.path()));
}

TEST_F(ScratchFileTest, HoldsTheOutputOfTheLastCommandOnly)
{
    const ScratchFile scratch;
    EXPECT_EQ(0, RunIn(scratch, "echo a long answer"));
    EXPECT_EQ(0, RunIn(scratch, "echo b"));
    EXPECT_EQ("b\n", ReadFile(scratch.path()));

    EXPECT_EQ(0, RunIn(scratch, "true"));
    EXPECT_EQ("", ReadFile(scratch.path()));
}

TEST_F(ScratchFileTest, ReturnsTheRawStatusOfTheShell)
{
    const ScratchFile scratch;
    EXPECT_EQ(3 << 8, RunIn(scratch, "exit 3"));
    EXPECT_EQ(255 << 8, RunIn(scratch, "exit 255"));
    EXPECT_EQ(SIGTERM, RunIn(scratch, "kill -TERM $$"));
}

TEST_F(ScratchFileTest, IsRemovedWhenTheStatusIsUnknown)
{
    EXPECT_EQ(0, InChildThatIgnoresSigchld([] {
                  EXPECT_EQ(-1, RunIn(ScratchFile(), "echo a"));
                  EXPECT_EQ(Strings(), ListDir(kScratchDir));
                  return 0;
              }));
}

// A C library may report a shell that it could not start as one that exited with 127 (glibc 2.36).
TEST_F(ScratchFileTest, IsRemovedWhenNoProcessCanBeStarted)
{
    EXPECT_EQ(0, InChildWithoutProcesses([] {
                  const int status = RunIn(ScratchFile(), "true");
                  EXPECT_TRUE(status == -1 || status == 127 << 8) << status;
                  EXPECT_EQ(Strings(), ListDir(kScratchDir));
                  return 0;
              }));
}

TEST_F(ScratchFileTest, IsRemovedWhenItsThreadIsCancelled)
{
    std::string path;
    const auto run = RunCancelled([&] {
        const CancelGuard guard;
        const ScratchFile scratch;
        path = scratch.path();
        (void)scratch.Run(guard, "exec sleep 100 2>/dev/null");
    });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_TRUE(Matches(kScratchPattern, path));
    EXPECT_EQ(Strings(), ListDir(kScratchDir));
}

TEST_F(ScratchFileTest, IsMadeAndRemovedByACancelledThread)
{
    const auto run = RunCancelled([] { EXPECT_TRUE(Exists(ScratchFile().path())); });

    EXPECT_TRUE(run.returned);
    EXPECT_TRUE(run.cancelled);
}

TEST_F(ScratchFileTest, LosesTheOutputOnAFullDisk)
{
    SmallDisk disk(kScratchDir, 4096);
    disk.Fill();
    {
        const ScratchFile scratch;
        EXPECT_NE(0, RunIn(scratch, "echo a 2>/dev/null"));
        EXPECT_EQ("", ReadFile(scratch.path()));
    }
    EXPECT_EQ(Strings({"filler"}), ListDir(kScratchDir));
}

TEST_F(ScratchFileTest, LeavesNoDescriptorToItsCommand)
{
    const ScratchFile scratch;

    EXPECT_EQ(0, RunIn(scratch, "exec ls -l /proc/self/fd/ 2>/dev/null"));

    const std::string listed = ReadFile(scratch.path());
    EXPECT_NE(std::string::npos, listed.find(" 1 -> " + scratch.path()));
    EXPECT_EQ(listed.find(scratch.path()), listed.rfind(scratch.path())) << listed;
}

class CreateExclusivelyTest : public HostTest
{
};

TEST_F(CreateExclusivelyTest, MakesAnEmptyFileWithTheModeThatTheMaskLeaves)
{
    const struct {
        mode_t mode;
        mode_t mask;
        mode_t result;
    } cases[] = {{0600, 0, 0600}, {0666, 0, 0666}, {0666, 022, 0644}, {0666, 077, 0600}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mask);
        const mode_t mask = ::umask(c.mask);
        EXPECT_TRUE(CreateExclusively("/opt/file", c.mode));
        (void)::umask(mask);
        EXPECT_EQ("", ReadFile("/opt/file"));
        EXPECT_EQ(c.result, FileMode("/opt/file"));
        RemoveTree("/opt/file");
    }
}

TEST_F(CreateExclusivelyTest, LeavesWhatIsThereAlready)
{
    WriteFile("/opt/file", "kept");
    MakeDirs("/opt/directory");
    ASSERT_EQ(0, ::symlink("/opt/file", "/opt/link"));
    ASSERT_EQ(0, ::symlink("/opt/absent", "/opt/dangling"));
    for (const char* path : {"/opt/file", "/opt/directory", "/opt/link", "/opt/dangling"}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(CreateExclusively(path, 0600));
        EXPECT_EQ(EEXIST, errno);
    }
    EXPECT_EQ("kept", ReadFile("/opt/file"));
    EXPECT_FALSE(Exists("/opt/absent"));
}

TEST_F(CreateExclusivelyTest, SetsErrnoWhenItCannot)
{
    MakeDirs("/opt/closed");
    ASSERT_EQ(0, ::chmod("/opt/closed", 0500));

    EXPECT_FALSE(CreateExclusively("/opt/absent/file", 0600));
    EXPECT_EQ(ENOENT, errno);

    const WithoutPrivileges ordinary;
    EXPECT_FALSE(CreateExclusively("/opt/closed/file", 0600));
    EXPECT_EQ(EACCES, errno);
}

TEST_F(ScratchFileTest, IsEmptyWhenItWasCleared)
{
    const ScratchFile scratch;
    EXPECT_EQ(0, RunIn(scratch, "echo text"));

    scratch.Clear();

    EXPECT_EQ("", ReadFile(scratch.path()));
    EXPECT_EQ(0, RunIn(scratch, "echo more"));
    EXPECT_EQ("more\n", ReadFile(scratch.path()));
}

}  // namespace
}  // namespace qor::test
