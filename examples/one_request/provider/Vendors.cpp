#include <memory>

#include "CLibraryLoader.h"
#include "CStringUtil.h"
#include "CTraceUtility.h"
#include "CVcFacReader.h"
#include "IVendorDevice.h"
#include "provider/Method.h"
#include "provider/Methods.h"

namespace one_request {
namespace {

constexpr int kLibraryDirectory = 4;  // the kind for CFileUtility::GetInstallPath

constexpr char kReady[] = "ready";
constexpr char kNoLibrary[] = "library cannot be loaded";
constexpr char kNoClass[] = "no such class";

// The file names libraries as "Sysfs.dll", whatever the platform.
std::string LibraryName(const SVendorInfo& vendor)
{
    std::string name;
    CStringUtil::DllNameToSoName(vendor.dllName, name);
    return name;
}

// Asks the vendor library, which is open for that long; returns the state.
const char* ReadUnits(const std::string& device, const SVendorInfo& vendor,
                      std::vector<std::string>& units)
{
    const std::string path =
        CFileUtility::GetInstallPath(kLibraryDirectory) + "/" + LibraryName(vendor);
    CLibraryLoader library(kComponent, path.c_str());
    const auto create = library.GetVendorInstance();
    if (create == nullptr)
        return kNoLibrary;

    const std::unique_ptr<IVendorDevice> object(
        static_cast<IVendorDevice*>(create(vendor.className.c_str(), device.c_str())));
    if (!object)
        return kNoClass;
    units = object->Units();
    return kReady;
}

// Whether the device is served.
bool AddVendor(const std::string& device, const SVendorInfo& vendor, IWbemClassObject& row)
{
    std::vector<std::string> units;
    const char* const state = ReadUnits(device, vendor, units);
    Set(row, "Device", device);
    Set(row, "Library", LibraryName(vendor));
    Set(row, "Class", vendor.className);
    Set(row, "State", state);
    (void)CIWbemUtil::setStringArrayToIWbemClassObject(&row, "Units", &units);
    return state == kReady;
}

}  // namespace

void RunVendors(IWbemClassObject* parameters, IWbemClassObject* result)
{
    const std::string wanted = StringParameter(parameters, "Device");
    RequireFile(kVendorFile);
    CVcFacReader vendors(kVendorFile);
    vendors.parse();
    if (!vendors.hasNext(vendors.getIterator()))
        throw MethodError(kStatusFailed, std::string(kVendorFile) + " lists no device");
    if (!wanted.empty() && !vendors.isExist(wanted))
        throw MethodError(kStatusInvalidParameter,
                          std::string("Device must be one that is listed in ") + kVendorFile);

    Rows rows;
    int failures = 0;
    for (auto vendor = vendors.getIterator(); vendors.hasNext(vendor); ++vendor) {
        if (wanted.empty() || wanted == vendor->first)
            failures += AddVendor(vendor->first, *vendor->second, rows.Add()) ? 0 : 1;
    }
    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    rows.AppendTo(result, "Vendors");
    if (failures != 0)
        CTraceUtility::WriteTrace(kComponent, "INVENTORY_NO_VENDOR", failures);
}

}  // namespace one_request
