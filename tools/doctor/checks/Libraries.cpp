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

bool Contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

// Paths and names of shared libraries are used as they are; a name without directory, such as
// "Inventory.dll", is that of a library in the directory of its kind.
std::string PathOf(const NamedLibrary& library)
{
    if (Contains(library.name, "/"))
        return library.name;
    if (Contains(library.name, ".so"))
        return library.directory + "/" + library.name;
    std::string name;
    CStringUtil::DllNameToSoName(library.name, name);
    return library.directory + "/" + name;
}

void CheckByLoading(const NamedLibrary& library, const std::string& path, Report& report)
{
    const ProbeResult result = ProbeLibrary(path, library.entryPoint);
    const std::string name = library.interface + std::string(" library ");
    switch (result.outcome) {
        case ProbeResult::Outcome::kGood:
            return;
        case ProbeResult::Outcome::kUnresolved:
            report.Add("library-with-unresolved-symbols", library.place,
                       "The " + name +
                           "loads, but calls what is nowhere to be found: " + result.reason +
                           ". Unless the program that loads it has it, that call ends the program.",
                       "Link the library with what it needs; -Wl,-z,defs finds such calls.");
            return;
        case ProbeResult::Outcome::kNotLoadable:
            report.Add(
                "library-not-loadable", library.place,
                "The " + name + "cannot be loaded: " + result.reason + ". Its entry point is null.",
                "Install the library again, with what it depends on.");
            return;
        case ProbeResult::Outcome::kNoEntryPoint:
            report.Add("library-without-entry-point", library.place,
                       "The " + name + path + " loads, but does not export \"" +
                           library.entryPoint + "\": its entry point is null.",
                       "Name the right library, or export the function as extern \"C\" with "
                       "default visibility.");
            return;
        case ProbeResult::Outcome::kNoAnswer:
            report.Add("library-crashes", library.place,
                       "The " + name + path + " cannot be loaded: " + result.reason +
                           ", and so will every program that loads it.",
                       "Ask the library's maker; until then, take it out of the file.");
            return;
        case ProbeResult::Outcome::kNotTried:
            report.AddUnseen(path, EAGAIN);
            return;
    }
}

}  // namespace

void CheckLibrary(const NamedLibrary& library, const Installation& installation, Report& report)
{
    const std::string path = PathOf(library);
    if (Contains(path, "%"))
        report.Add("library-name-with-percent", library.place,
                   "The path " + Quoted(path) +
                       " holds a percent sign: it is read as a conversion in the debug record, "
                       "which then shows another path.",
                   "Keep percent signs out of library names.");
    const auto status = StatusOf(path);
    if (!status && errno != ENOENT && errno != ENOTDIR)
        report.AddUnseen(path, errno);
    else if (!status)
        report.Add("library-missing", library.place,
                   "There is no " + path + ": the " + library.interface +
                       " is defined, but its entry point is null.",
                   "Install the library, or take it out of the file.");
    else if (!S_ISREG(status->st_mode))
        report.Add("library-not-loadable", library.place,
                   std::string(KindText(status->st_mode)) + " in place of " + path +
                       ": programs that load it get no entry point, or wait for ever.",
                   "Install the library again.");
    else if (installation.load)
        CheckByLoading(library, path, report);
    else if (!CFileUtility::IsElfFile(path.c_str()))
        report.Add("library-not-loadable", library.place,
                   path + " is no shared library: its entry point is null.",
                   "Install the library again.");
}

}  // namespace doctor
