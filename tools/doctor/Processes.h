// Processes.h - the running processes that work on this installation, by proc(5).
#ifndef DOCTOR_PROCESSES_H
#define DOCTOR_PROCESSES_H

#include <sys/types.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Report.h"

namespace doctor {

/// A file of the library in a process's memory. Its path depends on the process's mounts.
struct MappedLibrary {
    std::string path;
    std::string id;  ///< device and inode
    bool isGone;     ///< replaced or removed since
};

struct Process {
    pid_t pid;
    std::string name;
    bool usesLibrary;  ///< has the library in its memory
    std::vector<MappedLibrary> libraries;
    bool ignoresSigchld;  ///< its SIGCHLD is ignored, see signal(7)
    unsigned umask;
    std::vector<std::string> logs;  ///< names of the log files that it has open for writing
    std::set<std::pair<dev_t, ino_t>> directories;  ///< that it has open
};

/// Those that see the same install root; not this process. That not all processes, or none, may be
/// looked at is reported, once for all of them.
std::vector<Process> ProcessesOfInstallation(Report& report);

/// The library in this process's memory.
MappedLibrary OwnLibrary();

/// "qor_som (1234)"
std::string NameOf(const Process& process);

/// The place of a line that begins with `key` in a process's /proc/PID/status.
Place StatusPlace(pid_t pid, const std::string& key);

}  // namespace doctor

#endif  // DOCTOR_PROCESSES_H
