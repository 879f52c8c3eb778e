// COsInfo's device list.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <sstream>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/Handles.h"
#include "base/Paths.h"
#include "base/ScratchFile.h"
#include "COsInfo.h"
#include "trace/TraceScope.h"

namespace {

constexpr mode_t kDeviceListMode = 0644;

std::string UpperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

// Writes the records of the script's output to the list. False when a write fails.
bool WriteRecords(const std::string& output, int list)
{
    std::istringstream words(output);
    for (std::string first; words >> first;) {
        std::string second;
        std::string third;
        words >> second >> third;
        if (first[0] < '0' || first[0] > '9')
            continue;
        const std::string line = first + "-" + UpperCase(second) + "-" + UpperCase(third) + "\n";
        if (::write(list, line.data(), line.size()) < 1)
            return false;
    }
    return true;
}

}  // namespace

bool COsInfo::makeDeviceInfo()
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace("som", "bool COsInfo::makeDeviceInfo()");

    const qor::UniqueFd list(
        ::open(qor::paths::kDeviceList, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kDeviceListMode));
    if (!list) {
        trace.Fail("failed to create file %s", qor::paths::kDeviceList);
        return false;
    }

    const qor::ScratchFile scratch;
    if (scratch.Run(guard, qor::paths::kDeviceScript) == -1)
        return false;
    if (!WriteRecords(qor::ReadFile(scratch.path()), list.get())) {
        trace.Fail("failed to write file %s", qor::paths::kDeviceList);
        return false;
    }
    return true;
}
