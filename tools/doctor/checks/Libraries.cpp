// The libraries that definition files name.
#include <cerrno>

#include "CFileUtility.h"
#include "checks/Checks.h"
#include "CStringUtil.h"
#include "Files.h"
#include "LibraryProbe.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kOwnName[] = "libqor_ComLib.so.1";

// Paths and names of shared libraries are used as they are; a name without directory, such as
// "Inventory.dll", is that of a library in the directory of its kind.
std::string PathOf(const NamedLibrary& library)
{
    if (Contains(library.name, "/"))
        return library.name;
    std::string name = library.name;
    if (!Contains(library.name, ".so"))
        CStringUtil::DllNameToSoName(library.name, name);
    return library.directory + "/" + name;
}

void CheckByLoading(const NamedLibrary& library, const std::string& path, Report& report)
{
    const ProbeResult result = ProbeLibrary(path, library.entryPoint);
    const char* const kind = library.interface;
    switch (result.outcome) {
        case ProbeResult::Outcome::kGood:
            return;
        case ProbeResult::Outcome::kUnresolved:
            return report.Add("library-with-unresolved-symbols", library.place,
                              {kind, result.reason});
        case ProbeResult::Outcome::kNotLoadable:
            return report.Add("library-not-loadable", library.place, {kind, result.reason});
        case ProbeResult::Outcome::kNoEntryPoint:
            return report.Add("library-without-entry-point", library.place,
                              {kind, path, library.entryPoint});
        case ProbeResult::Outcome::kNoAnswer:
            return report.Add("library-crashes", library.place, {kind, path, result.reason});
        case ProbeResult::Outcome::kNotTried:
            return report.AddUnseen(path, EAGAIN);
    }
}

}  // namespace

void CheckLibrary(const NamedLibrary& library, const Installation& installation, Report& report)
{
    const std::string path = PathOf(library);
    if (Contains(path, "%"))
        report.Add("library-name-with-percent", library.place, {path});
    const auto status = StatusOf(path);
    if (!status && errno != ENOENT && errno != ENOTDIR)
        report.AddUnseen(path, errno);
    else if (!status)
        report.Add("library-missing", library.place, {path, library.interface});
    else if (!S_ISREG(status->st_mode))
        report.Add("library-not-loadable/kind", library.place, {KindText(status->st_mode), path});
    else if (installation.load)
        CheckByLoading(library, path, report);
    else if (!CFileUtility::IsElfFile(path.c_str()))
        report.Add("library-not-loadable/format", library.place, {path});
}

void CheckOwnLibrary(const std::vector<Process>& processes, Report& report)
{
    const MappedLibrary own = OwnLibrary();
    const auto ownStatus = StatusOf(own.path);
    for (const char* const directory : {"/lib", "/provider"}) {
        const std::string path = kRoot + std::string(directory) + "/" + kOwnName;
        const auto status = StatusOf(path);
        if (status && !(ownStatus && IsSame(*status, *ownStatus)))
            report.Add("library-shadowed", {path}, {own.path});
    }
    for (const Process& process : processes) {
        for (const MappedLibrary& library : process.libraries) {
            if (library.isGone)
                report.Add("library-outdated", {library.path}, {NameOf(process)});
            else if (library.id != own.id)
                report.Add("library-shadowed/process", {library.path}, {NameOf(process), own.path});
        }
    }
}

}  // namespace doctor
