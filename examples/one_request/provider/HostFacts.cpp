#include "provider/HostFacts.h"

#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

namespace one_request {
namespace {

constexpr char kCpuInfo[] = "/proc/cpuinfo";

[[noreturn]] void Fail(const char* call)
{
    throw std::system_error(errno, std::generic_category(), call);
}

void ReadNames(HostFacts& facts)
{
    struct utsname names;
    if (::uname(&names) != 0)
        Fail("uname");

    facts.hostName = names.nodename;
    facts.kernelRelease = names.release;
    facts.architecture = names.machine;
}

// sysinfo(2) gives the averages as fixed-point numbers.
std::string LoadText(unsigned long load)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.2f",
                        static_cast<double>(load) / (1UL << SI_LOAD_SHIFT));
    return text;
}

void ReadUsage(HostFacts& facts)
{
    struct sysinfo usage;
    if (::sysinfo(&usage) != 0)
        Fail("sysinfo");

    facts.uptime = static_cast<unsigned long>(usage.uptime);
    for (const unsigned long load : usage.loads)
        facts.loadAverages.push_back(LoadText(load));
    facts.memoryTotal = usage.totalram * usage.mem_unit;
    facts.memoryFree = usage.freeram * usage.mem_unit;
    facts.swapTotal = usage.totalswap * usage.mem_unit;
}

void ReadProcessors(HostFacts& facts)
{
    std::ifstream file(kCpuInfo);
    if (!file)
        Fail(kCpuInfo);
    facts.processors = ParseCpuInfo(file);
}

}  // namespace

HostFacts ReadHostFacts()
{
    HostFacts facts;
    ReadNames(facts);
    ReadUsage(facts);
    ReadProcessors(facts);
    return facts;
}

}  // namespace one_request
