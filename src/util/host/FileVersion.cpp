// CFileUtility's component versions.
#include <algorithm>
#include <climits>
#include <cstdlib>

#include "base/Paths.h"
#include "CFileUtility.h"
#include "CStringUtil.h"
#include "winapi.h"

namespace {

// In the order in which they are searched.
constexpr const char* kSections[] = {"Integrated",    "CLI",         "SOM",
                                     "UpdateManager", "QORProvider", "VendorModule"};

std::string VersionFile()
{
    return std::string(qor::paths::kEtcDirectory) + "/" + qor::paths::kVersionFile;
}

std::string ReadText(const std::string& section, const std::string& key, const std::string& file)
{
    char value[256 + 1] = {};  // the copy is not terminated when it fills its size
    (void)GetPrivateProfileStringA(section.c_str(), key.c_str(), "", value, sizeof value - 1,
                                   file.c_str());
    return value;
}

// Takes the number off the front of a version's list; 0 when it has none left.
long TakeNumber(std::list<std::string>& numbers)
{
    if (numbers.empty())
        return 0;
    const long number = std::strtol(numbers.front().c_str(), nullptr, 10);
    numbers.pop_front();
    return number;
}

// b - a, or the int nearest to it: the sign must hold for any two numbers.
int Difference(long a, long b)
{
    long difference = 0;
    if (__builtin_sub_overflow(b, a, &difference))
        return b > a ? INT_MAX : INT_MIN;
    return static_cast<int>(
        std::clamp(difference, static_cast<long>(INT_MIN), static_cast<long>(INT_MAX)));
}

}  // namespace

int CFileUtility::CheckFileVersion(std::string a, std::string b)
{
    std::list<std::string> numbersA = CStringUtil::SplitByDot(a);
    std::list<std::string> numbersB = CStringUtil::SplitByDot(b);
    while (!numbersA.empty() || !numbersB.empty()) {
        const long x = TakeNumber(numbersA);
        const long y = TakeNumber(numbersB);
        if (x != y)
            return Difference(x, y);
    }
    return 0;
}

void CFileUtility::MakeVersionList(std::string section,
                                   std::list<std::pair<std::string, std::string>>& list)
{
    const std::string file = VersionFile();
    const int count = GetPrivateProfileIntA(section.c_str(), "TargetNum", 0, file.c_str());
    for (std::int64_t i = 1; i <= count; ++i) {
        const std::string number = CStringUtil::NumberToTString(i);
        list.emplace_back(ReadText(section, "TargetName" + number, file),
                          ReadText(section, "Version" + number, file));
    }
}

std::string CFileUtility::GetFileVersion(std::string path)
{
    const std::string name = path.substr(path.rfind('/') + 1);  // npos + 1 is 0
    std::list<std::pair<std::string, std::string>> list;
    for (const char* const section : kSections) {
        MakeVersionList(section, list);
        const auto hit = std::find_if(list.begin(), list.end(),
                                      [&](const auto& entry) { return entry.first == name; });
        if (hit != list.end())
            return hit->second;
    }
    return {};
}
