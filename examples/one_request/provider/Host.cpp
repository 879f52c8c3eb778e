#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

#include "provider/Method.h"
#include "provider/Methods.h"
#include "provider/Readers.h"

namespace one_request {
namespace {

constexpr char kProcessor[] = "Processor";
constexpr char kMemory[] = "Memory";
constexpr char kCpuInfo[] = "/proc/cpuinfo";

[[noreturn]] void Fail(const char* call)
{
    throw std::system_error(errno, std::generic_category(), call);
}

// Empty when the caller wants everything.
std::string WantedSection(IWbemClassObject* parameters)
{
    const std::string section = StringParameter(parameters, "Section");
    if (section.empty() || section == kProcessor || section == kMemory)
        return section;
    throw MethodError(kStatusInvalidParameter, "Section must be \"Processor\" or \"Memory\"");
}

utsname ReadNames()
{
    utsname names;
    if (::uname(&names) != 0)
        Fail("uname");
    return names;
}

struct sysinfo ReadUsage()
{
    struct sysinfo usage;
    if (::sysinfo(&usage) != 0)
        Fail("sysinfo");
    return usage;
}

CpuInfo ReadProcessors()
{
    std::ifstream file(kCpuInfo);
    if (!file)
        Fail(kCpuInfo);
    return ParseCpuInfo(file);
}

// sysinfo(2) gives the averages as fixed-point numbers.
std::string LoadText(unsigned long load)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.2f",
                        static_cast<double>(load) / (1UL << SI_LOAD_SHIFT));
    return text;
}

void AddPlainFacts(const utsname& names, const struct sysinfo& usage, IWbemClassObject* result)
{
    std::vector<std::string> loads;
    for (const unsigned long load : usage.loads)
        loads.push_back(LoadText(load));
    Set(*result, "HostName", names.nodename);
    Set(*result, "KernelRelease", names.release);
    Set(*result, "Architecture", names.machine);
    Set(*result, "UptimeSeconds", static_cast<unsigned long>(usage.uptime));
    (void)CIWbemUtil::setStringArrayToIWbemClassObject(result, "LoadAverages", &loads);
    (void)CIWbemUtil::setBoolToIWbemClassObject(result, "SwapEnabled", usage.totalswap != 0);
}

void AddProcessor(const CpuInfo& processors, IWbemClassObject* result)
{
    IWbemClassObject nested;
    Set(nested, "Model", processors.model);
    Set(nested, "Count", processors.count);
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(result, kProcessor, &nested);
}

void AddMemory(const struct sysinfo& usage, IWbemClassObject* result)
{
    IWbemClassObject nested;
    Set(nested, "TotalBytes", usage.totalram * usage.mem_unit);
    Set(nested, "FreeBytes", usage.freeram * usage.mem_unit);  // caches not counted
    Set(nested, "SwapBytes", usage.totalswap * usage.mem_unit);
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(result, kMemory, &nested);
}

}  // namespace

void RunHost(IWbemClassObject* parameters, IWbemClassObject* result)
{
    const std::string section = WantedSection(parameters);
    const utsname names = ReadNames();
    const struct sysinfo usage = ReadUsage();
    const CpuInfo processors = ReadProcessors();

    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    AddPlainFacts(names, usage, result);
    if (section != kMemory)
        AddProcessor(processors, result);
    if (section != kProcessor)
        AddMemory(usage, result);
}

}  // namespace one_request
