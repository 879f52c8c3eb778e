// IVendorDevice.h - what a vendor library offers to the inventory provider.
//
// A vendor library exports a factory under the name that CLibraryLoader looks for. It is given a
// class and a device as the vendor factory file names them, and returns an IVendorDevice, or null
// for a class that it does not have:
//
//     extern "C" __attribute__((visibility("default")))
//     void* GetVendorFactory(const char* className, const char* device);
//
// The provider deletes the object before it closes the library.
#ifndef ONE_REQUEST_IVENDORDEVICE_H
#define ONE_REQUEST_IVENDORDEVICE_H

#include <string>
#include <vector>

class IVendorDevice
{
public:
    IVendorDevice() = default;
    IVendorDevice(const IVendorDevice&) = delete;
    IVendorDevice& operator=(const IVendorDevice&) = delete;
    virtual ~IVendorDevice() = default;

    /// The names of this host's units of the device, sorted; none when there are none. Throws only
    /// what the standard library declares: types of its own would be gone with the library.
    virtual std::vector<std::string> Units() = 0;
};

#endif  // ONE_REQUEST_IVENDORDEVICE_H
