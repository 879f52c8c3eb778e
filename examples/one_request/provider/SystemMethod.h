// SystemMethod.h - the method "System" of class "Inventory": platform, kernel and firmware.
//
// Result: "ReturnValue", strings "Name" (hardware platform) and "Version" (kernel release), and the
// nested object "Firmware" with strings "UUID", "Manufacturer", "Product", "Version". What the host
// does not show is "unknown"; the firmware takes root and a DMI table.
#ifndef ONE_REQUEST_PROVIDER_SYSTEMMETHOD_H
#define ONE_REQUEST_PROVIDER_SYSTEMMETHOD_H

class IWbemClassObject;

namespace one_request {

void RunSystemMethod(IWbemClassObject* parameters, IWbemClassObject* result);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_SYSTEMMETHOD_H
