// What the library knows of the host and of files: distribution, install paths, file patterns and
// versions.
#include <iostream>
#include <list>
#include <string>
#include <utility>

#include "CFileUtility.h"
#include "COsInfo.h"

int main()
{
    COsInfo host;
    std::cout << "distribution: " << (host.getName().empty() ? "unknown" : "known") << "\n";

    std::cout << "service directory: " << CFileUtility::GetInstallPath(6) << "\n";
    std::cout << "qor-2.4.rpm is a package: " << CFileUtility::isMatch("*.rpm", "qor-2.4.rpm")
              << "\n";

    // Above 0: the second is newer.
    const int order = CFileUtility::CheckFileVersion("2.4.9", "2.4.10");
    std::cout << "2.4.9 and 2.4.10 compare as " << order << "\n";
    // From /opt/velmora/qor/etc/qorversion.ver, as below.
    std::cout << "qor_som is " << CFileUtility::GetFileVersion("/usr/sbin/qor_som") << "\n";

    std::list<std::pair<std::string, std::string>> versions;
    CFileUtility::MakeVersionList("SOM", versions);
    for (const auto& target : versions)
        std::cout << "listed: " << target.first << " " << target.second << "\n";
}
