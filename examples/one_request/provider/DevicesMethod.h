// DevicesMethod.h - the method "Devices" of class "Inventory": the devices that the installation's
// script lists.
//
// Result: "ReturnValue", unsigned long "Count", and the class array "Devices" (strings "Slot",
// "VendorId", "DeviceId").
#ifndef ONE_REQUEST_PROVIDER_DEVICESMETHOD_H
#define ONE_REQUEST_PROVIDER_DEVICESMETHOD_H

class IWbemClassObject;

namespace one_request {

/// Throws MethodError when the script cannot be run, or the list cannot be made. A script that
/// fails shows as a count of 0.
void RunDevicesMethod(IWbemClassObject* parameters, IWbemClassObject* result);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_DEVICESMETHOD_H
