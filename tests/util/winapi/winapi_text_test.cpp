// Text functions with Windows names: what they write, and what they leave alone.
#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstring>
#include <functional>
#include <string>

#include "winapi.h"

namespace qor::test {
namespace {

// 16 bytes of "#", the first of them replaced by `text` and a NUL when it is given; what
// `function` leaves there.
std::string BytesAfter(const std::function<int(char*)>& function, const char* text = nullptr)
{
    alignas(wchar_t) char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    if (text != nullptr)
        std::memcpy(buffer, text, std::strlen(text) + 1);
    EXPECT_EQ(0, function(buffer));
    return std::string(buffer, sizeof buffer);
}

// `bytes`, and "#" up to 16.
std::string Bytes(std::string bytes)
{
    bytes.resize(16, '#');
    return bytes;
}

template <std::size_t Size>
std::string Bytes(const char (&literal)[Size])
{
    return Bytes(std::string(literal, Size - 1));
}

wchar_t* Wide(char* text)
{
    return reinterpret_cast<wchar_t*>(text);
}

// Narrow text, aligned as a wchar_t* argument has to be.
class WideText
{
public:
    explicit WideText(const char* narrow) { std::strncpy(bytes_, narrow, sizeof bytes_ - 1); }
    const wchar_t* get() const { return reinterpret_cast<const wchar_t*>(bytes_); }

private:
    alignas(wchar_t) char bytes_[32] = {};
};

const unsigned char* Unsigned(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

int Sign(int number)
{
    return (number > 0) - (number < 0);
}

TEST(winapiStringCopyTest, PadsUpToTheSizeAndMayNotTerminate)
{
    static const struct {
        unsigned long size;
        const char* source;
        std::string bytes;
    } cases[] = {
        {8, "abc", Bytes("abc\0\0\0\0\0")},
        {4, "abc", Bytes("abc\0")},
        {3, "abc", Bytes("abc")},
        {2, "abc", Bytes("ab")},
        {1, "abc", Bytes("a")},
        {0, "abc", Bytes("\0")},
        {4, "", Bytes("\0\0\0\0")},
        {16, "abc", Bytes("abc\0\0\0\0\0\0\0\0\0\0\0\0\0")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.size) + c.source);
        EXPECT_EQ(c.bytes, BytesAfter([&](char* b) { return strcpy_s(b, c.size, c.source); }));
        EXPECT_EQ(c.bytes, BytesAfter([&](char* b) { return strncpy_s(b, c.source, c.size); }));
    }
}

TEST(winapiStringCopyTest, TakesTheLargerOfSizeAndCount)
{
    static const struct {
        unsigned long size;
        unsigned long count;
        std::string bytes;
    } cases[] = {
        {4, 2, Bytes("abcd")},       {2, 4, Bytes("abcd")},     {4, 4, Bytes("abcd")},
        {8, 1, Bytes("abcdef\0\0")}, {0, 7, Bytes("abcdef\0")}, {6, 6, Bytes("abcdef")},
        {0, 0, Bytes("")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.size) + " " + std::to_string(c.count));
        EXPECT_EQ(c.bytes,
                  BytesAfter([&](char* b) { return strncpy_s(b, c.size, "abcdef", c.count); }));
    }
}

TEST(winapiStringCopyTest, RefusesNull)
{
    char buffer[] = "kept";
    EXPECT_EQ(-1, strcpy_s(nullptr, 4, "abc"));
    EXPECT_EQ(-1, strcpy_s(buffer, 4, nullptr));
    EXPECT_EQ(-1, strncpy_s(nullptr, 4, "abc", 4));
    EXPECT_EQ(-1, strncpy_s(buffer, 4, nullptr, 4));
    EXPECT_EQ(-1, strncpy_s(nullptr, "abc", 4UL));
    EXPECT_EQ(-1, strncpy_s(buffer, nullptr, 4UL));
    EXPECT_STREQ("kept", buffer);
}

TEST(winapiStringAppendTest, TakesAtMostCountBytesWhateverTheSize)
{
    static const struct {
        unsigned long size;
        unsigned long count;
        std::string bytes;
    } cases[] = {
        {16, 2, Bytes("12ab\0")}, {0, 2, Bytes("12ab\0")},           {1, 3, Bytes("12abc\0")},
        {16, 0, Bytes("12\0")},   {16, ULONG_MAX, Bytes("12abc\0")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.size) + " " + std::to_string(c.count));
        EXPECT_EQ(
            c.bytes,
            BytesAfter([&](char* b) { return _mbsnbcat_s(b, c.size, "abc", c.count); }, "12"));
    }
}

TEST(winapiStringAppendTest, TakesTheSmallerOfSizeAndCountInItsWideForm)
{
    const WideText source("abc");
    static const struct {
        unsigned long size;
        unsigned long count;
        std::string bytes;
    } cases[] = {
        {16, 2, Bytes("12ab\0")}, {2, 16, Bytes("12ab\0")}, {16, 16, Bytes("12abc\0")},
        {0, 16, Bytes("12\0")},   {16, 0, Bytes("12\0")},   {3, 3, Bytes("12abc\0")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.size) + " " + std::to_string(c.count));
        EXPECT_EQ(
            c.bytes,
            BytesAfter([&](char* b) { return wcsncat_s(Wide(b), c.size, source.get(), c.count); },
                       "12"));
    }
}

TEST(winapiStringAppendTest, RefusesNull)
{
    const WideText source("abc");
    alignas(wchar_t) char buffer[] = "kept";
    EXPECT_EQ(-1, _mbsnbcat_s(nullptr, 4, "abc", 4));
    EXPECT_EQ(-1, _mbsnbcat_s(buffer, 4, nullptr, 4));
    EXPECT_EQ(-1, wcsncat_s(nullptr, 4, source.get(), 4));
    EXPECT_EQ(-1, wcsncat_s(Wide(buffer), 4, nullptr, 4));
    EXPECT_STREQ("kept", buffer);
}

// Both functions with two limits, and both with one, are alike.
using FormatWithCount = int (*)(char*, unsigned long, unsigned long, const char*, ...);
using FormatWithSize = int (*)(char*, unsigned long, const char*, ...);
constexpr FormatWithCount kWithCount[] = {_snprintf_s, _snwprintf_s};
constexpr FormatWithSize kWithSize[] = {_sprintf_s, swprintf_s};

TEST(winapiFormatTest, IsBoundedByTheSmallerOfSizeAndCount)
{
    static const struct {
        unsigned long size;
        unsigned long count;
        std::string bytes;
    } cases[] = {
        {16, 16, Bytes("a=12345\0")}, {16, 8, Bytes("a=12345\0")}, {8, 16, Bytes("a=12345\0")},
        {16, 7, Bytes("a=1234\0")},   {7, 16, Bytes("a=1234\0")},  {16, 1, Bytes("\0")},
        {1, 16, Bytes("\0")},         {0, 16, Bytes("")},          {16, 0, Bytes("")},
    };
    for (const FormatWithCount function : kWithCount) {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::to_string(c.size) + " " + std::to_string(c.count));
            EXPECT_EQ(c.bytes, BytesAfter([&](char* b) {
                          return function(b, c.size, c.count, "%c=%d", 'a', 12345) - 7;
                      }));
        }
    }
}

TEST(winapiFormatTest, IsBoundedByTheSize)
{
    static const struct {
        unsigned long size;
        std::string bytes;
    } cases[] = {
        {16, Bytes("a=12345\0")}, {8, Bytes("a=12345\0")}, {7, Bytes("a=1234\0")},
        {1, Bytes("\0")},         {0, Bytes("")},
    };
    for (const FormatWithSize function : kWithSize) {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.size);
            EXPECT_EQ(c.bytes, BytesAfter([&](char* b) {
                          return function(b, c.size, "%s=%lu", "a", 12345UL) - 7;
                      }));
        }
    }
}

TEST(winapiFormatTest, ReturnsTheFullLength)
{
    char buffer[4];
    EXPECT_EQ(1000, _snprintf_s(buffer, 4, 4, "%1000d", 1));
    EXPECT_EQ(1000, _snwprintf_s(buffer, 4, 4, "%1000d", 1));
    EXPECT_EQ(1000, _sprintf_s(buffer, 4, "%1000d", 1));
    EXPECT_EQ(1000, swprintf_s(buffer, 4, "%1000d", 1));
    EXPECT_STREQ("   ", buffer);
    EXPECT_EQ(0, _sprintf_s(buffer, 4, "%s", ""));
    EXPECT_STREQ("", buffer);
}

TEST(winapiFormatTest, MeasuresWithoutABuffer)
{
    for (const FormatWithCount function : kWithCount) {
        EXPECT_EQ(1000, function(nullptr, 0, 0, "%1000d", 1));
        EXPECT_EQ(1000, function(nullptr, 0, 16, "%1000d", 1));
    }
    for (const FormatWithSize function : kWithSize)
        EXPECT_EQ(1000, function(nullptr, 0, "%1000d", 1));
}

TEST(winapiFormatTest, RefusesNull)
{
    char buffer[] = "kept";
    for (const FormatWithCount function : kWithCount) {
        EXPECT_EQ(-1, function(nullptr, 4, 4, "abc"));
        EXPECT_EQ(-1, function(nullptr, 4, 0, "abc"));
        EXPECT_EQ(-1, function(buffer, 4, 4, nullptr));
    }
    for (const FormatWithSize function : kWithSize) {
        EXPECT_EQ(-1, function(nullptr, 4, "abc"));
        EXPECT_EQ(-1, function(buffer, 4, nullptr));
    }
    EXPECT_EQ(-1, wsprintfA(nullptr, "abc"));
    EXPECT_EQ(-1, wsprintfA(buffer, nullptr));
    EXPECT_STREQ("kept", buffer);
}

TEST(winapiFormatTest, WithoutALimitReturnsZero)
{
    EXPECT_EQ(Bytes("a=12345;x%\0"),
              BytesAfter([](char* b) { return wsprintfA(b, "%c=%d;%s%%", 'a', 12345, "x"); }));
    EXPECT_EQ(Bytes("\0"), BytesAfter([](char* b) { return wsprintfA(b, "%s", ""); }));

    std::string large(5001, '#');
    EXPECT_EQ(0, wsprintfA(&large[0], "%5000d", 7));
    EXPECT_EQ(std::string(4999, ' ') + "7" + '\0', large);
}

TEST(winapiCompareTest, GoesByteByByte)
{
    static const struct {
        const char* a;
        const char* b;
        int order;
    } cases[] = {
        {"abc", "abc", 0}, {"abc", "abd", -1}, {"abd", "abc", 1}, {"ab", "abc", -1},
        {"abc", "ab", 1},  {"", "", 0},        {"", "a", -1},     {"ABC", "abc", -1},
        {"\x80", "a", 1},  {"b", "aa", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " " + c.b);
        EXPECT_EQ(c.order, Sign(lstrcmpW(c.a, c.b)));
        EXPECT_EQ(c.order, Sign(wcsncmp(c.a, c.b, 10)));
        EXPECT_EQ(c.order, Sign(_mbsnbcmp(Unsigned(c.a), Unsigned(c.b), 10)));
    }
}

TEST(winapiCompareTest, StopsAtTheCount)
{
    static const struct {
        unsigned long n;
        int order;
    } cases[] = {{0, 0}, {1, 0}, {2, 0}, {3, -1}, {4, -1}, {ULONG_MAX, -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.n);
        EXPECT_EQ(c.order, Sign(wcsncmp("abcd", "abxd", c.n)));
        EXPECT_EQ(c.order, Sign(_mbsnbcmp(Unsigned("abcd"), Unsigned("abxd"), c.n)));
    }
}

TEST(winapiCompareTest, RefusesNull)
{
    EXPECT_EQ(-1, lstrcmpW(nullptr, "b"));
    EXPECT_EQ(-1, lstrcmpW("a", nullptr));
    EXPECT_EQ(-1, wcsncmp(nullptr, "b", 1));
    EXPECT_EQ(-1, wcsncmp("b", nullptr, 1));
    EXPECT_EQ(-1, _mbsnbcmp(nullptr, Unsigned("b"), 1));
    EXPECT_EQ(-1, _mbsnbcmp(Unsigned("b"), nullptr, 1));
    EXPECT_EQ(-1, _mbsicmp(nullptr, Unsigned("b")));
    EXPECT_EQ(-1, _mbsicmp(Unsigned("b"), nullptr));
    EXPECT_EQ(-1, _mbsicmp(nullptr, nullptr));
}

TEST(winapiCompareTest, IgnoresCaseAndOrdersByLength)
{
    static const struct {
        const char* a;
        const char* b;
        int result;
    } cases[] = {
        {"", "", 0},         {"abc", "abc", 0},    {"abc", "ABC", 0},  {"a1_Z", "A1_z", 0},
        {"abd", "abc", -1},  {"abc", "abd", -1},   {"zzz", "aaa", -1}, {"xbc", "abc", -1},
        {"b", "aa", -1},     {"aa", "b", 1},       {"ab", "abc", -1},  {"abc", "ab", 1},
        {"", "a", -1},       {"a", "", 1},         {"[", "{", -1},     {"@", "`", -1},
        {"\xE4", "\xE4", 0}, {"\xE4", "\xC4", -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " " + c.b);
        EXPECT_EQ(c.result, _mbsicmp(Unsigned(c.a), Unsigned(c.b)));
    }
}

}  // namespace
}  // namespace qor::test
