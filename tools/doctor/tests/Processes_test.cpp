#include "Processes.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include "support/Files.h"
#include "support/PrivateDiskTest.h"

namespace doctor {
namespace {

// An empty directory in front of proc(5).
class NoProc
{
public:
    NoProc()
    {
        if (::mount("none", "/proc", "tmpfs", 0, nullptr) != 0)
            qor::test::ThrowErrno("mount /proc");
    }
    NoProc(const NoProc&) = delete;
    NoProc& operator=(const NoProc&) = delete;
    ~NoProc() { (void)::umount2("/proc", MNT_DETACH); }  // mounted above
};

class ProcessesTest : public qor::test::PrivateDiskTest
{
};

TEST_F(ProcessesTest, AreLookedAt)
{
    Report report;

    EXPECT_TRUE(ProcessesOfInstallation(report).empty());
    EXPECT_TRUE(report.NotSeen().empty());
}

TEST_F(ProcessesTest, AreNotLookedAtWithoutProc)
{
    Report report;
    {
        const NoProc noProc;
        EXPECT_TRUE(ProcessesOfInstallation(report).empty());
    }

    ASSERT_EQ(1U, report.NotSeen().size());
    EXPECT_EQ("/proc", report.NotSeen()[0].path);
    EXPECT_EQ("proc(5) is not mounted there: no process can be seen", report.NotSeen()[0].reason);
}

}  // namespace
}  // namespace doctor
