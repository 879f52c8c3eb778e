// Compiled as C++11, whose rules for braces are the strictest.
#include "CTraceUtilityCom.h"

#include <gtest/gtest.h>

static_assert(__cplusplus < 201402L, "CMakeLists.txt chooses the standard");

namespace {

TEST(Msg_InfoTest, IsInitialisedWithBracesInEachStandard)
{
    const Msg_Info all = {"text %d", "0x00000001", "info", 7};
    const Msg_Info some{"text %d"};
    const Msg_Info none;

    EXPECT_EQ("text %d", all.format);
    EXPECT_EQ("0x00000001", all.read);
    EXPECT_EQ("info", all.type);
    EXPECT_EQ(7, all.event);
    EXPECT_EQ("text %d", some.format);
    EXPECT_EQ(0, some.event);
    EXPECT_EQ("", none.format);
    EXPECT_EQ(0, none.event);
}

}  // namespace
