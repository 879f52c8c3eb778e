// Vendor factory files: which vendor library serves which device.
#include <cstdlib>

#include "checks/Checks.h"
#include "CStringUtil.h"
#include "CVcFacReader.h"

namespace doctor {
namespace {

constexpr char kIndex[] = "SuportDevice";
constexpr char kCountKey[] = "SuportDeviceNum";

bool IsMisspelt(const std::string& name, const char* spelling, const char* mistake)
{
    return name != spelling && (CStringUtil::StringCmpIgnore(name, spelling) ||
                                CStringUtil::StringCmpIgnore(name, mistake));
}

// Whether the file means to have an index that nobody finds.
bool CheckSpelling(const IniFile& file, Report& report)
{
    for (const IniSection& section : file.Sections()) {
        if (IsMisspelt(section.name, kIndex, "SupportDevice")) {
            report.Add("vendor-index-misspelt", file.At(section.line), {section.name});
            return true;
        }
        for (const IniEntry& entry : section.entries) {
            if (!IsMisspelt(entry.key, kCountKey, "SupportDeviceNum"))
                continue;
            report.Add("vendor-index-misspelt", file.At(entry.line), {entry.key});
            return true;
        }
    }
    return false;
}

void CheckDevice(const IniFile& file, const std::string& device, const Installation& installation,
                 Report& report)
{
    CheckLibrary({file.Value(device, "DllName").value_or(""), file.PlaceOf(device, "DllName"),
                  installation.vendorDirectory, "GetVendorFactory", "vendor"},
                 installation, report);
}

// True: complete, so that the reading goes on.
bool CheckDeviceKeys(const IniFile& file, const IniSection& section, Report& report)
{
    for (const char* const key : {"DllName", "ClassName"}) {
        if (file.Value(section.name, key))
            continue;
        report.Add("vendor-key-missing", file.At(section.line), {section.name, key});
        return false;
    }
    return true;
}

void CheckOneDevice(const IniFile& file, const Installation& installation, Report& report)
{
    const auto& sections = file.Sections();
    if (sections.empty())
        return;
    const IniSection& device = sections.front();
    CVcFacReader reader(file.Path());
    reader.parse();
    if (!reader.isExist(device.name)) {
        (void)CheckDeviceKeys(file, device, report);
        return;
    }
    for (std::size_t i = 1; i < sections.size(); ++i)
        report.Add("vendor-section-unread/no-index", file.At(sections[i].line),
                   {sections[i].name, device.name});
    CheckDevice(file, device.name, installation, report);
}

void CheckSeveralDevices(const IniFile& file, std::size_t count, const Installation& installation,
                         Report& report)
{
    const auto& sections = file.Sections();
    for (std::size_t i = 1; i < sections.size(); ++i) {
        if (i > count) {
            report.Add("vendor-section-unread", file.At(sections[i].line),
                       {sections[i].name, std::to_string(count)});
            continue;
        }
        if (!CheckDeviceKeys(file, sections[i], report))
            return;
        CheckDevice(file, sections[i].name, installation, report);
    }
    if (count >= sections.size())
        report.Add("vendor-section-missing", file.PlaceOf(kIndex, kCountKey),
                   {std::to_string(count), std::to_string(sections.size() - 1)});
}

}  // namespace

void CheckVendors(const ChosenFile& chosen, const Installation& installation, Report& report)
{
    const auto file = ReadChosen(chosen, "no device is served.", report);
    if (!file)
        return;
    const auto text = file->Value(kIndex, kCountKey);
    if (!text) {
        if (!CheckSpelling(*file, report))
            CheckOneDevice(*file, installation, report);
        return;
    }
    const int count = static_cast<int>(std::strtol(text->c_str(), nullptr, 10));
    const std::string& first = file->Sections().front().name;
    if (count < 1)
        report.Add("vendor-count-unusable", file->PlaceOf(kIndex, kCountKey), {*text});
    else if (first != kIndex)
        report.Add("vendor-index-not-first", file->PlaceOf(kIndex), {first});
    else
        CheckSeveralDevices(*file, static_cast<std::size_t>(count), installation, report);
}

}  // namespace doctor
