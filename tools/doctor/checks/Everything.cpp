#include <cerrno>

#include "checks/Checks.h"
#include "Files.h"

namespace doctor {
namespace {

// Files of the library's own that have no other checks.
void CheckPlainFiles(Report& report)
{
    for (const char* const name : {"/etc/qorversion.ver", "/etc/qorinfo.ini"}) {
        if (const auto file = IniFile::Read(std::string(kRoot) + name, report))
            CheckIni(*file, report);
    }
}

}  // namespace

std::optional<IniFile> ReadChosen(const ChosenFile& chosen, const char* effect, Report& report)
{
    if (chosen.mustExist && !StatusOf(chosen.path) && errno == ENOENT) {
        report.Add("definition-missing", {chosen.path}, {effect});
        return std::nullopt;
    }
    auto file = IniFile::Read(chosen.path, report);
    if (file)
        CheckIni(*file, report);
    return file;
}

void CheckEverything(const Installation& installation, Report& report)
{
    std::vector<Channel> channels;
    for (const ChosenFile& file : installation.channelFiles)
        channels.push_back(ReadChannel(file.path));
    const std::vector<Process> processes = ProcessesOfInstallation(report);

    CheckDirectories(channels, report);
    CheckTmpfiles(report);
    CheckPlainFiles(report);
    for (const Component& component : InstalledComponents()) {
        CheckSettings(component, report);
        CheckCatalogue(component, report);
    }
    for (const ChosenFile& file : installation.providerFiles)
        CheckProviders(file, installation, report);
    for (const ChosenFile& file : installation.vendorFiles)
        CheckVendors(file, installation, report);
    CheckOwnLibrary(processes, report);
    CheckSpool(channels, installation.channelFiles, processes, report);
    CheckLogs(processes, report);
    CheckDisks(channels, report);
    CheckProcesses(processes, installation, report);
    report.SortByPlace();
}

}  // namespace doctor
