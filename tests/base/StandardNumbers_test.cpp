#include "base/StandardNumbers.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "support/Processes.h"

namespace qor::test {
namespace {

bool IsOpen(int number)
{
    return ::fcntl(number, F_GETFD) >= 0;
}

TEST(StandardNumbersTest, HoldWhatIsClosedAsLongAsTheyLive)
{
    const int status = InChild([] {
        (void)::close(STDIN_FILENO);
        (void)::close(STDOUT_FILENO);
        {
            const StandardNumbers numbers;
            EXPECT_TRUE(IsOpen(STDIN_FILENO));
            EXPECT_TRUE(IsOpen(STDOUT_FILENO));
            EXPECT_EQ(FD_CLOEXEC, ::fcntl(STDIN_FILENO, F_GETFD));
            EXPECT_EQ(-1, ::write(STDOUT_FILENO, "x", 1));
        }
        EXPECT_FALSE(IsOpen(STDIN_FILENO));
        EXPECT_FALSE(IsOpen(STDOUT_FILENO));
        return 0;
    });
    EXPECT_EQ(0, status);
}

TEST(StandardNumbersTest, LeaveOpenOnesAlone)
{
    const int status = InChild([] {
        const int next = ::dup(STDERR_FILENO);
        (void)::close(next);
        const StandardNumbers numbers;
        const int after = ::dup(STDERR_FILENO);
        EXPECT_EQ(next, after);
        return 0;
    });
    EXPECT_EQ(0, status);
}

TEST(StandardNumbersTest, HoldNothingWithoutDescriptors)
{
    const int status = InChild([] {
        (void)::close(STDIN_FILENO);
        const rlimit none = {0, 0};
        EXPECT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
        const StandardNumbers numbers;
        EXPECT_FALSE(IsOpen(STDIN_FILENO));
        return 0;
    });
    EXPECT_EQ(0, status);
}

}  // namespace
}  // namespace qor::test
