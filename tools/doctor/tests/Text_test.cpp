#include "Text.h"

#include <gtest/gtest.h>

namespace doctor {
namespace {

TEST(JsonStringTest, EscapesWhatJsonDoesNotTakeAsItIs)
{
    static const struct {
        const char* text;
        const char* json;
    } cases[] = {
        {"", "\"\""},
        {"a b", "\"a b\""},
        {"\"\\/", "\"\\\"\\\\/\""},
        {"\x01\n\x1f\x7f", "\"\\u0001\\u000a\\u001f\\u007f\""},
        {"\xc3\xa4\xe2\x82\xac\xf0\x9f\x99\x82", "\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x99\x82\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.json);
        EXPECT_EQ(c.json, JsonString(c.text));
    }
    EXPECT_EQ("\"a\\u0000b\"", JsonString(std::string("a\0b", 3)));
}

TEST(JsonStringTest, ReplacesEachByteThatIsNoUtf8)
{
    static const struct {
        const char* text;
        int replaced;
    } cases[] = {
        {"\x80", 1},
        {"\xff", 1},
        {"\xc3", 1},
        {"\xc0\xaf", 2},
        {"\xe0\x80\x80", 3},
        {"\xed\xa0\x80", 3},
        {"\xf4\x90\x80\x80", 4},
        {"\xf8\x88", 2},
        {"\xe2\x82", 2},
        {"\xf0\x8f\xbf\xbf", 4},
    };
    for (const auto& c : cases) {
        std::string expected = "\"";
        for (int i = 0; i < c.replaced; ++i)
            expected += "\xef\xbf\xbd";
        EXPECT_EQ(expected + "\"", JsonString(c.text));
    }
}

TEST(PrintableTest, ShowsControlCharactersByTheirNumbers)
{
    EXPECT_EQ("a\\x1b[1m\\x0a\\x7f\xc3\xa4", Printable("a\x1b[1m\n\x7f\xc3\xa4"));
}

}  // namespace
}  // namespace doctor
