// Checks.h - the checks, one function for each subject. None of them changes anything.
#ifndef DOCTOR_CHECKS_CHECKS_H
#define DOCTOR_CHECKS_CHECKS_H

#include <optional>
#include <string>
#include <vector>

#include "IniFile.h"
#include "Installation.h"
#include "Processes.h"
#include "Report.h"

namespace doctor {

/// Owners and modes below the install root, and the fixed names in shared directories.
void CheckDirectories(const std::vector<Channel>& channels, Report& report);

/// Lines of tmpfiles.d(5) that make directories of the installation at each boot.
void CheckTmpfiles(Report& report);

/// Lines of an INI file that read otherwise than they look.
void CheckIni(const IniFile& file, Report& report);

/// "TraceSetting.ini" of a component.
void CheckSettings(const Component& component, Report& report);

/// "TraceSettingMsg.ini" of a component.
void CheckCatalogue(const Component& component, Report& report);

/// A provider definition file and the libraries that it names.
void CheckProviders(const ChosenFile& file, const Installation& installation, Report& report);

/// A vendor factory file and the libraries that it names.
void CheckVendors(const ChosenFile& file, const Installation& installation, Report& report);

/// Reads a file of the caller's choice and checks its lines. Empty when it cannot be read.
/// effect: what will happen when it is missing.
std::optional<IniFile> ReadChosen(const ChosenFile& file, const char* effect, Report& report);

/// What a provider definition or vendor factory file says of a library.
struct NamedLibrary {
    std::string name;
    Place place;
    std::string directory;   ///< of libraries that are named without one
    const char* entryPoint;  ///< that it must export
    const char* interface;   ///< which is a ...
};

void CheckLibrary(const NamedLibrary& library, const Installation& installation, Report& report);

/// The channels' settings, and what lies in their directories, each of which is looked at once.
void CheckSpool(const std::vector<Channel>& channels, const std::vector<ChosenFile>& files,
                const std::vector<Process>& processes, Report& report);

/// Copies of the library beside the one that this program uses, and processes that use another.
void CheckOwnLibrary(const std::vector<Process>& processes, Report& report);

/// Names and kinds of the files in the log directory, and who writes them.
void CheckLogs(const std::vector<Process>& processes, Report& report);

/// Room for logs, messages and scratch files.
void CheckDisks(const std::vector<Channel>& channels, Report& report);

/// Settings of running processes.
void CheckProcesses(const std::vector<Process>& processes, const Installation& installation,
                    Report& report);

/// All of them.
void CheckEverything(const Installation& installation, Report& report);

}  // namespace doctor

#endif  // DOCTOR_CHECKS_CHECKS_H
