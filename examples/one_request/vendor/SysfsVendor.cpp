// SysfsVendor.cpp - libqorp_Sysfs.so: a vendor library whose classes list what the kernel shows in
// /sys (sysfs(5)).
#include <dirent.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "IVendorDevice.h"

namespace {

struct CloseDirectory {
    void operator()(DIR* stream) const { (void)::closedir(stream); }  // cannot fail for open ones
};

// The units are the links in a directory; other entries are settings of the whole class.
class DirectoryDevice : public IVendorDevice
{
public:
    explicit DirectoryDevice(const char* directory) : directory_(directory) {}

    std::vector<std::string> Units() override
    {
        std::vector<std::string> units;
        const std::unique_ptr<DIR, CloseDirectory> stream(::opendir(directory_));
        if (!stream)
            return units;  // a kernel without such devices has no directory for them
        while (const dirent* const entry = ::readdir(stream.get())) {
            if (entry->d_type == DT_LNK)
                units.emplace_back(entry->d_name);
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
