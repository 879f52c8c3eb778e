// Settings of running processes that the library's work depends on.
#include <unistd.h>

#include "checks/Checks.h"

namespace doctor {

void CheckProcesses(const std::vector<Process>& processes, const Installation& installation,
                    Report& report)
{
    if (installation.startedWithSigchldIgnored)
        report.Add("sigchld-ignored", StatusPlace(::getpid(), "SigIgn"),
                   {"This program was started with SIGCHLD ignored, as every program is that is "
                    "started from the same place"});
    for (const Process& process : processes) {
        if (!process.usesLibrary)
            continue;
        if (process.ignoresSigchld)
            report.Add("sigchld-ignored", StatusPlace(process.pid, "SigIgn"),
                       {NameOf(process) + " ignores SIGCHLD"});
        if ((process.umask & 02) == 0)
            report.Add("umask-open", StatusPlace(process.pid, "Umask"), {NameOf(process)});
    }
}

}  // namespace doctor
