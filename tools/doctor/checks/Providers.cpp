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

// Whether the name is one of PREFIX1, PREFIX2 ... without being one of the first `count` of them;
// "Provider012" is none.
bool IsUnread(const std::string& name, const std::string& prefix, int count)
{
    if (!StartsWith(name, prefix))
        return false;
    const std::string digits = name.substr(prefix.size());
    const int number = static_cast<int>(std::strtol(digits.c_str(), nullptr, 10));
    return std::to_string(number) != digits || number < 1 || number > count;
}

int MethodCount(const IniFile& file, const std::string& section)
{
    const auto text = file.Value(section, "MethodNum");
    return text ? static_cast<int>(std::strtol(text->c_str(), nullptr, 10)) : 0;
}

void CheckKinds(const IniFile& file, const std::string& section, Report& report)
{
    for (const auto& known : kKnownValues) {
        const auto value = file.Value(section, known.key);
        if (value && *value != known.value &&
            CStringUtil::StringCmpIgnore(WithoutBlanksAtEnd(*value), known.value))
            report.Add("provider-kind-not-exact", file.PlaceOf(section, known.key),
                       {*value, known.value, known.value});
    }
}

void CheckMethods(const IniFile& file, const IniSection& section, Report& report)
{
    const int count = std::max(MethodCount(file, section.name), 0);
    const bool hasCount = file.Value(section.name, "MethodNum").has_value();
    for (const IniEntry& entry : section.entries) {
        if (entry.key != "MethodNum" && IsUnread(entry.key, "Method", count))
            report.Add("provider-method-unread", file.At(entry.line),
                       {entry.key, hasCount ? std::to_string(count) : "missing"});
    }
}

// False, with a finding, for the first missing key: it ends the reading.
bool CheckKeys(const IniFile& file, const IniSection& section, Report& report)
{
    for (const char* const key : kRequired) {
        if (file.Value(section.name, key))
            continue;
        report.Add("provider-key-missing", file.At(section.line), {section.name, key, key});
        return false;
    }
    const int count = MethodCount(file, section.name);
    for (int i = 1; i <= count; ++i) {
        const std::string key = "Method" + std::to_string(i);
        if (file.Value(section.name, key))
            continue;
        report.Add("provider-method-missing", file.PlaceOf(section.name, "MethodNum"),
                   {std::to_string(count), key, key});
        return false;
    }
    return true;
}

void CheckProvider(const IniFile& file, const IniSection& section,
                   std::map<std::string, std::string>& classes, const Installation& installation,
                   Report& report)
{
    const std::string className = file.Value(section.name, "ClassName").value_or("");
    const auto [first, isNew] = classes.emplace(className, section.name);
    if (!isNew)
        report.Add("provider-class-repeated", file.PlaceOf(section.name, "ClassName"),
                   {className, first->second});
    CheckKinds(file, section.name, report);
    CheckMethods(file, section, report);
    CheckLibrary(
        {file.Value(section.name, "LibName").value_or(""), file.PlaceOf(section.name, "LibName"),
         installation.providerDirectory, "create", "provider"},
        installation, report);
}

// The sections that are read: up to the first mistake.
void CheckRead(const IniFile& file, int count, const Installation& installation, Report& report)
{
    std::map<std::string, std::string> classes;
    for (int i = 1; i <= count; ++i) {
        const std::string name = "Provider" + std::to_string(i);
        const IniSection* const section = file.Find(name);
        if (section == nullptr)
            return report.Add("provider-section-missing", file.PlaceOf("Common", "NumProvider"),
                              {std::to_string(count), name});
        if (!CheckKeys(file, *section, report))
            return;
        CheckProvider(file, *section, classes, installation, report);
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
        const Place place = file->PlaceOf("Common", "NumProvider");
        if (const auto text = file->Value("Common", "NumProvider"))
            return report.Add("provider-count-unusable", place, {*text});
        return report.Add("provider-count-unusable/none", place);
    }
    CheckRead(*file, count, installation, report);
    for (const IniSection& section : file->Sections()) {
        if (IsUnread(section.name, "Provider", count))
            report.Add("provider-section-unread", file->At(section.line),
                       {section.name, std::to_string(count)});
    }
}

}  // namespace doctor
