// HostFacts.h - facts of this host, from uname(2), sysinfo(2) and /proc/cpuinfo.
#ifndef ONE_REQUEST_PROVIDER_HOSTFACTS_H
#define ONE_REQUEST_PROVIDER_HOSTFACTS_H

#include <string>
#include <vector>

#include "provider/CpuInfo.h"

namespace one_request {

struct HostFacts {
    std::string hostName;
    std::string kernelRelease;
    std::string architecture;
    unsigned long uptime = 0;               ///< seconds
    std::vector<std::string> loadAverages;  ///< over 1, 5 and 15 minutes: "0.12"
    CpuInfo processors;
    unsigned long memoryTotal = 0;  ///< bytes
    unsigned long memoryFree = 0;   ///< bytes that nothing uses, caches not counted
    unsigned long swapTotal = 0;    ///< bytes
};

/// Throws std::system_error when the kernel does not answer.
HostFacts ReadHostFacts();

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_HOSTFACTS_H
