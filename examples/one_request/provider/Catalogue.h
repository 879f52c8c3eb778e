// Catalogue.h - the wanted version of each component, from an XML file:
//
//     <catalogue>
//       <component name="qor_som" version="1.2.0"/>
//     </catalogue>
//
// Other elements and attributes are passed over; of two components with one name the first counts.
#ifndef ONE_REQUEST_PROVIDER_CATALOGUE_H
#define ONE_REQUEST_PROVIDER_CATALOGUE_H

#include <map>
#include <string>

namespace one_request {

using Catalogue = std::map<std::string, std::string>;  // component to version

/// Throws MethodError for a file that cannot be opened, is not well-formed, or holds a component
/// without name or version. One thread of the process: see IXmlReader.h.
Catalogue ReadCatalogue(const std::string& path);

/// How an installed version stands to the wanted one.
enum class State { kCurrent, kUpdateNeeded, kNotListed };

/// A newer version than the wanted one is current too.
State StateOf(const Catalogue& catalogue, const std::string& component,
              const std::string& installed);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_CATALOGUE_H
