// CpuInfo.h - the processors as the kernel describes them in /proc/cpuinfo (proc(5)).
#ifndef ONE_REQUEST_PROVIDER_CPUINFO_H
#define ONE_REQUEST_PROVIDER_CPUINFO_H

#include <iosfwd>
#include <string>

namespace one_request {

struct CpuInfo {
    std::string model;        ///< of the first processor that has one; may be empty
    unsigned long count = 0;  ///< logical processors online
};

/// Reads "key : value" lines. The model's key differs between architectures; some have none.
CpuInfo ParseCpuInfo(std::istream& lines);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_CPUINFO_H
