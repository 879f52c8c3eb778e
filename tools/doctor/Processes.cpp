#include "Processes.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "Files.h"
#include "Installation.h"
#include "Text.h"

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

// Takes the mark of a removed file off. False: there was none.
bool TakeMark(std::string& path)
{
    if (!EndsWith(path, kDeleted))
        return false;
    path.resize(path.size() - std::strlen(kDeleted));
    return true;
}

// The open file's name, without its directory and without the mark of a removed one.
std::string NameOfOpenFile(const std::string& link)
{
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    std::string name(target, length > 0 ? static_cast<std::size_t>(length) : 0);
    (void)TakeMark(name);
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
void LookAtOpenFiles(Process& process, dev_t logDevice, Report& report)
{
    for (const std::string& fd : NamesIn(ProcPath(process.pid, "fd"), report)) {
        const std::string link = ProcPath(process.pid, "fd/" + fd);
        const auto status = StatusOf(link);
        const std::string name = NameOfOpenFile(link);
        if (status && S_ISDIR(status->st_mode))
            process.directories.emplace(status->st_dev, status->st_ino);
        else if (status && status->st_dev == logDevice && S_ISREG(status->st_mode) &&
                 name.compare(0, 4, "QOR_") == 0 && IsOpenForWriting(process.pid, fd))
            process.logs.push_back(name);
    }
}

// Each file once: it has several lines, such as
// "7f0000000000-7f0000001000 r-xp 00000000 08:01 4711    /usr/lib/libqor_ComLib.so.1 (deleted)".
std::vector<MappedLibrary> MappedLibraries(pid_t pid)
{
    std::vector<MappedLibrary> libraries;
    std::istringstream maps(ReadFile(ProcPath(pid, "maps")).value_or(""));
    for (std::string line; std::getline(maps, line);) {
        if (line.find(kLibrary) == line.npos)
            continue;
        std::string skipped;
        std::string device;
        std::string inode;
        std::istringstream(line) >> skipped >> skipped >> skipped >> device >> inode;
        MappedLibrary library{line.substr(line.find('/')), device + " " + inode, false};
        library.isGone = TakeMark(library.path);
        if (libraries.empty() || libraries.back().id != library.id)
            libraries.push_back(library);
    }
    return libraries;
}

Process Describe(pid_t pid, dev_t logDevice, Report& report)
{
    const std::string status = ReadFile(ProcPath(pid, "status")).value_or("");
    Process process;
    process.pid = pid;
    process.name = Field(status, "Name");
    process.libraries = MappedLibraries(pid);
    process.usesLibrary = !process.libraries.empty();
    process.ignoresSigchld = Ignores(status, SIGCHLD);
    process.umask = UmaskOf(status);
    LookAtOpenFiles(process, logDevice, report);
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

MappedLibrary OwnLibrary()
{
    const auto libraries = MappedLibraries(::getpid());
    return libraries.empty() ? MappedLibrary() : libraries.front();
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
