#include "base/Paths.h"

#include <gtest/gtest.h>

namespace qor {
namespace {

// What installations, other programs and documents name in the same words.
TEST(PathsTest, AreThoseOfTheInstallation)
{
    static const struct {
        const char* expected;
        const char* path;
    } cases[] = {
        {"/opt/velmora/qor", paths::kInstallRoot},
        {"/opt/velmora/qor/um", paths::kUpdateManager},
        {"/opt/velmora/qor/som", paths::kObjectManager},
        {"/opt/velmora/qor/cli", paths::kCommandLine},
        {"/opt/velmora/qor/lib", paths::kLibraries},
        {"/opt/velmora/qor/unknown", paths::kUnknown},
        {"/opt/velmora/qor/provider", paths::kProvider},
        {"/opt/velmora/qor/sbin", paths::kSbin},
        {"/opt/velmora/qor/bin", paths::kBin},
        {"/opt/velmora/qor/log", paths::kLogDirectory},
        {"TraceSetting.ini", paths::kTraceSettingFile},
        {"TraceSettingMsg.ini", paths::kTraceMessageFile},
        {"/opt/velmora/qor/som/socket.conf", paths::kChannelConfig},
        {"/opt/velmora/qor/som/CS", paths::kClientDirectory},
        {"/opt/velmora/qor/som/SS", paths::kServerDirectory},
        {"/opt/velmora/qor/etc", paths::kEtcDirectory},
        {"qorversion.ver", paths::kVersionFile},
        {"/opt/velmora/qor/etc/qorinfo.ini", paths::kInstallationFile},
        {"/opt/velmora/qor/etc/lspcimn.sh", paths::kDeviceScript},
        {"/opt/velmora/qor/etc/devices.tmp", paths::kDeviceList},
        {"/opt/velmora/qor/etc/motd.dat", paths::kBannerBlock},
        {"/var/tmp/qortmp", paths::kScratchPrefix},
        {"/var/tmp/dmitmp", paths::kDmiCache},
        {"/etc/motd", paths::kBanner},
        {"/tmp/motd", paths::kBannerScratch},
        {"/var/tmp/motds", paths::kBannerMark},
    };
    for (const auto& c : cases)
        EXPECT_STREQ(c.expected, c.path);
}

}  // namespace
}  // namespace qor
