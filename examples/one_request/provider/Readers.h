// Readers.h - what the methods read: lists of the kernel and of the library, the catalogue.
#ifndef ONE_REQUEST_PROVIDER_READERS_H
#define ONE_REQUEST_PROVIDER_READERS_H

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace one_request {

struct CpuInfo {
    std::string model;        ///< of the first processor that has one; may be empty
    unsigned long count = 0;  ///< logical processors online
};

/// The processors as the kernel describes them in /proc/cpuinfo (proc(5)): lines "key : value". The
/// model's key differs between architectures; some have none.
CpuInfo ParseCpuInfo(std::istream& lines);

struct Device {
    std::string slot;      ///< "0000:00:1f.2"
    std::string vendorId;  ///< "8086"
    std::string deviceId;  ///< "2922"
};

/// The device list that COsInfo::makeDeviceInfo writes: lines "SLOT-VENDOR-DEVICE"; others are
/// passed over.
std::vector<Device> ParseDeviceList(std::istream& lines);

/// The wanted version of each component, by its name.
using Catalogue = std::map<std::string, std::string>;

/// Reads a catalogue from an XML file:
///
///     <catalogue>
///       <component name="qor_som" version="1.2.0"/>
///     </catalogue>
///
/// Other elements and attributes are passed over; of two components with one name the first counts.
/// Throws MethodError for a file that cannot be opened, is not well-formed, or holds a component
/// without name or version. One thread of the process: see IXmlReader.h.
Catalogue ReadCatalogue(const std::string& path);

// How an installed version stands to the wanted one; a newer one than that is current too.
constexpr char kCurrent[] = "current";
constexpr char kUpdateNeeded[] = "update needed";
constexpr char kNotListed[] = "not in the catalogue";

/// One of the three.
const char* StateOf(const Catalogue& catalogue, const std::string& component,
                    const std::string& installed);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_READERS_H
