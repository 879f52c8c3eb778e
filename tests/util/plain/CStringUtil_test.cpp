#include "CStringUtil.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <limits>
#include <list>
#include <string>
#include <string_view>

#include "support/Text.h"
#include "util/plain/IgnoreCase.h"

namespace qor::test {
namespace {

using StringList = std::list<std::string>;

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

// Every byte value, in order.
std::string AllBytes()
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

TEST(CStringUtilTest, DoesNothingOnBstrConversions)
{
    char in[] = "text";
    char* out = in;
    std::string string = "former";

    EXPECT_EQ(1, CStringUtil::AsciiToBSTR("other", &out));
    EXPECT_EQ(1, CStringUtil::AsciiToBSTR("other", nullptr));
    EXPECT_EQ(1, CStringUtil::BSTRToAscii(in, &string));
    EXPECT_EQ(1, CStringUtil::BSTRToAscii(nullptr, nullptr));

    EXPECT_EQ(in, out);
    EXPECT_STREQ("text", in);
    EXPECT_EQ("former", string);
}

TEST(CStringUtilTest, CopiesStringsAndTStringsUnchanged)
{
    for (const std::string& text : {std::string(), std::string(" Text\t"), AllBytes()}) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(text, CStringUtil::TstringToString(text));
        EXPECT_EQ(text, CStringUtil::StringToTstring(text));
    }
}

TEST(CStringUtilTest, NamesBoolsInLowerCase)
{
    EXPECT_EQ("true", CStringUtil::BoolToTstring(true));
    EXPECT_EQ("false", CStringUtil::BoolToTstring(false));
}

TEST(CStringUtilTest, ReplacesEveryOccurrenceFromLeftToRight)
{
    static const struct {
        const char* text;
        const char* from;
        const char* to;
        const char* replaced;
    } cases[] = {
        {"a;b;c", ";", "%!@", "a%!@b%!@c"},
        {"aa", "a", "aa", "aaaa"},  // what is inserted is not searched again
        {"ab", "b", "ab", "aab"},
        {"aaa", "aa", "b", "ba"},
        {"aaaa", "aa", "a", "aa"},
        {"ababa", "aba", "x", "xba"},
        {"abab", "ab", "", ""},
        {"aabb", "ab", "", "ab"},  // what grows together is not found either
        {"abc", "abc", "x", "x"},
        {"abc", "abcd", "x", "abc"},
        {"abc", "", "x", "abc"},  // an empty one is no occurrence
        {"", "", "x", ""},
        {"", "a", "x", ""},
        {"abc", "B", "x", "abc"},
        {";;", ";", ";", ";;"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text) + ": " + c.from + " by " + c.to);
        std::string text = c.text;
        CStringUtil::strReplace(text, c.from, c.to);
        EXPECT_EQ(c.replaced, text);
    }
}

TEST(CStringUtilTest, ReplacesTextsThatHoldNulBytes)
{
    std::string text("a\0b\0", 4);

    CStringUtil::strReplace(text, std::string(1, '\0'), "--");

    EXPECT_EQ("a--b--", text);
}

TEST(CStringUtilTest, ReplacesATextByItself)
{
    std::string text = "aba";
    CStringUtil::strReplace(text, "a", text);
    EXPECT_EQ("abababa", text);

    CStringUtil::strReplace(text, text, "x");
    EXPECT_EQ("x", text);
}

TEST(CStringUtilTest, TrimsTrailingBlanksAlone)
{
    static const struct {
        const char* text;
        const char* trimmed;
    } cases[] = {
        {"", ""},        {" ", ""},         {"    ", ""},    {"  x  ", "  x"},
        {"x\t", "x\t"},  {"x \t", "x \t"},  {"x\t ", "x\t"}, {"x\n", "x\n"},
        {"x\r ", "x\r"}, {" a b ", " a b"}, {"x", "x"},      {"x\xa0", "x\xa0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string out = "former";
        CStringUtil::strTrim(c.text, out);
        EXPECT_EQ(c.trimmed, out);

        std::string itself = c.text;
        CStringUtil::strTrim(itself, itself);
        EXPECT_EQ(c.trimmed, itself);
    }
}

TEST(CStringUtilTest, JoinsItemsOnceThereIsText)
{
    static const struct {
        StringList items;
        const char* joined;
    } cases[] = {
        {{}, ""},
        {{""}, ""},
        {{"", ""}, ""},
        {{"a"}, "a"},
        {{"a", "b", "c"}, "a, b, c"},
        {{"", "a"}, "a"},
        {{"", "", "c"}, "c"},
        {{"a", "", "b"}, "a, , b"},
        {{"a", ""}, "a, "},
        {{"a", "", ""}, "a, , "},
        {{", ", ", "}, ", , , "},
        {{" "}, " "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.items));
        EXPECT_EQ(c.joined, CStringUtil::TstringListToTstring(c.items));
    }
}

TEST(CStringUtilTest, SplitsAtAnyDelimiterAndDropsEmptyPieces)
{
    static const struct {
        std::string text;
        std::string delimiters;
        StringList pieces;
    } cases[] = {
        {"..a..b.", ".", {"a", "b"}},
        {"", ",", {}},
        {",,,", ",", {}},
        {"a;b,c", ";,", {"a", "b", "c"}},
        {"a;,b", ";,", {"a", "b"}},
        {"a;,b", ",;;", {"a", "b"}},
        {"abc", ",", {"abc"}},
        {"abc", "", {"abc"}},
        {"", "", {}},
        {",a", ",", {"a"}},
        {"a,", ",", {"a"}},
        {" a , b ", ",", {" a ", " b "}},
        {"a, b", ", ", {"a", "b"}},
        {"aXbxc", "x", {"aXb", "c"}},
        {"xa", "a", {"x"}},
        {std::string("a\0b", 3), std::string(1, '\0'), {"a", "b"}},
        {std::string("a\0b,c", 5), ",", {std::string("a\0b", 3), "c"}},
        {"a\xff"
         "b",
         "\xff",
         {"a", "b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text + " at " + c.delimiters);
        std::string text = c.text;
        EXPECT_EQ(c.pieces, CStringUtil::Split(text, c.delimiters));
        EXPECT_EQ(c.text, text);
    }
}

TEST(CStringUtilTest, SplitsVersionsAtDots)
{
    static const struct {
        const char* text;
        StringList pieces;
    } cases[] = {
        {"1.2.3", {"1", "2", "3"}}, {"1", {"1"}},         {"", {}}, {"...", {}},
        {".1..2.", {"1", "2"}},     {"1,2;3", {"1,2;3"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string text = c.text;
        EXPECT_EQ(c.pieces, CStringUtil::SplitByDot(text));
        EXPECT_EQ(c.text, text);
    }
}

TEST(CStringUtilTest, MapsTheCaseOfAsciiLetters)
{
    static const struct {
        const char* text;
        const char* lower;
        const char* upper;
        const char* capitalized;
    } cases[] = {
        {"", "", "", ""},
        {"hELLO wORLD", "hello world", "HELLO WORLD", "Hello world"},
        {"x", "x", "X", "X"},
        {"X", "x", "X", "X"},
        {"9aB", "9ab", "9AB", "9ab"},
        {" aB", " ab", " AB", " ab"},  // the first byte is no letter
        {"@AZ[`az{", "@az[`az{", "@AZ[`AZ{", "@az[`az{"},
        {"\xc4\xe4Z", "\xc4\xe4z", "\xc4\xe4Z", "\xc4\xe4z"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.lower, CStringUtil::StringToLowerCase(c.text));
        EXPECT_EQ(c.upper, CStringUtil::StringToUpperCase(c.text));
        EXPECT_EQ(c.capitalized, CStringUtil::StringToCapitalize(c.text));
    }
}

TEST(CStringUtilTest, KeepsEveryOtherByteWhenMappingCase)
{
    const std::string bytes = AllBytes();
    const std::string lower = CStringUtil::StringToLowerCase(bytes);
    const std::string upper = CStringUtil::StringToUpperCase(bytes);
    ASSERT_EQ(bytes.size(), lower.size());
    ASSERT_EQ(bytes.size(), upper.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        SCOPED_TRACE(i);
        const bool isUpper = i >= 65 && i <= 90;
        const bool isLower = i >= 97 && i <= 122;
        EXPECT_EQ(static_cast<char>(isUpper ? i + 32 : i), lower[i]);
        EXPECT_EQ(static_cast<char>(isLower ? i - 32 : i), upper[i]);
    }
}

TEST(CStringUtilTest, MapsLibraryNamesUpToTheirFirstDot)
{
    static const struct {
        const char* dllName;
        const char* soName;
    } cases[] = {
        {"Provider.dll", "libqorp_Provider.so"},
        {"a.b.dll", "libqorp_a.so"},
        {".dll", "libqorp_.so"},
        {"", "libqorp_.so"},
        {"NoDot", "libqorp_NoDot.so"},
        {"RAID.DLL", "libqorp_RAID.so"},
        {"end.", "libqorp_end.so"},
        {"..", "libqorp_.so"},
        {"dir/Raid.dll", "libqorp_dir/Raid.so"},
        {" Raid .dll", "libqorp_ Raid .so"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.dllName);
        std::string soName = "former";
        CStringUtil::DllNameToSoName(c.dllName, soName);
        EXPECT_EQ(c.soName, soName);

        std::string itself = c.dllName;
        CStringUtil::DllNameToSoName(itself, itself);
        EXPECT_EQ(c.soName, itself);
    }
}

TEST(CStringUtilTest, ComparesWithoutRegardToCase)
{
    static const struct {
        std::string a;
        std::string b;
        int result;
    } cases[] = {
        {"ABC", "abd", -1},
        {"abd", "ABC", 1},
        {"abc", "ABCDE", -2},
        {"ABCDE", "abc", 2},
        {"", "abc", -3},
        {"abc", "", 3},
        {"", "", 0},
        {"MiXeD", "mIxEd", 0},
        {"b", "abcdef", 1},  // the first difference counts, not the lengths
        {"a", "z", -1},
        {"[", "A", -1},  // 0x5b is below "a", which "A" is compared as
        {"_", "A", -1},
        {"\x7f", "\x80", -1},  // unsigned bytes
        {"\xff", "a", 1},
        {"a", "\xe4", -1},
        {"\xc4", "\xe4", -1},  // no ASCII letters
        {std::string("a\0b", 3), std::string("A\0c", 3), -1},
        {std::string("a\0", 2), "a", 1},
        {"a", std::string("A\0\0", 3), -2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.a) + " and " + testing::PrintToString(c.b));
        EXPECT_EQ(c.result, CStringUtil::CompareIgnoreCase(c.a, c.b));
        EXPECT_EQ(c.result == 0, CStringUtil::TstringCmpIgnore(c.a, c.b));
        EXPECT_EQ(c.result == 0, CStringUtil::StringCmpIgnore(c.a, c.b));
    }
}

// The lengths differ by a multiple of 2^32. Nothing of the longer text is read.
TEST(CStringUtilTest, TextsOfDifferentLengthAreNeverEqual)
{
    const std::string_view endless("", std::size_t{1} << 32);

    EXPECT_FALSE(EqualIgnoreCase("", endless));
    EXPECT_FALSE(EqualIgnoreCase(endless, ""));
}

TEST(CStringUtilTest, WritesNumbersAsPlainDecimalText)
{
    static const struct {
        std::int64_t value;
        const char* text;
    } cases[] = {
        {0, "0"},
        {-42, "-42"},
        {7, "7"},
        {1234567, "1234567"},
        {kLargest, "9223372036854775807"},
        {kSmallest, "-9223372036854775808"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.text, CStringUtil::NumberToTString(c.value));
        EXPECT_EQ(c.value, CStringUtil::TStringToNumber(c.text));
    }
}

TEST(CStringUtilTest, ReadsNumbersFromTheStartOfTheText)
{
    static const struct {
        std::string text;
        std::int64_t value;
    } cases[] = {
        {"  12abc", 12},
        {" \t\n\v\f\r-12", -12},
        {"+5", 5},
        {"-0", 0},
        {"007", 7},
        {"0x1f", 0},
        {"1 2", 1},
        {"1.9", 1},
        {"1,234", 1},
        {"1e3", 1},
        {std::string("1\0"
                     "2",
                     3),
         1},
        {"00000000000000000000000000000012", 12},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.value, CStringUtil::TStringToNumber(c.text));
    }
}

TEST(CStringUtilTest, ReadsZeroWhereThereIsNoNumber)
{
    for (const char* const text : {"", " ", "abc", "x1", "-", "+", "- 5", "+-5", "--5", ".5"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(0, CStringUtil::TStringToNumber(text));
    }
}

// As stream extraction does, which gives the nearest number.
TEST(CStringUtilTest, ReadsTheNearestNumberBeyond64Bits)
{
    EXPECT_EQ(kLargest, CStringUtil::TStringToNumber("9223372036854775808"));
    EXPECT_EQ(kSmallest, CStringUtil::TStringToNumber("-9223372036854775809"));
    EXPECT_EQ(kLargest, CStringUtil::TStringToNumber("99999999999999999999999999"));
}

TEST(CStringUtilTest, ReportsNoErrorOfANumberThroughErrno)
{
    errno = EINTR;
    (void)CStringUtil::TStringToNumber("99999999999999999999999999");
    (void)CStringUtil::TStringToNumber("abc");

    EXPECT_EQ(EINTR, errno);
}

}  // namespace
}  // namespace qor::test
