#include "ServerInfo.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/Files.h"
#include "support/HostTest.h"
#include "support/Text.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kInstallation[] = "/opt/velmora/qor/etc/qorinfo.ini";

class CServerInfoTest : public HostTest
{
};

TEST_F(CServerInfoTest, IsDomesticExactlyWhenTheFlagIsTrue)
{
    const struct {
        std::string value;
        bool domestic;
    } cases[] = {
        {"true", true},      {"   true", true},
        {"false", false},    {"True", false},
        {"TRUE", false},     {"true ", false},
        {"true\r", false},   {"\ttrue", false},
        {"truely", false},   {"tru", false},
        {"1", false},        {"", false},
        {"\"true\"", false}, {"true;x", false},
        {"true\0x"s, true},  {"true" + std::string(400, 'x'), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.value));
        WriteFile(kInstallation, "[common]\nIsDomesticModel=" + c.value + "\n");
        EXPECT_EQ(c.domestic, CServerInfo::IsDomesticModel());
    }
}

TEST_F(CServerInfoTest, IsDomesticWithoutTheFlag)
{
    for (const char* content : {
             "",
             "[common]\n",
             "[common]\nisdomesticmodel=false\n",
             "[common]\nDomestic=false\n",
             "[common]\n;IsDomesticModel=false\n",
             "[other]\nIsDomesticModel=false\n",
             "[Common]\nIsDomesticModel=false\n",
             "IsDomesticModel=false\n",
         }) {
        SCOPED_TRACE(content);
        WriteFile(kInstallation, content);
        EXPECT_TRUE(CServerInfo::IsDomesticModel());
    }
}

TEST_F(CServerInfoTest, IsDomesticWithoutAFileToRead)
{
    EXPECT_TRUE(CServerInfo::IsDomesticModel());

    MakeDirs(kInstallation);
    EXPECT_TRUE(CServerInfo::IsDomesticModel());
    RemoveTree(kInstallation);

    WriteFile(kInstallation, "[common]\nIsDomesticModel=false\n");
    ASSERT_EQ(0, ::chmod(kInstallation, 0200));
    const WithoutPrivileges ordinary;
    EXPECT_TRUE(CServerInfo::IsDomesticModel());
}

TEST_F(CServerInfoTest, ReadsTheFileAtEachCall)
{
    WriteFile(kInstallation, "[common]\nIsDomesticModel=false\n");
    EXPECT_FALSE(CServerInfo::IsDomesticModel());

    WriteFile(kInstallation, "[common]\nIsDomesticModel=true\nIsDomesticModel=false\n");
    EXPECT_TRUE(CServerInfo::IsDomesticModel());
}

TEST_F(CServerInfoTest, WritesNoTrace)
{
    EXPECT_TRUE(CServerInfo::IsDomesticModel());
    EXPECT_EQ(Strings(), ListDir("/opt/velmora/qor/log"));
}

}  // namespace
}  // namespace qor::test
