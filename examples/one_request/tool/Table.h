// Table.h - a class object as a person reads it.
//
//     HostName       node7
//     UptimeSeconds  2 days 03:14:07
//     LoadAverages   0.12, 0.08, 0.01
//     SwapEnabled    yes
//     Memory
//       TotalBytes  3.9 GiB (4140580864)
//     Devices
//       Name  Speed
//       eth0  1000
//       eth1
//
// Plain properties stand in two columns, nested objects are indented, class arrays become tables
// with a column for each name that occurs. Numbers whose names end in "Bytes" or "Seconds" are
// shown as sizes and spans.
#ifndef ONE_REQUEST_TOOL_TABLE_H
#define ONE_REQUEST_TOOL_TABLE_H

#include <iosfwd>

class IWbemClassObject;

namespace one_request {

/// "ReturnValue" is left out: the exit status shows it.
void PrintTable(std::ostream& out, IWbemClassObject& object);

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_TABLE_H
