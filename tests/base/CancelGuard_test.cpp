#include "base/CancelGuard.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/Cancellation.h"

namespace qor {
namespace {

// Counts the destructors that a cancelled thread runs.
struct Mark {
    explicit Mark(int& count) : count_(count) {}
    ~Mark() { ++count_; }
    int& count_;
};

int State()
{
    int state = -1;
    (void)::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    (void)::pthread_setcancelstate(state, nullptr);
    return state;
}

TEST(CancelGuardTest, LetsAnOperationComeToItsEnd)
{
    bool passed = false;
    const auto run = test::RunCancelled([&] {
        const CancelGuard guard;
        ::pthread_testcancel();
        (void)::usleep(1);
        passed = true;
    });

    EXPECT_TRUE(passed);
    EXPECT_TRUE(run.returned);
    EXPECT_TRUE(run.cancelled);
}

TEST(CancelGuardTest, EndsTheThreadAtTheNextCancellationPointAfterIt)
{
    bool passed = false;
    const auto run = test::RunCancelled([&] {
        {
            const CancelGuard guard;
        }
        ::pthread_testcancel();
        passed = true;
    });

    EXPECT_FALSE(passed);
    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
}

TEST(CancelGuardTest, GivesTheCallersStateBack)
{
    {
        const CancelGuard outer;
        {
            const CancelGuard inner;
            EXPECT_EQ(PTHREAD_CANCEL_DISABLE, State());
        }
        EXPECT_EQ(PTHREAD_CANCEL_DISABLE, State());
    }

    EXPECT_EQ(PTHREAD_CANCEL_ENABLE, State());
}

TEST(CancelWindowTest, EndsTheThreadAndRunsItsDestructors)
{
    int ended = 0;
    bool passed = false;
    const auto run = test::RunCancelled([&] {
        const CancelGuard guard;
        const Mark mark(ended);
        const CancelWindow window(guard);
        (void)::usleep(1);
        passed = true;
    });

    EXPECT_FALSE(passed);
    EXPECT_TRUE(run.cancelled);
    EXPECT_EQ(1, ended);
}

TEST(CancelWindowTest, ClosesAgainAtItsEnd)
{
    const CancelGuard guard;
    {
        const CancelWindow window(guard);
        EXPECT_EQ(PTHREAD_CANCEL_ENABLE, State());
    }

    EXPECT_EQ(PTHREAD_CANCEL_DISABLE, State());
}

TEST(CancelWindowTest, StaysClosedForACallerThatForbidsCancellation)
{
    bool passed = false;
    const auto run = test::RunCancelled([&] {
        const CancelGuard callers;
        const CancelGuard guard;
        const CancelWindow window(guard);
        (void)::usleep(1);
        passed = true;
    });

    EXPECT_TRUE(passed);
    EXPECT_TRUE(run.cancelled);
}

}  // namespace
}  // namespace qor
