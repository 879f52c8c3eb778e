// ObjectText.h - a class object as a run of text records, and back.
//
//     std::string text = WriteObjectText(*object);
//     ObjectTree copy = ReadObjectText(text);
//
// A record's name is the property's path: "." and a name for each step from the outermost object.
// A nested object, and each element of a class array, begins with a record of its own; elements
// are numbered from 1:
//
//     string;.HostName;node7;
//     string[];.LoadAverages;0.12!#0.08!#0.01!#;
//     class;.Memory;;
//     ulong;.Memory.TotalBytes;4140580864;
//     class[];.Devices;;
//     class;.Devices.1;;
//     string;.Devices.1.Name;eth0;
//
// Values and names hold no plain ";", so the text falls apart at every third one, and each record
// is read by itself: a getter that searched the whole text would find "Name;" inside "HostName;",
// or at the end of somebody's value. Within one record ".HostName;" cannot be found too early, as
// no type tag holds a ".".
//
// Types: int, unsigned int (comes back as int where it fits), long, unsigned long, bool,
// std::string, arrays of strings and of int (come back as strings), nested objects (null comes
// back as empty), class arrays.
#ifndef ONE_REQUEST_SHARED_OBJECTTEXT_H
#define ONE_REQUEST_SHARED_OBJECTTEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "shared/ObjectTree.h"

namespace one_request {

/// Whether `text` can be the name of a property, class or method: 1 to 64 letters, digits and
/// underscores, the first no digit.
bool IsName(std::string_view text);

/// The records of an object that may hold anything. Throws QorException for what would not come
/// back: another type, a bad or repeated name, more than 16 steps, a string that holds "%!@", an
/// element that holds "!#".
std::string WriteObjectText(IWbemClassObject& object);

/// The object that the records describe. Throws QorException for any text that WriteObjectText
/// does not write.
ObjectTree ReadObjectText(const std::string& text);

/// The single records of a text, in order. A rest that is no whole record comes last.
std::vector<std::string> SplitRecords(const std::string& text);

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_OBJECTTEXT_H
