#include "base/TimeStamp.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "support/FrozenTime.h"

namespace qor::test {
namespace {

TEST(TimeStampTest, HasFourteenDigitsOfSecondsAndSixOfMicroseconds)
{
    static const struct {
        timeval time;
        const char* text;
    } cases[] = {
        {{1700000000, 42}, "00001700000000000042"},
        {{0, 0}, "00000000000000000000"},
        {{1, 999999}, "00000000000001999999"},
        {{99999999999999, 1}, "99999999999999000001"},
        // More digits than there is room for are not cut.
        {{100000000000000, 0}, "100000000000000000000"},
        {{0, 1000000}, "000000000000001000000"},
        {{-1, 0}, "18446744073709551615000000"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.text, FormatTimeStamp(c.time));
    }
}

// printf(3) spells it: at least 14 and 6 digits.
TEST(TimeStampTest, IsWhatPrintfMakesOfAnyNumbers)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const timeval time = {static_cast<std::time_t>(random() >> random() % 64),
                              static_cast<suseconds_t>(random() >> random() % 64)};
        char text[64];
        (void)std::snprintf(text, sizeof text, "%14.14lu%6.6lu",
                            static_cast<unsigned long>(time.tv_sec),
                            static_cast<unsigned long>(time.tv_usec));
        ASSERT_EQ(text, FormatTimeStamp(time));
    }
}

TEST(TimeStampTest, SortsAsTimeDoes)
{
    EXPECT_LT(FormatTimeStamp({999999999, 999999}), FormatTimeStamp({1000000000, 0}));
    EXPECT_LT(FormatTimeStamp({1700000000, 9}), FormatTimeStamp({1700000000, 10}));
    EXPECT_EQ(kTimeStampLength, FormatTimeStamp(Now()).size());
}

TEST(TimeStampTest, IsOfTheWallClock)
{
    const FrozenTime frozen(1700000000, 42);
    const timeval now = Now();
    EXPECT_EQ(1700000000, now.tv_sec);
    EXPECT_EQ(42, now.tv_usec);
}

}  // namespace
}  // namespace qor::test
