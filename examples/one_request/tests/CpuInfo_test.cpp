#include "provider/CpuInfo.h"

#include <gtest/gtest.h>

#include <sstream>

namespace one_request {
namespace {

CpuInfo Parse(const std::string& text)
{
    std::istringstream lines(text);
    return ParseCpuInfo(lines);
}

TEST(CpuInfoTest, CountsProcessorsAndTakesTheFirstModel)
{
    const CpuInfo info = Parse(
        "processor\t: 0\nmodel name\t: First  CPU @ 2.00GHz \nmodel\t\t: 17\n\n"
        "processor\t: 1\nmodel name\t: Second\n");

    EXPECT_EQ(2U, info.count);
    EXPECT_EQ("First  CPU @ 2.00GHz", info.model);
}

TEST(CpuInfoTest, FindsTheModelOfOtherArchitectures)
{
    static const struct {
        const char* text;
        const char* model;
    } cases[] = {
        {"processor : 0\ncpu model\t: V1: x\n", "V1: x"},
        {"processor : 0\ncpu\t\t: P9\n", "P9"},
        {"processor : 0\nuarch\t: u74\n", "u74"},
        {"processor : 0\nBogoMIPS\t: 50.00\n", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.model, Parse(c.text).model);
    }
}

TEST(CpuInfoTest, MakesNothingOfOtherText)
{
    const CpuInfo info = Parse("\nprocessor\n:\n: 7\nprocessors : 4");

    EXPECT_EQ(0U, info.count);
    EXPECT_EQ("", info.model);
}

}  // namespace
}  // namespace one_request
