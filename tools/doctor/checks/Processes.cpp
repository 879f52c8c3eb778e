// Settings of running processes that the library's work depends on.
#include <unistd.h>

#include "checks/Checks.h"

namespace doctor {
namespace {

constexpr char kSigchldEffect[] =
    "the commands that the library runs have no result: COsInfo is empty, makeDeviceInfo false, "
    "RunVBS -1 although the command has run.";
constexpr char kSigchldRemedy[] =
    "Leave SIGCHLD at its default: signal(SIGCHLD, SIG_DFL) before the library is used.";

}  // namespace

void CheckProcesses(const std::vector<Process>& processes, const Installation& installation,
                    Report& report)
{
    if (installation.startedWithSigchldIgnored)
        report.Add("sigchld-ignored", StatusPlace(::getpid(), "SigIgn"),
                   "This program was started with SIGCHLD ignored, as every program is that is "
                   "started from the same place: " +
                       std::string(kSigchldEffect),
                   kSigchldRemedy);
    for (const Process& process : processes) {
        if (!process.usesLibrary)
            continue;
        if (process.ignoresSigchld)
            report.Add("sigchld-ignored", StatusPlace(process.pid, "SigIgn"),
                       NameOf(process) + " ignores SIGCHLD: " + kSigchldEffect, kSigchldRemedy);
        if ((process.umask & 02) == 0)
            report.Add("umask-open", StatusPlace(process.pid, "Umask"),
                       NameOf(process) +
                           " makes files that everybody may write: its logs, which have mode 0666 "
                           "before the umask, and the cache of firmware data.",
                       "Set the umask to 007, or 077 (UMask= of its systemd unit).");
    }
}

}  // namespace doctor
