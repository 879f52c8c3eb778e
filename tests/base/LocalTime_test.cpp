#include "base/LocalTime.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "support/FrozenTime.h"
#include "support/ScopedEnv.h"
#include "support/Threads.h"

namespace qor {
namespace {

using test::FrozenTime;
using test::OnThreads;
using test::ScopedEnv;
using test::ScopedTimeZone;

constexpr std::time_t kMoment = 1794731358;  // 2026/11/15 08:29:18 UTC

// Each thread has its own text of the second: a new one begins without.
void OnANewThread(const std::function<void()>& function)
{
    std::thread(function).join();
}

TEST(LocalTimeTest, BreaksDownLocalTime)
{
    const ScopedTimeZone newYork("EST5EDT,M3.2.0,M11.1.0");
    static const struct {
        std::time_t time;
        const char* text;
        int isDst;
    } cases[] = {
        {kMoment, "2026/11/15 03:29:18", 0},    {1785542400, "2026/07/31 20:00:00", 1},
        {0, "1969/12/31 19:00:00", 0},          {-1, "1969/12/31 18:59:59", 0},
        {1709164800, "2024/02/28 19:00:00", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const std::tm local = BreakDownLocalTime(c.time);
        EXPECT_EQ(c.text, FormatLocalTime(local));
        EXPECT_EQ(c.isDst, local.tm_isdst);
    }
}

TEST(LocalTimeTest, LooksTheTimeZoneUpAgain)
{
    const ScopedTimeZone utc("UTC0");
    EXPECT_EQ(8, BreakDownLocalTime(kMoment).tm_hour);

    const ScopedEnv tokyo("TZ", "JST-9");  // nobody calls tzset
    EXPECT_EQ(17, BreakDownLocalTime(kMoment).tm_hour);
}

TEST(LocalTimeTest, GivesTheEpochForAYearThatDoesNotFit)
{
    const ScopedTimeZone utc("UTC0");

    EXPECT_EQ("1970/01/01 00:00:00",
              FormatLocalTime(BreakDownLocalTime(std::numeric_limits<std::time_t>::max())));
}

TEST(LocalTimeTest, FormatsWithLeadingZeros)
{
    std::tm local = {};
    local.tm_year = 2024 - 1900;
    local.tm_mon = 2;
    local.tm_mday = 5;
    local.tm_hour = 7;
    local.tm_min = 8;
    local.tm_sec = 9;
    EXPECT_EQ("2024/03/05 07:08:09", FormatLocalTime(local));

    local.tm_year = 5 - 1900;
    EXPECT_EQ("0005/03/05 07:08:09", FormatLocalTime(local));
}

TEST(LocalTimeTest, FormatsTheLongestNumbers)
{
    const int least = std::numeric_limits<int>::min();
    std::tm local = {};
    local.tm_year = std::numeric_limits<int>::max() - 1900;
    local.tm_mon = local.tm_mday = local.tm_hour = local.tm_min = local.tm_sec = least;

    EXPECT_EQ("2147483647/-2147483647/-2147483648 -2147483648:-2147483648:-2147483648",
              FormatLocalTime(local));
    local.tm_year = least;
    EXPECT_EQ("-2147481748/-2147483647/-2147483648 -2147483648:-2147483648:-2147483648",
              FormatLocalTime(local));
}

TEST(LocalTimeTest, GivesTheTimeOfThisSecond)
{
    OnANewThread([] {
        const ScopedTimeZone utc("UTC0");
        for (const std::time_t second : {std::time_t{0}, kMoment, kMoment + 1, kMoment - 1}) {
            const FrozenTime clock(second);
            EXPECT_EQ(FormatLocalTime(BreakDownLocalTime(second)), LocalTimeOfThisSecond());
        }
    });
}

TEST(LocalTimeTest, ShowsAChangedTimeZoneFromTheNextSecondOn)
{
    OnANewThread([] {
        const ScopedTimeZone utc("UTC0");
        {
            const FrozenTime clock(kMoment);
            EXPECT_STREQ("2026/11/15 08:29:18", LocalTimeOfThisSecond());
        }
        const ScopedTimeZone tokyo("JST-9");
        const FrozenTime clock(kMoment + 1);
        EXPECT_STREQ("2026/11/15 17:29:19", LocalTimeOfThisSecond());
    });
}

TEST(LocalTimeTest, KeepsTheTextOfOneThreadFromOthers)
{
    OnANewThread([] {
        const ScopedTimeZone utc("UTC0");
        const char* mine = nullptr;
        {
            const FrozenTime clock(kMoment);
            mine = LocalTimeOfThisSecond();
        }
        const FrozenTime clock(kMoment + 60);
        OnANewThread([] { EXPECT_STREQ("2026/11/15 08:30:18", LocalTimeOfThisSecond()); });
        EXPECT_STREQ("2026/11/15 08:29:18", mine);
        EXPECT_STREQ("2026/11/15 08:30:18", LocalTimeOfThisSecond());
    });
}

// Begun before the thread first asks for the time, so that it ends after what that keeps.
struct AsksAtTheEndOfItsThread {
    ~AsksAtTheEndOfItsThread() { *answer = LocalTimeOfThisSecond(); }
    std::string* answer = nullptr;
};

TEST(LocalTimeTest, GivesTheTimeWhileItsThreadEnds)
{
    const ScopedTimeZone utc("UTC0");
    const FrozenTime clock(kMoment);
    std::string answer;

    OnANewThread([&] {
        static thread_local AsksAtTheEndOfItsThread atEnd;
        atEnd.answer = &answer;
        (void)LocalTimeOfThisSecond();
    });

    EXPECT_EQ("2026/11/15 08:29:18", answer);
}

TEST(LocalTimeTest, GivesTheTimeOnSeveralThreadsAtOnce)
{
    const ScopedTimeZone tokyo("JST-9");
    std::vector<std::string> wrong(4);
    OnThreads(wrong.size(), [&wrong](std::size_t t) {
        for (int i = 0; i < 2000; ++i) {
            const std::time_t time = kMoment + static_cast<std::time_t>(t) * 86400;
            const std::string text = FormatLocalTime(BreakDownLocalTime(time));
            if (text != "2026/11/" + std::to_string(15 + t) + " 17:29:18")
                wrong[t] = text;
        }
    });

    EXPECT_EQ(std::vector<std::string>(4), wrong);
}

}  // namespace
}  // namespace qor
