#include "trace/Msg_InfoBraces.h"

#include <gtest/gtest.h>

namespace {

TEST(Msg_InfoTest, IsInitialisedWithBracesInCpp11)
{
    const Msg_Info all = WholeMessage();
    const Msg_Info some = PartOfMessage();
    const Msg_Info none = NoMessage();

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
