// Vendor factory files: which vendor library serves which device.
#include <cstdlib>

#include "checks/Checks.h"
#include "CStringUtil.h"
#include "CVcFacReader.h"
#include "Text.h"

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
        std::string wrong;
        std::size_t line = section.line;
        if (IsMisspelt(section.name, kIndex, "SupportDevice"))
            wrong = section.name;
        for (const IniEntry& entry : section.entries) {
            if (wrong.empty() && IsMisspelt(entry.key, kCountKey, "SupportDeviceNum")) {
                wrong = entry.key;
                line = entry.line;
            }
        }
        if (wrong.empty())
            continue;
        report.Add("vendor-index-misspelt", file.At(line),
                   Quoted(wrong) +
                       " is not the index: the file is read as that of one device, named by its "
                       "first section, with the first keys found anywhere.",
                   "Spell the section SuportDevice and its key SuportDeviceNum.");
        return true;
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
bool CheckKeys(const IniFile& file, const IniSection& section, Report& report)
{
    for (const char* const key : {"DllName", "ClassName"}) {
        if (file.Value(section.name, key))
            continue;
        report.Add("vendor-key-missing", file.At(section.line),
                   Bracketed(section.name) + " has no " + key +
                       ": the device is not served, and neither are those behind it.",
                   "Give every device its DllName and ClassName.");
        return false;
    }
    return true;
}

void CheckOneDevice(const IniFile& file, const Installation& installation, Report& report)
{
    if (file.Sections().empty())
        return;
    const IniSection& device = file.Sections().front();
    CVcFacReader reader(file.Path());
    reader.parse();
    if (!reader.isExist(device.name)) {
        (void)CheckKeys(file, device, report);
        return;
    }
    for (std::size_t i = 1; i < file.Sections().size(); ++i)
        report.Add("vendor-section-unread", file.At(file.Sections()[i].line),
                   Bracketed(file.Sections()[i].name) +
                       " is no device: without an index the file has one, " +
                       Bracketed(device.name) + ".",
                   "Begin the file with [SuportDevice] and SuportDeviceNum.");
    CheckDevice(file, device.name, installation, report);
}

void CheckCount(const IniFile& file, int count, int devices, Report& report)
{
    if (count > devices)
        report.Add("vendor-section-missing", file.PlaceOf(kIndex, kCountKey),
                   kCountKey + std::string(" is ") + std::to_string(count) +
                       ", but the number of sections behind the index is " +
                       std::to_string(devices) + ": reading ends with them.",
                   "Correct the number, or add the devices that are missing.");
    for (int i = count; i < devices; ++i) {
        const IniSection& section = file.Sections()[static_cast<std::size_t>(i) + 1];
        report.Add("vendor-section-unread", file.At(section.line),
                   Bracketed(section.name) + " is not read: " + kCountKey + " is " +
                       std::to_string(count) + ".",
                   "Set " + std::string(kCountKey) + " to the number of devices.");
    }
}

void CheckSeveralDevices(const IniFile& file, int count, const Installation& installation,
                         Report& report)
{
    const auto& sections = file.Sections();
    for (std::size_t i = 1; i < sections.size() && static_cast<int>(i) <= count; ++i) {
        if (!CheckKeys(file, sections[i], report))
            return;
        CheckDevice(file, sections[i].name, installation, report);
    }
    CheckCount(file, count, static_cast<int>(sections.size()) - 1, report);
}

void CheckIndexed(const IniFile& file, const std::string& text, const Installation& installation,
                  Report& report)
{
    const int count = static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
    if (count < 1)
        report.Add("vendor-count-unusable", file.PlaceOf(kIndex, kCountKey),
                   kCountKey + (" is " + Quoted(text)) + ": no device is served.",
                   "Write the number of devices, in decimal.");
    else if (file.Sections().front().name != kIndex)
        report.Add(
            "vendor-index-not-first", file.PlaceOf(kIndex),
            "The index is not the first section: " + Bracketed(file.Sections().front().name) +
                " is passed over in its place, and reading ends at the index at the latest, which "
                "is no device.",
            "Move [SuportDevice] to the beginning of the file.");
    else
        CheckSeveralDevices(file, count, installation, report);
}

}  // namespace

void CheckVendors(const ChosenFile& chosen, const Installation& installation, Report& report)
{
    const auto file = ReadChosen(chosen, "no device is served.", report);
    if (!file)
        return;
    if (const auto count = file->Value(kIndex, kCountKey))
        CheckIndexed(*file, *count, installation, report);
    else if (!CheckSpelling(*file, report))
        CheckOneDevice(*file, installation, report);
}

}  // namespace doctor
