#include "provider/Readers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "provider/Method.h"

namespace one_request {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

class CatalogueTest : public testing::Test
{
protected:
    ~CatalogueTest() override { (void)std::remove(path.c_str()); }  // most cases made it

    Catalogue Read(const std::string& text) const
    {
        std::ofstream(path) << text;
        return ReadCatalogue(path);
    }

    // The status and text of the error that the file gives.
    std::pair<unsigned long, std::string> ErrorOf(const std::string& text) const
    {
        try {
            (void)Read(text);
        } catch (const MethodError& error) {
            return {error.Status(), error.what()};
        }
        return {kStatusSuccess, "no error"};
    }

    const std::string path =
        testing::TempDir() + "catalogue." + std::to_string(::getpid()) + ".xml";
};

TEST_F(CatalogueTest, HoldsNameAndVersionOfEachComponent)
{
    EXPECT_THAT(Read("<?xml version='1.0'?><!-- x --><catalogue>\n"
                     " <component version='2' name='b'/>\n"
                     " <group><component name='a' other='y' version='1.0'>text</component></group>"
                     "</catalogue>"),
                ElementsAre(Pair("a", "1.0"), Pair("b", "2")));
}

TEST_F(CatalogueTest, TakesTheFirstOfTwoComponentsWithOneName)
{
    EXPECT_THAT(Read("<c><component name='a' version='1'/><component name='a' version='2'/></c>"),
                ElementsAre(Pair("a", "1")));
}

TEST_F(CatalogueTest, MayBeEmpty)
{
    EXPECT_THAT(Read("<catalogue/>"), IsEmpty());
}

TEST_F(CatalogueTest, ReportsAMissingFile)
{
    try {
        (void)ReadCatalogue(path);
        FAIL() << "no error";
    } catch (const MethodError& error) {
        EXPECT_EQ(kStatusNotFound, error.Status());
        EXPECT_EQ("the catalogue " + path + " cannot be opened", error.what());
    }
}

TEST_F(CatalogueTest, ReportsABrokenFile)
{
    static const char* const cases[] = {
        "",           "garbage",  "<catalogue>",
        "<a><b></a>", "<a/><b/>", "<a><component name='x' version=/></a>",
    };
    for (const char* const text : cases) {
        SCOPED_TRACE(text);
        const auto error = ErrorOf(text);
        EXPECT_EQ(kStatusFailed, error.first);
        EXPECT_THAT(error.second, HasSubstr("is no well-formed XML"));
    }
}

TEST_F(CatalogueTest, ReportsAComponentWithoutNameOrVersion)
{
    static const char* const cases[] = {"<c><component name='a'/></c>",
                                        "<c><component version='1'/></c>", "<component/>"};
    for (const char* const text : cases) {
        SCOPED_TRACE(text);
        const auto error = ErrorOf(text);
        EXPECT_EQ(kStatusFailed, error.first);
        EXPECT_THAT(error.second, HasSubstr("lacks name or version"));
    }
}

TEST_F(CatalogueTest, ReadsTheNextFileAfterAnError)
{
    (void)ErrorOf("<c><component name='a'/><component name='b' version='1'/></c>");
    (void)ErrorOf("<c><component name='a' version='1'/>");

    EXPECT_THAT(Read("<c><component name='d' version='4'/></c>"), ElementsAre(Pair("d", "4")));
}

TEST_F(CatalogueTest, KeepsTheStandardErrorStreamQuiet)
{
    testing::internal::CaptureStderr();
    (void)ErrorOf("<broken");
    (void)std::fputs("afterwards", stderr);

    EXPECT_EQ("afterwards", testing::internal::GetCapturedStderr());
}

TEST_F(CatalogueTest, ComparesInstalledVersionsByNumbers)
{
    static const struct {
        const char* installed;
        const char* wanted;
        const char* state;
    } cases[] = {
        {"1.9", "1.10", kUpdateNeeded},  {"1.10", "1.9", kCurrent},  {"2.0", "2.0.0", kCurrent},
        {"2.0", "2.0.1", kUpdateNeeded}, {"", "0.1", kUpdateNeeded},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.installed);
        EXPECT_STREQ(c.state, StateOf({{"a", c.wanted}}, "a", c.installed));
    }
    EXPECT_STREQ(kNotListed, StateOf({{"a", "1"}}, "b", "1"));
}

CpuInfo ParsedCpuInfo(const std::string& text)
{
    std::istringstream lines(text);
    return ParseCpuInfo(lines);
}

TEST(CpuInfoTest, CountsProcessorsAndTakesTheFirstModel)
{
    const CpuInfo info = ParsedCpuInfo(
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
        EXPECT_EQ(c.model, ParsedCpuInfo(c.text).model);
    }
}

TEST(CpuInfoTest, CountsProcessorsWhoseNumberIsInTheKey)
{
    EXPECT_EQ(2U, ParsedCpuInfo("# processors    : 2\n"
                                "processor 0: version = 00,  machine = 8561\n"
                                "processor 10: version = 00,  machine = 8561\n"
                                "processor x: 1\n")
                      .count);
}

TEST(CpuInfoTest, MakesNothingOfOtherText)
{
    const CpuInfo info = ParsedCpuInfo("\nprocessor\n:\n: 7\nprocessors : 4");

    EXPECT_EQ(0U, info.count);
    EXPECT_EQ("", info.model);
}

std::vector<Device> ParsedList(const std::string& text)
{
    std::istringstream lines(text);
    return ParseDeviceList(lines);
}

TEST(DeviceListTest, TakesSlotVendorAndDevice)
{
    const std::vector<Device> devices =
        ParsedList("0000:00:1f.2-8086-2922\n10000:a0:00.0-ABCD-12EF\n");

    ASSERT_EQ(2U, devices.size());
    EXPECT_EQ("0000:00:1f.2", devices[0].slot);
    EXPECT_EQ("8086", devices[0].vendorId);
    EXPECT_EQ("2922", devices[0].deviceId);
    EXPECT_EQ("10000:a0:00.0", devices[1].slot);
    EXPECT_EQ("12EF", devices[1].deviceId);
}

TEST(DeviceListTest, PassesOverOtherLines)
{
    static const char* const cases[] = {"", "\n", "00:02.0", "00:02.0-8086", "-", "\n00:02.0 8086"};
    for (const char* const text : cases) {
        SCOPED_TRACE(text);
        EXPECT_TRUE(ParsedList(text).empty());
    }
}

}  // namespace
}  // namespace one_request
