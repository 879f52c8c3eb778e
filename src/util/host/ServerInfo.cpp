#include "ServerInfo.h"

#include <string_view>

#include "base/Paths.h"
#include "winapi.h"

bool CServerInfo::IsDomesticModel()
{
    char value[256 + 1] = {};  // the copy is not terminated when it fills its size
    (void)GetPrivateProfileStringA("common", "IsDomesticModel", "true", value, sizeof value - 1,
                                   qor::paths::kInstallationFile);
    return std::string_view(value) == "true";
}
