// memory.cpp - resident memory and open descriptors over many operations: after the first thousand,
// when everything that is kept has been made, and after the last. Prints a table.
//
// Exits with 1 when the resident memory grew by more than kTolerance, or the number of open
// descriptors changed.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "CIniFileReader.h"
#include "CIWbemUtil.h"
#include "CTraceUtility.h"
#include "ini_files.h"
#include "IWbemClassObject.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/PrivateMounts.h"
#include "winapi.h"

namespace qor::bench {
namespace {

constexpr long kFirst = 1000;
constexpr long kTolerance = 64;  // KiB

void Check(bool holds, const char* what)
{
    if (!holds)
        throw std::runtime_error(what);
}

// KiB. Counted page by page; the kernel's running totals in /proc/self/status lag behind.
long ResidentMemory()
{
    std::ifstream file("/proc/self/smaps_rollup");
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, 4, "Rss:") == 0)
            return std::stol(line.substr(4));
    }
    throw std::runtime_error("no resident memory in /proc/self/smaps_rollup");
}

// Log records, by turns to the operation log and the debug log: both are rotated many times.

void OpenLogs()
{
    test::WriteFile("/opt/velmora/qor/um/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=1\n");
    test::WriteFile("/opt/velmora/qor/um/TraceSettingMsg.ini",
                    "[PACKAGE]\nFormatEng=Update of %s: package %d of %d\nType=info\n"
                    "Read=0x00000001\nEvent=0\n");
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
}

void WriteRecord(long number)
{
    const int count = static_cast<int>(number);
    if (number % 2 == 0)
        CTraceUtility::WriteTrace("um", "PACKAGE", "firmware", count, 42);
    else
        CTraceUtility::WriteDebug("um", CTraceUtility::TRACE_DBG_INFO,
                                  "Update of %s: package %d of %d", "firmware", count, 42);
}

// INI queries: a value of each section by turns, as a string and as a profile string.

IniFile& Ini()
{
    static IniFile file = MakeIniFile(16 << 10);
    return file;
}

void WriteIni()
{
    test::WriteFile(kIniFile, Ini().text);
}

void QueryIni(long number)
{
    const std::size_t place = static_cast<std::size_t>(number) / 2 % Ini().sections;
    const std::string section = IniSection(place);
    if (number % 2 == 0) {
        std::string value;
        Check(CIniFileReader(kIniFile).find_section(section, kIniKey, value), "no value");
        Check(value == IniOwner(place), "another value");
    } else {
        char buffer[256];
        GetPrivateProfileStringA(section.c_str(), kIniKey, "", buffer, sizeof buffer, kIniFile);
        Check(buffer == IniOwner(place), "another profile string");
    }
}

// Class objects: built with a nested one, copied, asked, written as a text record, released.

void UseObject(long number)
{
    const int count = static_cast<int>(number);
    IWbemClassObject disk;
    CIWbemUtil::setStringToIWbemClassObject(&disk, "Name", "disk " + std::to_string(number));
    IWbemClassObject object;
    for (int i = 0; i < 10; ++i) {
        const std::string name = "Property" + std::to_string(i);
        CIWbemUtil::setIntToIWbemClassObject(&object, name.c_str(), count + i);
    }
    const std::vector<std::string> slots = {"raid", "sas"};
    CIWbemUtil::setStringArrayToIWbemClassObject(&object, "Slots", &slots);
    CIWbemUtil::setParameterClassToIWbemClassObject(&object, "Disk", &disk);

    IWbemClassObject copy(object);
    int last = 0;
    CIWbemUtil::getIntFromIWbemClassObject(&copy, "Property9", &last);
    std::string record;
    IWbemClassObject::SetInt(record, "Last", last);
    IWbemClassObject::GetInt(record, "Last", last);
    Check(last == count + 9, "another number");
    copy.Release();
    object.Release();
}

struct Work {
    const char* title;
    long times;
    void (*prepare)();
    void (*run)(long number);
};

constexpr Work kWorks[] = {
    {"log record", 1000000, OpenLogs, WriteRecord},
    {"INI query", 100000, WriteIni, QueryIni},
    {"class object", 10000, [] {}, UseObject},
};

struct Sample {
    long memory = ResidentMemory();
    std::size_t descriptors = test::OpenDescriptors().size();
};

bool Measure(const Work& work)
{
    work.prepare();
    for (long i = 0; i < kFirst; ++i)
        work.run(i);
    (void)Sample();  // its own memory counts from the start
    const Sample first;
    for (long i = kFirst; i < work.times; ++i)
        work.run(i);
    const Sample last;

    const bool flat =
        last.memory - first.memory <= kTolerance && last.descriptors == first.descriptors;
    std::printf("| %-12s | %7ld | %8ld KiB | %7ld KiB | %5zu | %10zu | %-7s |\n", work.title,
                work.times, first.memory, last.memory, first.descriptors, last.descriptors,
                flat ? "flat" : "GREW");
    return flat;
}

bool MeasureAll()
{
    std::puts(
        "| operation    |   times | memory first |  at the end | files | at the end | verdict |");
    std::puts(
        "|--------------|---------|--------------|-------------|-------|------------|---------|");
    bool all = true;
    for (const Work& work : kWorks)
        all = Measure(work) && all;
    return all;
}

}  // namespace
}  // namespace qor::bench

int main()
{
    try {
        qor::test::EnterPrivateMounts();
        (void)::umask(022);
        return qor::bench::MeasureAll() ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return EXIT_FAILURE;
    }
}
