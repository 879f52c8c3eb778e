#include "Files.h"

#include <gtest/gtest.h>

namespace doctor {
namespace {

TEST(IsWritableByOthersTest, CountsRootsGroupAsRoot)
{
    constexpr gid_t kRootGroup = 0;
    constexpr gid_t kOtherGroup = 100;
    static const struct {
        mode_t mode;
        gid_t group;
        bool isWritable;
    } cases[] = {
        {0644, kRootGroup, false}, {0660, kRootGroup, false},  {02775, kRootGroup, false},
        {0662, kRootGroup, true},  {0602, kRootGroup, true},   {0644, kOtherGroup, false},
        {0660, kOtherGroup, true}, {02770, kOtherGroup, true}, {0602, kOtherGroup, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ModeText(c.mode) + " " + std::to_string(c.group));
        struct stat status = {};
        status.st_mode = S_IFREG | c.mode;
        status.st_gid = c.group;
        EXPECT_EQ(c.isWritable, IsWritableByOthers(status));
    }
}

}  // namespace
}  // namespace doctor
