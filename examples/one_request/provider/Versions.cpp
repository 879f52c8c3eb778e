#include <algorithm>
#include <iterator>
#include <list>
#include <utility>

#include "CTraceUtility.h"
#include "provider/Method.h"
#include "provider/Methods.h"
#include "provider/Readers.h"

namespace one_request {
namespace {

// In the order of CFileUtility::GetFileVersion, which knows no others.
const char* const kSections[] = {"Integrated",    "CLI",         "SOM",
                                 "UpdateManager", "QORProvider", "VendorModule"};

struct Component {
    std::string section;
    std::string name;
    std::string installed;
};

std::vector<std::string> WantedSections(IWbemClassObject* parameters)
{
    const std::string section = StringParameter(parameters, "Section");
    if (section.empty())
        return {std::begin(kSections), std::end(kSections)};
    if (std::find(std::begin(kSections), std::end(kSections), section) == std::end(kSections))
        throw MethodError(kStatusInvalidParameter,
                          "Section must be Integrated, CLI, SOM, UpdateManager, QORProvider or "
                          "VendorModule");
    return {section};
}

std::vector<Component> InstalledComponents(IWbemClassObject* parameters)
{
    const std::string wanted = StringParameter(parameters, "Component");
    std::vector<Component> components;
    for (const std::string& section : WantedSections(parameters)) {
        std::list<std::pair<std::string, std::string>> entries;
        CFileUtility::MakeVersionList(section, entries);
        for (const auto& [name, version] : entries) {
            if (wanted.empty() || wanted == name)
                components.push_back({section, name, version});
        }
    }
    if (!wanted.empty() && components.empty())
        throw MethodError(kStatusInvalidParameter,
                          std::string("Component must be one that is listed in ") + kVersionFile);
    return components;
}

}  // namespace

void RunVersions(IWbemClassObject* parameters, IWbemClassObject* result)
{
    RequireFile(kVersionFile);
    const std::vector<Component> components = InstalledComponents(parameters);
    const Catalogue catalogue = ReadCatalogue(kCatalogue);
    Rows rows;
    int updates = 0;
    for (const Component& component : components) {
        const auto wanted = catalogue.find(component.name);
        const std::string state = StateOf(catalogue, component.name, component.installed);
        IWbemClassObject& row = rows.Add();
        Set(row, "Section", component.section);
        Set(row, "Component", component.name);
        Set(row, "Installed", component.installed);
        Set(row, "Wanted", wanted == catalogue.end() ? "" : wanted->second);
        Set(row, "State", state);
        updates += state == kUpdateNeeded ? 1 : 0;
    }

    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    rows.AppendTo(result, "Components");
    CTraceUtility::WriteTrace(kComponent, "INVENTORY_UPDATES", updates,
                              static_cast<int>(components.size()));
}

}  // namespace one_request
