#include "provider/CpuInfo.h"

#include <algorithm>
#include <istream>

namespace one_request {
namespace {

// x86 and some ARM, MIPS, POWER, RISC-V.
const char* const kModelKeys[] = {"model name", "cpu model", "cpu", "uarch"};

std::string Trim(const std::string& text)
{
    constexpr char kBlanks[] = " \t";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsModelKey(const std::string& key)
{
    return std::find(std::begin(kModelKeys), std::end(kModelKeys), key) != std::end(kModelKeys);
}

}  // namespace

CpuInfo ParseCpuInfo(std::istream& lines)
{
    CpuInfo info;
    std::string line;
    while (std::getline(lines, line)) {
        const auto colon = line.find(':');
        if (colon == std::string::npos)
            continue;
        const std::string key = Trim(line.substr(0, colon));
        if (key == "processor")
            ++info.count;
        else if (info.model.empty() && IsModelKey(key))
            info.model = Trim(line.substr(colon + 1));
    }
    return info;
}

}  // namespace one_request
