// Methods.h - the methods of the class "Inventory": parameters, and what they append to the result
// after "ReturnValue". All throw before they append, or not at all: MethodError for a parameter
// that is wrong and a file that cannot be used, std::system_error for a fact that cannot be read.
#ifndef ONE_REQUEST_PROVIDER_METHODS_H
#define ONE_REQUEST_PROVIDER_METHODS_H

class IWbemClassObject;

namespace one_request {

/// This host. Parameter "Section" (string, optional): "Processor" or "Memory" leaves out the other.
///
/// Strings "HostName", "KernelRelease", "Architecture", unsigned long "UptimeSeconds", string array
/// "LoadAverages" (1, 5 and 15 minutes), bool "SwapEnabled", and the nested objects "Processor"
/// (string "Model", unsigned long "Count") and "Memory" (unsigned long "TotalBytes", "FreeBytes",
/// "SwapBytes").
void RunHost(IWbemClassObject* parameters, IWbemClassObject* result);

/// Platform, kernel and firmware.
///
/// Strings "Name" (hardware platform) and "Version" (kernel release), and the nested object
/// "Firmware" with strings "UUID", "Manufacturer", "Product", "Version". What the host does not
/// show is "unknown"; the firmware takes root and a DMI table.
void RunSystem(IWbemClassObject* parameters, IWbemClassObject* result);

/// The devices that the installation's script lists; a script that fails shows as a count of 0.
///
/// Unsigned long "Count", and the class array "Devices" (strings "Slot", "VendorId", "DeviceId").
void RunDevices(IWbemClassObject* parameters, IWbemClassObject* result);

/// Which installed component needs an update. Parameters (strings, optional): "Section", one of the
/// version file's sections; "Component", a name in it. Either leaves out all others.
///
/// The class array "Components" (strings "Section", "Component", "Installed", "Wanted", and
/// "State": "current", "update needed" or "not in the catalogue").
void RunVersions(IWbemClassObject* parameters, IWbemClassObject* result);

/// What the vendor libraries list. Parameter "Device" (string, optional): a device of the vendor
/// factory file; leaves out all others.
///
/// The class array "Vendors" (strings "Device", "Library", "Class", "State", which is "ready",
/// "library cannot be loaded" or "no such class", and string array "Units").
void RunVendors(IWbemClassObject* parameters, IWbemClassObject* result);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_METHODS_H
