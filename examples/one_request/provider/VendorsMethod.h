// VendorsMethod.h - the method "Vendors" of class "Inventory": what the vendor libraries list.
//
// Parameter "Device" (string, optional): a device of the vendor factory file; leaves out all
// others.
//
// Result: "ReturnValue" and the class array "Vendors" (strings "Device", "Library", "Class",
// "State", which is "ready", "library cannot be loaded" or "no such class", and string array
// "Units").
#ifndef ONE_REQUEST_PROVIDER_VENDORSMETHOD_H
#define ONE_REQUEST_PROVIDER_VENDORSMETHOD_H

class IWbemClassObject;

namespace one_request {

/// Throws MethodError for an unknown device, and for a vendor factory file that is missing or lists
/// no device.
void RunVendorsMethod(IWbemClassObject* parameters, IWbemClassObject* result);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_VENDORSMETHOD_H
