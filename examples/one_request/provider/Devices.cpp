#include <cerrno>
#include <cstring>
#include <fstream>

#include "COsInfo.h"
#include "provider/Method.h"
#include "provider/Methods.h"
#include "provider/Readers.h"

namespace one_request {
namespace {

std::vector<Device> ReadDevices()
{
    // makeDeviceInfo does not distinguish a missing script from one that lists no device.
    if (::access(kDeviceScript, X_OK) != 0) {
        const int error = errno;
        throw MethodError(kStatusNotFound, std::string("the script ") + kDeviceScript +
                                               " cannot be run: " + std::strerror(error));
    }
    const QuietErrors quiet;  // what the script's commands complain about
    if (!COsInfo().makeDeviceInfo())
        throw MethodError(kStatusFailed, std::string(kDeviceList) + " cannot be written");

    std::ifstream list(kDeviceList);
    if (!list)
        throw MethodError(kStatusFailed, std::string(kDeviceList) + " cannot be read");
    return ParseDeviceList(list);
}

}  // namespace

void RunDevices(IWbemClassObject* /*parameters*/, IWbemClassObject* result)
{
    const std::vector<Device> devices = ReadDevices();
    Rows rows;
    for (const Device& device : devices) {
        IWbemClassObject& row = rows.Add();
        Set(row, "Slot", device.slot);
        Set(row, "VendorId", device.vendorId);
        Set(row, "DeviceId", device.deviceId);
    }

    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    Set(*result, "Count", devices.size());
    rows.AppendTo(result, "Devices");
}

}  // namespace one_request
