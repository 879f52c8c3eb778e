#include "base/InstallPath.h"

#include <gtest/gtest.h>

#include <limits>

namespace qor::test {
namespace {

TEST(InstallPathTest, KnowsTheDirectoriesOfTheKinds)
{
    static const struct {
        int kind;
        const char* path;
    } cases[] = {
        {0, "/opt/velmora/qor/provider"}, {2, "/opt/velmora/qor/um"},  {4, "/opt/velmora/qor/lib"},
        {5, "/opt/velmora/qor/cli"},      {6, "/opt/velmora/qor/som"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        EXPECT_STREQ(c.path, InstallPath(c.kind));
    }
}

TEST(InstallPathTest, CallsAnyOtherKindUnknown)
{
    for (const int kind :
         {1, 3, 7, 8, 64, -1, -2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_STREQ("/opt/velmora/qor/unknown", InstallPath(kind)) << kind;
}

}  // namespace
}  // namespace qor::test
