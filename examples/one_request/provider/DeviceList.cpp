#include "provider/DeviceList.h"

#include <istream>

namespace one_request {

std::vector<Device> ParseDeviceList(std::istream& lines)
{
    std::vector<Device> devices;
    std::string line;
    while (std::getline(lines, line)) {
        const auto first = line.find('-');
        const auto second = line.find('-', first == std::string::npos ? first : first + 1);
        if (second == std::string::npos)
            continue;
        devices.push_back({line.substr(0, first), line.substr(first + 1, second - first - 1),
                           line.substr(second + 1)});
    }
    return devices;
}

}  // namespace one_request
