#include "QorException.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

constexpr std::size_t kBufferSize = 1024;

std::string Buffer(const QorException& exception)
{
    return std::string(exception.what(), kBufferSize);
}

TEST(QorExceptionTest, IsCaughtAsAStandardException)
{
    static_assert(std::has_virtual_destructor<QorException>::value, "deleted through its base");
    static_assert(std::is_convertible<const char*, QorException>::value, "as CException");
    try {
        throw QorException("slot %d", 7);
    } catch (const std::exception& e) {
        EXPECT_STREQ("slot 7", e.what());
        return;
    }
    FAIL() << "not caught";
}

TEST(QorExceptionTest, FormatsItsMessageAsPrintfDoes)
{
    EXPECT_STREQ("plain", QorException("plain").what());
    EXPECT_STREQ("slot  7 is empty, 0x1f, 50%",
                 QorException("slot %2d is %s, 0x%x, 50%%", 7, "empty", 31).what());
}

TEST(QorExceptionTest, FillsItsBufferWithZerosAfterTheText)
{
    EXPECT_EQ("abc" + std::string(kBufferSize - 3, '\0'), Buffer(QorException("%s", "abc")));
    EXPECT_EQ(std::string(kBufferSize, '\0'), Buffer(QorException("%s", "")));
}

TEST(QorExceptionTest, CutsALongMessageAt1023Bytes)
{
    for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 100000U}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        const QorException exception("%s", text.c_str());
        EXPECT_EQ(text.substr(0, 1023), exception.what());
    }
}

TEST(QorExceptionTest, TakesANullFormatAsAnEmptyMessage)
{
    const char* const none = nullptr;

    EXPECT_EQ(std::string(kBufferSize, '\0'), Buffer(QorException(none)));
}

TEST(QorExceptionTest, CopiesOwnTheirMessage)
{
    QorException copy("first");
    {
        const QorException other("second");
        copy = other;
        EXPECT_NE(other.what(), copy.what());
    }
    EXPECT_STREQ("second", copy.what());
}

TEST(QorExceptionTest, HasAnEmptyHook)
{
    const QorException exception("text");

    QorException::set_transrator();

    EXPECT_STREQ("text", exception.what());
}

}  // namespace
