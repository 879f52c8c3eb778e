#include "provider/VersionsMethod.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "CFileUtility.h"
#include "CTraceUtility.h"
#include "provider/Catalogue.h"
#include "provider/Component.h"
#include "provider/EtcFiles.h"
#include "provider/MethodError.h"
#include "provider/Parameters.h"
#include "provider/Rows.h"

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

const char* TextOf(State state)
{
    switch (state) {
        case State::kCurrent:
            return "current";
        case State::kUpdateNeeded:
            return "update needed";
        case State::kNotListed:
            break;
    }
    return "not in the catalogue";
}

State AddComponent(const Component& component, const Catalogue& catalogue, IWbemClassObject* row)
{
    const auto wanted = catalogue.find(component.name);
    const State state = StateOf(catalogue, component.name, component.installed);
    (void)CIWbemUtil::setStringToIWbemClassObject(row, "Section", component.section);
    (void)CIWbemUtil::setStringToIWbemClassObject(row, "Component", component.name);
    (void)CIWbemUtil::setStringToIWbemClassObject(row, "Installed", component.installed);
    (void)CIWbemUtil::setStringToIWbemClassObject(
        row, "Wanted", wanted == catalogue.end() ? std::string() : wanted->second);
    (void)CIWbemUtil::setStringToIWbemClassObject(row, "State", TextOf(state));
    return state;
}

}  // namespace

void RunVersionsMethod(IWbemClassObject* parameters, IWbemClassObject* result)
{
    RequireFile(kVersionFile);
    const std::vector<Component> components = InstalledComponents(parameters);
    const Catalogue catalogue = ReadCatalogue(kCatalogue);
    Rows rows;
    int updates = 0;
    for (const Component& component : components)
        updates += AddComponent(component, catalogue, rows.Add()) == State::kUpdateNeeded ? 1 : 0;

    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    rows.AppendTo(result, "Components");
    CTraceUtility::WriteTrace(kComponent, "INVENTORY_UPDATES", updates,
                              static_cast<int>(components.size()));
}

}  // namespace one_request
