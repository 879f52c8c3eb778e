// SysfsVendor.cpp - libqorp_Sysfs.so: a vendor library whose classes list what the kernel shows in
// /sys (sysfs(5)).
#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "IVendorDevice.h"

namespace {

// The units are the links in a directory; other entries are settings of the whole class.
class DirectoryDevice : public IVendorDevice
{
public:
    explicit DirectoryDevice(const char* directory) : directory_(directory) {}

    std::vector<std::string> Units() override
    {
        std::vector<std::string> units;
        std::error_code error;  // a kernel without such devices has no directory for them
        for (const auto& entry : std::filesystem::directory_iterator(directory_, error)) {
            if (entry.is_symlink())
                units.push_back(entry.path().filename());
        }
        std::sort(units.begin(), units.end());
        return units;
    }

private:
    const char* directory_;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) void* GetVendorFactory(const char* className,
                                                                         const char* device);

void* GetVendorFactory(const char* className, const char* /*device*/)
{
    const std::string wanted = className;
    IVendorDevice* made = nullptr;
    if (wanted == "CDiskDevice")
        made = new DirectoryDevice("/sys/block");
    else if (wanted == "CNetworkDevice")
        made = new DirectoryDevice("/sys/class/net");
    return made;
}
