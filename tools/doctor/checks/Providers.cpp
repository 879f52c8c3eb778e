// Provider definition files: which library serves which class.
#include <algorithm>
#include <cstdlib>
#include <map>

#include "checks/Checks.h"
#include "CMofReader.h"
#include "CStringUtil.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kCommon[] = "Common";
constexpr char kCountKey[] = "NumProvider";
constexpr char kMethodCountKey[] = "MethodNum";

// In the order in which they are read.
constexpr const char* kRequired[] = {"ProviderKind", "LibName",   "ClassName",
                                     "ClassKind",    "ClassMode", "SpecificFile"};

// What ClassKind and ClassMode are compared with.
constexpr struct {
    const char* key;
    const char* value;
} kKnownValues[] = {{"ClassKind", "VELMORA_DevService"},
                    {"ClassKind", "VELMORA_ToolService"},
                    {"ClassMode", "FIXED_DEV"},
                    {"ClassMode", "FIXED_TOOL"}};

bool BeginsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

// The number behind a prefix: of "Provider12" 12, of other names, and of "Provider012", 0.
int NumberBehind(const std::string& name, const std::string& prefix)
{
    if (!BeginsWith(name, prefix))
        return 0;
    const std::string digits = name.substr(prefix.size());
    const int number = static_cast<int>(std::strtol(digits.c_str(), nullptr, 10));
    return std::to_string(number) == digits ? number : 0;
}

int Number(const std::optional<std::string>& text)
{
    return text ? static_cast<int>(std::strtol(text->c_str(), nullptr, 10)) : 0;
}

void CheckKinds(const IniFile& file, const std::string& section, Report& report)
{
    for (const auto& known : kKnownValues) {
        const auto value = file.Value(section, known.key);
        if (!value || *value == known.value)
            continue;
        const std::string letters = value->substr(0, value->find_last_not_of(" \t\r") + 1);
        if (CStringUtil::StringCmpIgnore(letters, known.value))
            report.Add("provider-kind-not-exact", file.PlaceOf(section, known.key),
                       Quoted(*value) + " is not exactly " + Quoted(known.value) +
                           ": it counts as an unknown text.",
                       "Write " + std::string(known.value) + ".");
    }
}

void CheckMethods(const IniFile& file, const IniSection& section, Report& report)
{
    const auto text = file.Value(section.name, kMethodCountKey);
    const int count = std::max(Number(text), 0);
    for (const IniEntry& entry : section.entries) {
        const int number = NumberBehind(entry.key, "Method");
        if (!BeginsWith(entry.key, "Method") || entry.key == kMethodCountKey ||
            (number >= 1 && number <= count))
            continue;
        report.Add("provider-method-unread", file.At(entry.line),
                   Quoted(entry.key) + " is not read: " + kMethodCountKey +
                       (text ? " is " + std::to_string(count) : " is missing") +
                       ", and methods are numbered from 1 without zeros in front.",
                   "Set " + std::string(kMethodCountKey) + " to the number of methods.");
    }
}

// False, with a finding, for the first missing key: it ends the reading.
bool CheckKeys(const IniFile& file, const IniSection& section, Report& report)
{
    for (const char* const key : kRequired) {
        if (file.Value(section.name, key))
            continue;
        report.Add("provider-key-missing", file.At(section.line),
                   Bracketed(section.name) + " has no " + key +
                       ": reading the file ends here with \"" + key +
                       " Not Found\"; this provider and those behind it are unknown.",
                   "Give it the key; its value may be empty.");
        return false;
    }
    const int count = Number(file.Value(section.name, kMethodCountKey));
    for (int i = 1; i <= count; ++i) {
        const std::string key = "Method" + std::to_string(i);
        if (file.Value(section.name, key))
            continue;
        report.Add("provider-method-missing", file.PlaceOf(section.name, kMethodCountKey),
                   kMethodCountKey + std::string(" is ") + std::to_string(count) +
                       ", but there is no " + key + ": reading the file ends here with \"" + key +
                       " Not Found\"; this provider and those behind it are unknown.",
                   "Correct the number, or add the method.");
        return false;
    }
    return true;
}

void CheckClassName(const IniFile& file, const std::string& section,
                    std::map<std::string, std::string>& classes, Report& report)
{
    const std::string name = file.Value(section, "ClassName").value_or("");
    const auto added = classes.emplace(name, section);
    if (!added.second)
        report.Add("provider-class-repeated", file.PlaceOf(section, "ClassName"),
                   "The class " + Quoted(name) + " is served by " + Bracketed(added.first->second) +
                       " already, which is the one that is found.",
                   "Name each class once.");
}

void CheckUnread(const IniFile& file, int count, Report& report)
{
    for (const IniSection& section : file.Sections()) {
        const int number = NumberBehind(section.name, "Provider");
        if (!BeginsWith(section.name, "Provider") || (number >= 1 && number <= count))
            continue;
        report.Add("provider-section-unread", file.At(section.line),
                   Bracketed(section.name) + " is not read: " + kCountKey + " is " +
                       std::to_string(count) +
                       ", and sections are numbered from 1 without zeros in front.",
                   "Set " + std::string(kCountKey) + " to the number of providers.");
    }
}

void CheckProvider(const IniFile& file, const IniSection& section, const Installation& installation,
                   Report& report)
{
    CheckKinds(file, section.name, report);
    CheckMethods(file, section, report);
    CheckLibrary(
        {file.Value(section.name, "LibName").value_or(""), file.PlaceOf(section.name, "LibName"),
         installation.providerDirectory, "create", "provider"},
        installation, report);
}

void CheckAll(const IniFile& file, int count, const Installation& installation, Report& report)
{
    std::map<std::string, std::string> classes;
    bool isRead = true;  // up to the first mistake
    for (int i = 1; i <= count; ++i) {
        const std::string name = "Provider" + std::to_string(i);
        const IniSection* const section = file.Find(name);
        if (section == nullptr) {
            if (isRead)
                report.Add("provider-section-missing", file.PlaceOf(kCommon, kCountKey),
                           kCountKey + std::string(" is ") + std::to_string(count) +
                               ", but there is no " + Bracketed(name) +
                               ": reading the file ends there with \"ProviderKind Not Found\".",
                           "Correct the number, or add the section.");
            return;
        }
        isRead = isRead && CheckKeys(file, *section, report);
        if (isRead) {
            CheckClassName(file, name, classes, report);
            CheckProvider(file, *section, installation, report);
        }
    }
}

}  // namespace

void CheckProviders(const ChosenFile& chosen, const Installation& installation, Report& report)
{
    const auto file = ReadChosen(chosen, "there are no providers, and no class is served.", report);
    if (!file)
        return;
    const int count = CMofReader(chosen.path).GetProviderCount();
    if (count <= 0) {
        const auto text = file->Value(kCommon, kCountKey);
        report.Add("provider-count-unusable", file->PlaceOf(kCommon, kCountKey),
                   (text ? kCountKey + (" is " + Quoted(*text))
                         : "There is no " + std::string(kCountKey) + " in [Common]") +
                       ": there are no providers, and no class is served.",
                   "Write the number of providers, in decimal.");
        return;
    }
    CheckAll(*file, count, installation, report);
    CheckUnread(*file, count, report);
}

}  // namespace doctor
