#include "tool/Watchdog.h"

#include <gtest/gtest.h>

#include <future>

namespace one_request {
namespace {

TEST(WatchdogTest, BarksWhenTheTimeIsOver)
{
    std::promise<void> barked;
    const Watchdog watchdog(std::chrono::seconds(0), [&barked] { barked.set_value(); });

    EXPECT_EQ(std::future_status::ready, barked.get_future().wait_for(std::chrono::seconds(30)));
}

TEST(WatchdogTest, StaysQuietWhenItIsCalledOff)
{
    bool barked = false;
    {
        const Watchdog watchdog(std::chrono::hours(1), [&barked] { barked = true; });
    }

    EXPECT_FALSE(barked);
}

}  // namespace
}  // namespace one_request
