// HostMethod.h - the method "Host" of class "Inventory": this host in one answer.
//
// Parameter "Section" (string, optional): "Processor" or "Memory" leaves out the other one.
//
// Result: "ReturnValue", strings "HostName", "KernelRelease", "Architecture", unsigned long
// "UptimeSeconds", string array "LoadAverages" (1, 5 and 15 minutes), bool "SwapEnabled", and the
// nested objects "Processor" (string "Model", unsigned long "Count") and "Memory" (unsigned long
// "TotalBytes", "FreeBytes", "SwapBytes").
#ifndef ONE_REQUEST_PROVIDER_HOSTMETHOD_H
#define ONE_REQUEST_PROVIDER_HOSTMETHOD_H

class IWbemClassObject;

namespace one_request {

/// Throws MethodError for an unknown section, std::system_error when a fact cannot be read; the
/// result is then still empty.
void RunHostMethod(IWbemClassObject* parameters, IWbemClassObject* result);

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_HOSTMETHOD_H
