#include "CMutexUtil.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>
#include <list>
#include <thread>
#include <type_traits>

#include "support/Processes.h"
#include "support/Threads.h"
#include "support/WaitUntil.h"

namespace qor::test {
namespace {

static_assert(std::has_virtual_destructor<CMutexUtil>::value, "");

// What Lock gives on another thread.
int LockElsewhere(CMutexUtil& mutex, int timeout)
{
    int result = -1;
    std::thread([&] { result = mutex.Lock(timeout); }).join();
    return result;
}

// Lives as long as the program: for the cases in which nothing is left that could unlock it, and
// a locked mutex must not be destroyed, pthread_mutex_destroy(3).
CMutexUtil& EverlastingMutex()
{
    static auto& all = *new std::list<CMutexUtil>;
    all.emplace_back();
    EXPECT_TRUE(all.back().Create());
    return all.back();
}

class CMutexUtilTest : public testing::Test
{
protected:
    CMutexUtilTest() { EXPECT_TRUE(mutex_.Create()); }

    CMutexUtil mutex_;
};

TEST_F(CMutexUtilTest, LocksAndUnlocks)
{
    EXPECT_EQ(0, mutex_.Lock(-1));
    mutex_.Unlock();
    EXPECT_EQ(0, mutex_.Lock(-1));
    mutex_.Unlock();
}

TEST_F(CMutexUtilTest, IgnoresTheArgumentsOfItsCreation)
{
    int error = 7;
    CMutexUtil mutex;
    EXPECT_TRUE(mutex.Create(1, "name", &error));
    EXPECT_EQ(7, error);
    EXPECT_EQ(0, mutex.Lock(5));  // nobody owned it
    mutex.Unlock();
}

TEST_F(CMutexUtilTest, IsGivenAtOnceWhenFree)
{
    for (const int timeout : {5, 0, 1, -2, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(timeout);
        EXPECT_EQ(0, mutex_.Lock(timeout));
        mutex_.Unlock();
    }
}

// A relative wait of the last one would be stopped with the test.
TEST_F(CMutexUtilTest, TakesATimeOutAsAMomentOfThePast)
{
    for (const int timeout : {5, 0, 1, -2, INT_MIN, 1000000000}) {
        SCOPED_TRACE(timeout);
        CMutexUtil& mutex = EverlastingMutex();
        ASSERT_EQ(0, mutex.Lock(-1));
        EXPECT_EQ(ETIMEDOUT, LockElsewhere(mutex, timeout));
    }
}

TEST_F(CMutexUtilTest, WaitsUntilItIsFree)
{
    const int later = static_cast<int>(std::time(nullptr)) + 100;
    for (const int timeout : {-1, later}) {
        SCOPED_TRACE(timeout);
        ASSERT_EQ(0, mutex_.Lock(-1));
        std::atomic<pid_t> id{0};
        std::atomic<bool> locked{false};
        std::thread waiter([&] {
            id = static_cast<pid_t>(::syscall(SYS_gettid));
            EXPECT_EQ(0, mutex_.Lock(timeout));
            locked = true;
            mutex_.Unlock();
        });
        EXPECT_TRUE(WaitUntil([&] { return id != 0 && Sleeps(id); }));
        EXPECT_FALSE(locked);

        mutex_.Unlock();

        waiter.join();
        EXPECT_TRUE(locked);
    }
}

TEST_F(CMutexUtilTest, IsNotRecursive)
{
    CMutexUtil& mutex = EverlastingMutex();
    ASSERT_EQ(0, mutex.Lock(-1));
    EXPECT_EQ(ETIMEDOUT, mutex.Lock(5));
}

TEST_F(CMutexUtilTest, DoesNotUnlockBeforeTheFirstLock)
{
    CMutexUtil& mutex = EverlastingMutex();
    mutex.Unlock();
    EXPECT_EQ(0, mutex.Lock(5));
    EXPECT_EQ(ETIMEDOUT, LockElsewhere(mutex, 5));
}

TEST_F(CMutexUtilTest, DoesNotUnlockAfterATimeOut)
{
    CMutexUtil& mutex = EverlastingMutex();
    ASSERT_EQ(0, mutex.Lock(-1));
    std::thread([&mutex] {
        EXPECT_EQ(ETIMEDOUT, mutex.Lock(5));
        mutex.Unlock();
    }).join();
    EXPECT_EQ(ETIMEDOUT, LockElsewhere(mutex, 5));

    mutex.Unlock();  // the owner's, in vain too

    EXPECT_EQ(ETIMEDOUT, LockElsewhere(mutex, 5));
}

// Nothing orders what the two threads do: a race that the thread sanitizer would report.
TEST_F(CMutexUtilTest, MayTimeOutWhileItsHolderUnlocks)
{
    CMutexUtil& mutex = EverlastingMutex();
    ASSERT_EQ(0, mutex.Lock(-1));
    std::atomic<bool> timedOut{false};
    std::thread other([&] {
        EXPECT_EQ(ETIMEDOUT, mutex.Lock(5));
        timedOut.store(true, std::memory_order_relaxed);
    });
    while (!timedOut.load(std::memory_order_relaxed))
        std::this_thread::yield();

    mutex.Unlock();

    other.join();
}

TEST_F(CMutexUtilTest, KeepsThreadsApart)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 5000;
    int count = 0;
    OnThreads(kThreads, [&](std::size_t) {
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_EQ(0, mutex_.Lock(-1));
            ++count;
            mutex_.Unlock();
        }
    });
    EXPECT_EQ(kThreads * kRounds, count);
}

}  // namespace
}  // namespace qor::test
