// DeviceList.h - the device list that COsInfo::makeDeviceInfo writes.
#ifndef ONE_REQUEST_PROVIDER_DEVICELIST_H
#define ONE_REQUEST_PROVIDER_DEVICELIST_H

#include <iosfwd>
#include <string>
#include <vector>

namespace one_request {

struct Device {
    std::string slot;      ///< "0000:00:1f.2"
    std::string vendorId;  ///< "8086"
    std::string deviceId;  ///< "2922"
};

/// Reads lines "SLOT-VENDOR-DEVICE"; others are passed over.
std::vector<Device> ParseDeviceList(std::istream& lines);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_DEVICELIST_H
