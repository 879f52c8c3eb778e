#include "CDateTimeUtil.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <limits>
#include <string>
#include <type_traits>

#include "support/FrozenTime.h"
#include "support/ScopedEnv.h"
#include "support/Text.h"

namespace qor::test {
namespace {

static_assert(std::has_virtual_destructor<CDateTimeUtil>::value, "");

// 2024-03-05 07:08:09 UTC.
constexpr std::time_t kMoment = 1709622489;

// Nothing else makes one.
TEST(CDateTimeUtilTest, DestroysADerivedObjectThroughItsBase)
{
    bool destroyed = false;
    struct Derived : CDateTimeUtil {
        explicit Derived(bool& flag) : flag_(flag) {}
        ~Derived() override { flag_ = true; }
        bool& flag_;
    };
    const CDateTimeUtil* const base = new Derived(destroyed);

    delete base;
    EXPECT_TRUE(destroyed);
}

TEST(CDateTimeUtilTest, AppendsTheTimeStamp)
{
    const FrozenTime frozen({{1700000000, 42}, {0, 0}});
    std::string text = "at ";

    CDateTimeUtil::GetTimeVal(text);
    EXPECT_EQ("at 00001700000000000042", text);

    CDateTimeUtil::GetTimeVal(text);
    EXPECT_EQ("at 0000170000000000004200000000000000000000", text);
}

TEST(CDateTimeUtilTest, GivesLocalTimeWithTheFullYearAndTheMonthFromOne)
{
    const FrozenTime frozen(kMoment);
    const ScopedTimeZone zone("JST-9");

    const std::tm* const now = CDateTimeUtil::GetLocalTime(nullptr);

    ASSERT_NE(nullptr, now);
    EXPECT_EQ(2024, now->tm_year);
    EXPECT_EQ(3, now->tm_mon);
    EXPECT_EQ(5, now->tm_mday);
    EXPECT_EQ(16, now->tm_hour);
    EXPECT_EQ(8, now->tm_min);
    EXPECT_EQ(9, now->tm_sec);
    EXPECT_EQ(2, now->tm_wday);
    EXPECT_EQ(64, now->tm_yday);
}

TEST(CDateTimeUtilTest, CountsMonthsFromOneToTwelve)
{
    const ScopedTimeZone zone("UTC0");
    {
        const FrozenTime january(1704067200);  // 2024-01-01 00:00:00
        EXPECT_EQ(1, CDateTimeUtil::GetLocalTime(nullptr)->tm_mon);
    }
    const FrozenTime december(1735689599);  // 2024-12-31 23:59:59
    EXPECT_EQ(12, CDateTimeUtil::GetLocalTime(nullptr)->tm_mon);
    EXPECT_EQ(2024, CDateTimeUtil::GetLocalTime(nullptr)->tm_year);
}

TEST(CDateTimeUtilTest, GivesNoLocalTimeWhoseYearDoesNotFit)
{
    const FrozenTime frozen(std::numeric_limits<std::time_t>::max());

    EXPECT_EQ(nullptr, CDateTimeUtil::GetLocalTime(nullptr));
}

TEST(CDateTimeUtilTest, LeavesTheArgumentOfGetLocalTimeAlone)
{
    std::tm given;
    std::memset(&given, 0x5A, sizeof given);
    const std::tm before = given;

    EXPECT_NE(&given, CDateTimeUtil::GetLocalTime(&given));

    EXPECT_EQ(0, std::memcmp(&before, &given, sizeof given));
}

TEST(CDateTimeUtilTest, SharesTheRecordOfTheCLibrary)
{
    const ScopedTimeZone zone("UTC0");
    const std::tm* const now = CDateTimeUtil::GetLocalTime(nullptr);

    const std::time_t epoch = 0;
    EXPECT_EQ(std::localtime(&epoch), now);

    EXPECT_EQ(70, now->tm_year);
}

TEST(CDateTimeUtilTest, FormatsLocalTime)
{
    static const struct {
        const char* zone;
        std::time_t time;
        const char* text;
    } cases[] = {
        {"UTC0", kMoment, "2024/03/05 07:08:09"},
        {"JST-9", kMoment, "2024/03/05 16:08:09"},
        {"UTC0", 0, "1970/01/01 00:00:00"},
        {"UTC0", 1735689599, "2024/12/31 23:59:59"},
        {"UTC0", -62135596800, "0001/01/01 00:00:00"},
        {"UTC0", 253402300800, "10000/01/01 00:00:00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const ScopedTimeZone zone(c.zone);
        const FrozenTime frozen(c.time);
        EXPECT_EQ(c.text, CDateTimeUtil::GetNowDateTime1());
    }
}

TEST(CDateTimeUtilTest, GivesTheRealTime)
{
    const ScopedTimeZone zone("UTC0");
    const std::time_t before = std::time(nullptr);
    std::string stamp;
    CDateTimeUtil::GetTimeVal(stamp);
    const std::string text = CDateTimeUtil::GetNowDateTime1();
    const std::time_t after = std::time(nullptr);

    ASSERT_TRUE(Matches("[0-9]{20}", stamp)) << stamp;
    EXPECT_LE(before, std::stol(stamp.substr(0, 14)));
    EXPECT_GE(after, std::stol(stamp.substr(0, 14)));
    std::tm parsed = {};
    ASSERT_NE(nullptr, ::strptime(text.c_str(), "%Y/%m/%d %H:%M:%S", &parsed));
    EXPECT_LE(before, ::timegm(&parsed));
    EXPECT_GE(after, ::timegm(&parsed));
}

}  // namespace
}  // namespace qor::test
