#include "tool/Table.h"

#include <gtest/gtest.h>

#include <sstream>

#include "shared/ObjectText.h"
#include "tool/ValueText.h"

namespace one_request {
namespace {

std::string Print(const std::string& records)
{
    std::ostringstream out;
    PrintTable(out, *ReadObjectText(records));
    return out.str();
}

TEST(TableTest, AlignsPlainPropertiesAndHidesTheReturnValue)
{
    EXPECT_EQ(
        "Name     x\n"
        "Enabled  yes\n"
        "Empty\n",
        Print("ulong;.ReturnValue;0;string;.Name;x;bool;.Enabled;true;string;.Empty;;"));
}

TEST(TableTest, IndentsNestedObjects)
{
    EXPECT_EQ(
        "A  1\n"
        "Inner\n"
        "  Longer  2\n"
        "  Innermost\n"
        "    B  3\n"
        "After  4\n",
        Print("int;.A;1;class;.Inner;;int;.Inner.Longer;2;class;.Inner.Innermost;;"
              "int;.Inner.Innermost.B;3;int;.After;4;"));
}

TEST(TableTest, MakesATableOfAClassArray)
{
    EXPECT_EQ(
        "Devices\n"
        "  Name  Speed  Up\n"
        "  eth0         yes\n"
        "  b     1000\n",
        Print("class[];.Devices;;class;.Devices.1;;string;.Devices.1.Name;eth0;"
              "string;.Devices.1.Speed;;bool;.Devices.1.Up;true;"
              "class;.Devices.2;;int;.Devices.2.Speed;1000;string;.Devices.2.Name;b;"));
}

TEST(TableTest, CountsCharactersAndNotBytes)
{
    EXPECT_EQ(
        "T\n"
        "  N   M\n"
        "  \xC3\xA4\xC3\xB6  1\n",
        Print("class[];.T;;class;.T.1;;string;.T.1.N;\xC3\xA4\xC3\xB6;int;.T.1.M;1;"));
}

TEST(ValueTextTest, ShowsSizesAndSpansByTheNamesEnding)
{
    static const struct {
        const char* name;
        unsigned long value;
        const char* text;
    } cases[] = {
        {"Bytes", 0, "0"},
        {"TotalBytes", 1023, "1023"},
        {"TotalBytes", 1024, "1.0 KiB (1024)"},
        {"TotalBytes", 4140580864, "3.9 GiB (4140580864)"},
        {"TotalBytes", 18446744073709551615UL, "16.0 EiB (18446744073709551615)"},
        {"UptimeSeconds", 59, "00:00:59"},
        {"UptimeSeconds", 86400, "1 day 00:00:00"},
        {"UptimeSeconds", 184447, "2 days 03:14:07"},
        {"Count", 1024, "1024"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.text, ValueText(c.name, c.value));
    }
}

TEST(ValueTextTest, KeepsControlCharactersFromTheTerminal)
{
    EXPECT_EQ("a?[2J?b", ValueText("Name", std::string("a\x1B[2J\nb")));
}

TEST(ValueTextTest, JoinsTheElementsOfAnArray)
{
    using Strings = std::vector<std::string>;
    const boost::shared_ptr<Strings> elements(new Strings{"", "a", "b\t"});

    EXPECT_EQ(", a, b?", ValueText("Name", elements));
}

}  // namespace
}  // namespace one_request
