#include "base/Sleep.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>

#include "support/Cancellation.h"

namespace qor {
namespace {

volatile std::sig_atomic_t alarms = 0;

// SIGALRM every millisecond, which ends the system call that it meets.
class Alarms
{
public:
    Alarms()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { alarms = alarms + 1; };  // and no SA_RESTART
        (void)::sigaction(SIGALRM, &action, &former_);
        const itimerval timer = {{0, 1000}, {0, 1000}};
        (void)::setitimer(ITIMER_REAL, &timer, nullptr);
    }
    Alarms(const Alarms&) = delete;
    Alarms& operator=(const Alarms&) = delete;
    ~Alarms()
    {
        const itimerval none = {};
        (void)::setitimer(ITIMER_REAL, &none, nullptr);
        (void)::sigaction(SIGALRM, &former_, nullptr);
    }

private:
    struct sigaction former_ = {};
};

TEST(SleepTest, IsNotShortenedBySignals)
{
    const Alarms every;
    const auto begin = std::chrono::steady_clock::now();

    SleepMicroseconds(30000);

    EXPECT_LE(std::chrono::milliseconds(30), std::chrono::steady_clock::now() - begin);
    EXPECT_LT(0, alarms);  // a sanitizer may keep further ones until the sleep is over
}

TEST(SleepTest, IsACancellationPoint)
{
    const auto run = test::RunCancelled([] { SleepMicroseconds(1); });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
}

}  // namespace
}  // namespace qor
