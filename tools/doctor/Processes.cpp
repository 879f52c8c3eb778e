#include "Processes.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <sstream>

#include "Files.h"
#include "Installation.h"

namespace doctor {
namespace {

constexpr char kLibrary[] = "/libqor_ComLib.so";
constexpr char kDeleted[] = " (deleted)";  // after the link's target, proc(5)
constexpr int kOctal = 8;
constexpr int kHexadecimal = 16;

std::string ProcPath(pid_t pid, const std::string& name)
{
    return "/proc/" + std::to_string(pid) + "/" + name;
}

// The text after "KEY:" in a file of such lines; empty without it.
std::string Field(const std::string& text, const std::string& key)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, key.size() + 1, key + ":") == 0)
            return line.substr(
                std::min(line.find_first_not_of(" \t", key.size() + 1), line.size()));
    }
    return {};
}

// Kernels before 4.7 do not show it: then it counts as the usual one.
unsigned UmaskOf(const std::string& status)
{
    const std::string text = Field(status, "Umask");
    return text.empty() ? 022U : static_cast<unsigned>(std::strtoul(text.c_str(), nullptr, kOctal));
}

bool Ignores(const std::string& status, int signal)
{
    const unsigned long long ignored =
        std::strtoull(Field(status, "SigIgn").c_str(), nullptr, kHexadecimal);
    return (ignored >> (signal - 1) & 1) != 0;
}

// The open file's name, without its directory and without the mark of a removed one.
std::string NameOfOpenFile(const std::string& link)
{
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    std::string name(target, length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::string mark = kDeleted;
    if (name.size() > mark.size() &&
        name.compare(name.size() - mark.size(), mark.size(), mark) == 0)
        name.resize(name.size() - mark.size());
    return name.substr(name.rfind('/') + 1);  // npos + 1 is 0
}

bool IsOpenForWriting(pid_t pid, const std::string& fd)
{
    const auto info = ReadFile(ProcPath(pid, "fdinfo/" + fd));
    const auto flags = std::strtol(Field(info.value_or(""), "flags").c_str(), nullptr, kOctal);
    return info && (flags & O_ACCMODE) != O_RDONLY;
}

// A log file may be removed, or be seen by another name in another mount namespace: it is known by
// its device and the form of its name.
std::vector<std::string> OpenLogs(pid_t pid, dev_t device, Report& report)
{
    std::vector<std::string> logs;
    for (const std::string& fd : NamesIn(ProcPath(pid, "fd"), report)) {
        const std::string link = ProcPath(pid, "fd/" + fd);
        const auto status = StatusOf(link);
        const std::string name = NameOfOpenFile(link);
        if (status && status->st_dev == device && S_ISREG(status->st_mode) &&
            name.compare(0, 4, "QOR_") == 0 && IsOpenForWriting(pid, fd))
            logs.push_back(name);
    }
    return logs;
}

Process Describe(pid_t pid, dev_t logDevice, Report& report)
{
    const std::string status = ReadFile(ProcPath(pid, "status")).value_or("");
    const std::string maps = ReadFile(ProcPath(pid, "maps")).value_or("");
    Process process;
    process.pid = pid;
    process.name = Field(status, "Name");
    process.usesLibrary = maps.find(kLibrary) != std::string::npos;
    process.ignoresSigchld = Ignores(status, SIGCHLD);
    process.umask = UmaskOf(status);
    process.logs = OpenLogs(pid, logDevice, report);
    return process;
}

// The process number that a name of /proc stands for, 0 for other names.
pid_t PidOf(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos ? std::atoi(name.c_str()) : 0;
}

}  // namespace

std::vector<Process> ProcessesOfInstallation(Report& report)
{
    std::vector<Process> processes;
    const auto root = StatusOf(kRoot);
    const auto logs = StatusOf(kLogDirectory);
    bool isComplete = true;
    if (!StatusOf("/proc/self")) {
        report.AddUnseen("/proc", "proc(5) is not mounted there: no process can be seen");
        return processes;
    }
    for (const std::string& name : NamesIn("/proc", report)) {
        const pid_t pid = PidOf(name);
        if (!root || pid == 0 || pid == ::getpid())
            continue;
        const auto theirs = StatusOf(ProcPath(pid, "root") + kRoot);
        // What not even root may look at runs in front of a container, and is none of ours.
        if (!theirs && (errno == EACCES || errno == EPERM) && ::geteuid() != 0)
            isComplete = false;
        if (theirs && IsSame(*theirs, *root))
            processes.push_back(Describe(pid, logs ? logs->st_dev : 0, report));
    }
    if (!isComplete)
        report.AddUnseen("/proc", EACCES);
    return processes;
}

std::string NameOf(const Process& process)
{
    return process.name + " (" + std::to_string(process.pid) + ")";
}

Place StatusPlace(pid_t pid, const std::string& key)
{
    const std::string path = ProcPath(pid, "status");
    std::istringstream lines(ReadFile(path).value_or(""));
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.compare(0, key.size() + 1, key + ":") == 0)
            return {path, number};
    }
    return {path};
}

}  // namespace doctor
