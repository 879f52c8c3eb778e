#include "base/Numbers.h"

#include <gtest/gtest.h>

#include <string>

namespace qor::test {
namespace {

TEST(NumbersTest, TakesTheLeadingNumberCutTo32Bits)
{
    static const struct {
        const char* text;
        int number;
    } cases[] = {
        {"", 0},
        {"x1", 0},
        {" \t+12 34", 12},
        {"-7x", -7},
        {"0x10", 0},
        {"2147483648", -2147483647 - 1},
        {"4294967297", 1},
        {"99999999999999999999", -1},  // the greatest long
        {"-99999999999999999999", 0},  // the least one
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.number, ToInt(c.text));
        EXPECT_EQ(c.number, ToInt(std::string(c.text)));
    }
}

}  // namespace
}  // namespace qor::test
