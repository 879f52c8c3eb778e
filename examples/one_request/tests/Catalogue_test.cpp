#include "provider/Catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "provider/MethodError.h"

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

TEST_F(CatalogueTest, TellsAMissingFile)
{
    try {
        (void)ReadCatalogue(path);
        FAIL() << "no error";
    } catch (const MethodError& error) {
        EXPECT_EQ(kStatusNotFound, error.Status());
        EXPECT_EQ("the catalogue " + path + " cannot be opened", error.what());
    }
}

TEST_F(CatalogueTest, TellsABrokenFile)
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

TEST_F(CatalogueTest, TellsAComponentWithoutNameOrVersion)
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
        State state;
    } cases[] = {
        {"1.9", "1.10", State::kUpdateNeeded}, {"1.10", "1.9", State::kCurrent},
        {"2.0", "2.0.0", State::kCurrent},     {"2.0", "2.0.1", State::kUpdateNeeded},
        {"", "0.1", State::kUpdateNeeded},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.installed);
        EXPECT_EQ(c.state, StateOf({{"a", c.wanted}}, "a", c.installed));
    }
    EXPECT_EQ(State::kNotListed, StateOf({{"a", "1"}}, "b", "1"));
}

}  // namespace
}  // namespace one_request
