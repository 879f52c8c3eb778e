// VersionsMethod.h - the method "Versions" of class "Inventory": which installed component needs an
// update.
//
// Parameters (strings, optional): "Section", one of the version file's sections; "Component", a
// name in it. Either leaves out all others.
//
// Result: "ReturnValue" and the class array "Components" (strings "Section", "Component",
// "Installed", "Wanted", and "State": "current", "update needed" or "not in the catalogue").
#ifndef ONE_REQUEST_PROVIDER_VERSIONSMETHOD_H
#define ONE_REQUEST_PROVIDER_VERSIONSMETHOD_H

class IWbemClassObject;

namespace one_request {

/// Throws MethodError for an unknown section or component, a missing version file, and what
/// ReadCatalogue throws.
void RunVersionsMethod(IWbemClassObject* parameters, IWbemClassObject* result);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_VERSIONSMETHOD_H
