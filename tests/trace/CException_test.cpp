#include "CException.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>

namespace {

const char kFile[] = "device.cpp";
const char kFunction[] = "Open";

TEST(CExceptionTest, IsCaughtAsAStandardException)
{
    static_assert(std::has_virtual_destructor<CException>::value, "deleted through its base");
    try {
        throw CException("no such device", kFile, kFunction, 42);
    } catch (const std::exception& e) {
        EXPECT_STREQ("no such device", e.what());
        return;
    }
    FAIL() << "not caught";
}

TEST(CExceptionTest, CopiesItsMessage)
{
    std::string message = "no such device";
    const CException alone(message);
    const CException placed(message, kFile, kFunction, 42);

    message.assign(message.size(), 'x');

    EXPECT_STREQ("no such device", alone.what());
    EXPECT_STREQ("no such device", placed.what());
}

TEST(CExceptionTest, TakesItsMessageAsItIs)
{
    const std::string message = std::string(5000, 'x') + "%s\n";

    EXPECT_EQ(message, CException(message).what());
    EXPECT_STREQ("", CException("").what());
}

TEST(CExceptionTest, KeepsThePlaceWithoutCopyingItsTexts)
{
    const CException exception("message", kFile, kFunction, 42);

    EXPECT_EQ(kFile, exception.getFileName());
    EXPECT_EQ(kFunction, exception.getFunctionName());
    EXPECT_EQ(42, exception.getLineNumber());
}

TEST(CExceptionTest, KeepsAnyLineNumber)
{
    for (const int line : {0, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_EQ(line, CException("message", kFile, kFunction, line).getLineNumber());
}

TEST(CExceptionTest, CallsANullFileAndANullFunctionUnknown)
{
    const CException neither("message", nullptr, nullptr, 42);
    EXPECT_STREQ("unknown", neither.getFileName());
    EXPECT_STREQ("unknown", neither.getFunctionName());
    EXPECT_EQ(42, neither.getLineNumber());

    EXPECT_STREQ("unknown", CException("message", nullptr, kFunction, 1).getFileName());
    EXPECT_STREQ("unknown", CException("message", kFile, nullptr, 1).getFunctionName());
}

TEST(CExceptionTest, KnowsNoPlaceWithAMessageAlone)
{
    const CException exception("message");

    EXPECT_STREQ("unknown", exception.getFileName());
    EXPECT_STREQ("unknown", exception.getFunctionName());
    EXPECT_EQ(0, exception.getLineNumber());
}

TEST(CExceptionTest, CopiesOwnTheirMessageAndShareThePlace)
{
    CException copy("first");
    {
        const CException other("second", kFile, kFunction, 42);
        copy = other;
    }
    EXPECT_STREQ("second", copy.what());
    EXPECT_EQ(kFile, copy.getFileName());
    EXPECT_EQ(kFunction, copy.getFunctionName());
    EXPECT_EQ(42, copy.getLineNumber());
}

}  // namespace
