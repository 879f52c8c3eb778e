#include "base/ThreadId.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
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

// 0 when the calling process, which has one thread, is given its own id.
int OwnIdIsGiven()
{
    return ThreadId() == ::getpid() ? 0 : 1;
}

TEST(ThreadIdTest, IsTheChildsAfterAFork)
{
    const pid_t parent = ThreadId();

    EXPECT_EQ(0, test::InChild(OwnIdIsGiven));
    EXPECT_EQ(parent, ThreadId());
}

TEST(ThreadIdTest, IsTheChildsAfterAForkOfAnotherThread)
{
    int status = -1;
    std::thread([&] {
        (void)ThreadId();
        status = test::InChild(OwnIdIsGiven);
    }).join();

    EXPECT_EQ(0, status);
}

// Of two children in a row only the second asks: its number must not be that of its grandparent.
TEST(ThreadIdTest, IsTheGrandchildsAfterTwoForks)
{
    (void)ThreadId();

    EXPECT_EQ(0, test::InChild([] { return test::InChild(OwnIdIsGiven); }));
    EXPECT_EQ(0, test::InChild([] {
                  (void)ThreadId();
                  return test::InChild(OwnIdIsGiven);
              }));
}

// The first two of clone(2), flags and stack, which have changed places on s390x.
#ifdef __s390x__
#define QOR_CLONE_ARGUMENTS 0, SIGCHLD
#else
#define QOR_CLONE_ARGUMENTS SIGCHLD, 0
#endif

// These run no handler of pthread_atfork(3).
TEST(ThreadIdTest, IsTheChildsHoweverTheChildWasMade)
{
    static const struct {
        const char* name;
        pid_t (*fork)();
    } cases[] = {
#if __GLIBC_PREREQ(2, 34)
        {"_Fork", [] { return ::_Fork(); }},
#endif
#ifdef SYS_fork
        {"fork(2)", [] { return static_cast<pid_t>(::syscall(SYS_fork)); }},
#endif
        {"clone(2)",
         [] { return static_cast<pid_t>(::syscall(SYS_clone, QOR_CLONE_ARGUMENTS, 0, 0, 0)); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        (void)ThreadId();
        const pid_t child = c.fork();
        if (child == 0)
            ::_exit(OwnIdIsGiven());
        int status = -1;
        EXPECT_EQ(child, ::waitpid(child, &status, 0));
        EXPECT_EQ(0, status);
    }
}

}  // namespace
}  // namespace qor
