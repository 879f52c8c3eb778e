#include "provider/DeviceList.h"

#include <gtest/gtest.h>

#include <sstream>

namespace one_request {
namespace {

std::vector<Device> Parse(const std::string& text)
{
    std::istringstream lines(text);
    return ParseDeviceList(lines);
}

TEST(DeviceListTest, TakesSlotVendorAndDevice)
{
    const std::vector<Device> devices = Parse("0000:00:1f.2-8086-2922\n10000:a0:00.0-ABCD-12EF\n");

    ASSERT_EQ(2U, devices.size());
    EXPECT_EQ("0000:00:1f.2", devices[0].slot);
    EXPECT_EQ("8086", devices[0].vendorId);
    EXPECT_EQ("2922", devices[0].deviceId);
    EXPECT_EQ("10000:a0:00.0", devices[1].slot);
    EXPECT_EQ("12EF", devices[1].deviceId);
}

TEST(DeviceListTest, PassesOverOtherLines)
{
    static const char* const cases[] = {"", "\n", "00:02.0", "00:02.0-8086", "-", "\n00:02.0 8086"};
    for (const char* const text : cases) {
        SCOPED_TRACE(text);
        EXPECT_TRUE(Parse(text).empty());
    }
}

}  // namespace
}  // namespace one_request
