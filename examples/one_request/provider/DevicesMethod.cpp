#include "provider/DevicesMethod.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

#include "COsInfo.h"
#include "provider/DeviceList.h"
#include "provider/EtcFiles.h"
#include "provider/MethodError.h"
#include "provider/QuietErrors.h"
#include "provider/Rows.h"

namespace one_request {
namespace {

// makeDeviceInfo does not distinguish a missing script from one that lists no device.
void RequireScript()
{
    if (::access(kDeviceScript, X_OK) != 0) {
        const int error = errno;
        throw MethodError(kStatusNotFound, std::string("the script ") + kDeviceScript +
                                               " cannot be run: " + std::strerror(error));
    }
}

std::vector<Device> ReadDevices()
{
    RequireScript();
    const QuietErrors quiet;  // what the script's commands complain about
    if (!COsInfo().makeDeviceInfo())
        throw MethodError(kStatusFailed, std::string(kDeviceList) + " cannot be written");

    std::ifstream list(kDeviceList);
    if (!list)
        throw MethodError(kStatusFailed, std::string(kDeviceList) + " cannot be read");
    return ParseDeviceList(list);
}

}  // namespace

void RunDevicesMethod(IWbemClassObject* /*parameters*/, IWbemClassObject* result)
{
    const std::vector<Device> devices = ReadDevices();
    Rows rows;
    for (const Device& device : devices) {
        IWbemClassObject* const row = rows.Add();
        (void)CIWbemUtil::setStringToIWbemClassObject(row, "Slot", device.slot);
        (void)CIWbemUtil::setStringToIWbemClassObject(row, "VendorId", device.vendorId);
        (void)CIWbemUtil::setStringToIWbemClassObject(row, "DeviceId", device.deviceId);
    }

    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    (void)CIWbemUtil::setULongToIWbemClassObject(result, "Count", devices.size());
    rows.AppendTo(result, "Devices");
}

}  // namespace one_request
