#include "base/ThreadId.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <thread>

#include "support/Processes.h"

namespace qor {
namespace {

pid_t KernelThreadId()
{
    return static_cast<pid_t>(::syscall(SYS_gettid));
}

TEST(ThreadIdTest, IsTheKernelsId)
{
    EXPECT_EQ(KernelThreadId(), ThreadId());
    EXPECT_EQ(::getpid(), ThreadId());
}

TEST(ThreadIdTest, StaysTheSame)
{
    const pid_t first = ThreadId();

    EXPECT_EQ(first, ThreadId());
}

TEST(ThreadIdTest, DiffersFromThreadToThread)
{
    pid_t other = 0;
    pid_t kernels = 0;
    std::thread([&] {
        other = ThreadId();
        kernels = KernelThreadId();
    }).join();

    EXPECT_EQ(kernels, other);
    EXPECT_NE(other, ThreadId());
}

TEST(ThreadIdTest, IsTheChildsAfterAFork)
{
    const pid_t parent = ThreadId();

    EXPECT_EQ(0, test::InChild([parent] {
                  return ThreadId() == ::getpid() && ThreadId() != parent ? 0 : 1;
              }));
    EXPECT_EQ(parent, ThreadId());
}

TEST(ThreadIdTest, IsTheChildsAfterAForkOfAnotherThread)
{
    int status = -1;
    std::thread([&] {
        (void)ThreadId();
        status = test::InChild([] { return ThreadId() == ::getpid() ? 0 : 1; });
    }).join();

    EXPECT_EQ(0, status);
}

TEST(ThreadIdTest, IsTheGrandchildsAfterTwoForks)
{
    (void)ThreadId();

    EXPECT_EQ(0, test::InChild([] {
                  (void)ThreadId();
                  return test::InChild([] { return ThreadId() == ::getpid() ? 0 : 1; });
              }));
}

}  // namespace
}  // namespace qor
