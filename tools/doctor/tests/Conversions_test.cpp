#include "Conversions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace doctor {
namespace {

using Kind = Conversion::Kind;
using testing::ElementsAre;

std::vector<std::string> TypesOf(const std::string& text)
{
    return ArgumentTypes(ConversionsOf(text));
}

TEST(ConversionsTest, AreOfAKind)
{
    static const struct {
        const char* text;
        Kind kind;
        const char* part;
    } cases[] = {
        {"%d", Kind::kArgument, "%d"},          {"a%-5.2lfb", Kind::kArgument, "%-5.2lf"},
        {"50%%", Kind::kPercent, "%%"},         {"50% new", Kind::kStore, "% n"},
        {"%m", Kind::kErrorText, "%m"},         {"%y", Kind::kUnknown, "%y"},
        {"50%", Kind::kIncomplete, "%"},        {"%5.", Kind::kIncomplete, "%5."},
        {"%#08lx!", Kind::kArgument, "%#08lx"}, {"5%-10% more", Kind::kPercent, "%-10%"},
        {"5% max", Kind::kErrorText, "% m"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto conversions = ConversionsOf(c.text);
        ASSERT_EQ(1U, conversions.size());
        EXPECT_EQ(c.kind, conversions[0].kind);
        EXPECT_EQ(c.part, conversions[0].text);
    }
}

TEST(ConversionsTest, MayStoreInAnyFormThatACLibraryKnows)
{
    for (const char* const text :
         {"%n", "50% new", "%5hhn", "%1$n", "%-3.2ln", "a%db%*.*jn", "%%%n", "%1$*2$n", "%2$.*1$n",
          "%ql%n", "%w32n", "%wf8n", "%w32%n", "%y%n", "%.1.n", "%*$n", "%5$5$n"})
        EXPECT_TRUE(MayStore(text)) << text;
    for (const char* const text :
         {"", "n", "%", "%%n", "%dn", "%yn", "50 %\nn", "100%% new", "%5%n", "%w32d and n"})
        EXPECT_FALSE(MayStore(text)) << text;
}

TEST(ConversionsTest, ShowABlankAmongTheFlags)
{
    EXPECT_TRUE(ConversionsOf("100% done")[0].hasBlank);
    EXPECT_FALSE(ConversionsOf("100 %d one")[0].hasBlank);
}

TEST(ConversionsTest, TakeArgumentsOfTypes)
{
    EXPECT_THAT(TypesOf("%d %i %u %x %c"), ElementsAre("int", "int", "int", "int", "int"));
    EXPECT_THAT(TypesOf("%ld %zu %lld"), ElementsAre("long", "long", "long long"));
    EXPECT_THAT(TypesOf("%s %p %f %Lf"), ElementsAre("char*", "void*", "double", "long double"));
    EXPECT_THAT(TypesOf("%% %m text"), ElementsAre());
}

TEST(ConversionsTest, TakeAnArgumentForEachAsterisk)
{
    EXPECT_THAT(TypesOf("%*.*f"), ElementsAre("int", "int", "double"));
}

TEST(ConversionsTest, TakeArgumentsByPosition)
{
    EXPECT_EQ(TypesOf("%s %d"), TypesOf("%2$d %1$s"));
    EXPECT_NE(TypesOf("%s %d"), TypesOf("%1$d %2$s"));
}

}  // namespace
}  // namespace doctor
