#include "provider/HostMethod.h"

#include <string>

#include "CIWbemUtil.h"
#include "provider/HostFacts.h"
#include "provider/MethodError.h"

namespace one_request {
namespace {

constexpr char kSection[] = "Section";
constexpr char kProcessor[] = "Processor";
constexpr char kMemory[] = "Memory";

// Empty when the caller wants everything.
std::string WantedSection(IWbemClassObject* parameters)
{
    std::string section;
    (void)CIWbemUtil::getStringFromIWbemClassObject(parameters, kSection, &section);
    if (section.empty() || section == kProcessor || section == kMemory)
        return section;
    throw MethodError(kStatusInvalidParameter, "Section must be \"Processor\" or \"Memory\"");
}

// The setters fail for null pointers only, and there are none here.

void AddPlainFacts(const HostFacts& facts, IWbemClassObject* result)
{
    (void)CIWbemUtil::setStringToIWbemClassObject(result, "HostName", facts.hostName);
    (void)CIWbemUtil::setStringToIWbemClassObject(result, "KernelRelease", facts.kernelRelease);
    (void)CIWbemUtil::setStringToIWbemClassObject(result, "Architecture", facts.architecture);
    (void)CIWbemUtil::setULongToIWbemClassObject(result, "UptimeSeconds", facts.uptime);
    (void)CIWbemUtil::setStringArrayToIWbemClassObject(result, "LoadAverages", &facts.loadAverages);
    (void)CIWbemUtil::setBoolToIWbemClassObject(result, "SwapEnabled", facts.swapTotal != 0);
}

void AddProcessor(const CpuInfo& processors, IWbemClassObject* result)
{
    IWbemClassObject nested;
    (void)CIWbemUtil::setStringToIWbemClassObject(&nested, "Model", processors.model);
    (void)CIWbemUtil::setULongToIWbemClassObject(&nested, "Count", processors.count);
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(result, kProcessor, &nested);
}

void AddMemory(const HostFacts& facts, IWbemClassObject* result)
{
    IWbemClassObject nested;
    (void)CIWbemUtil::setULongToIWbemClassObject(&nested, "TotalBytes", facts.memoryTotal);
    (void)CIWbemUtil::setULongToIWbemClassObject(&nested, "FreeBytes", facts.memoryFree);
    (void)CIWbemUtil::setULongToIWbemClassObject(&nested, "SwapBytes", facts.swapTotal);
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(result, kMemory, &nested);
}

}  // namespace

void RunHostMethod(IWbemClassObject* parameters, IWbemClassObject* result)
{
    const std::string section = WantedSection(parameters);
    const HostFacts facts = ReadHostFacts();

    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    AddPlainFacts(facts, result);
    if (section.empty() || section == kProcessor)
        AddProcessor(facts.processors, result);
    if (section.empty() || section == kMemory)
        AddMemory(facts, result);
}

}  // namespace one_request
