// Owners and modes below the install root, and the fixed names in shared directories.
#include <cerrno>
#include <filesystem>
#include <utility>

#include "CFileUtility.h"
#include "checks/Checks.h"
#include "Files.h"

namespace doctor {
namespace {

constexpr mode_t kOthers = 07;
constexpr mode_t kOthersWrite = 02;
constexpr mode_t kSearch = 0111;

const std::string kEtc = kRoot + std::string("/etc");

constexpr struct {
    const char* path;
    const char* effect;
} kSharedNames[] = {
    {"/var/tmp/dmitmp",
     "a regular file of root's or the caller's is believed to hold the firmware's data, and "
     "anything else makes that unavailable."},
    {"/tmp/motd",
     "a regular file of root's or the caller's becomes part of /etc/motd, and anything else keeps "
     "motd(false) from changing the banner."},
    {"/var/tmp/motds",
     "where it holds \"qor\", motd(true) adds nothing and leaves /etc/motd empty; a FIFO stops the "
     "program."},
};

// Files and directories that are done with, by device and inode: links lead to any of them.
using Done = std::set<std::pair<dev_t, ino_t>>;

// False: it was there before.
bool Add(const struct stat& status, Done& done)
{
    return done.emplace(status.st_dev, status.st_ino).second;
}

void CheckExistence(const std::string& path, const char* effect, Report& report)
{
    if (StatusOf(path))
        return;
    if (errno == ENOENT)
        report.Add("directory-missing", {path}, {effect});
    else
        report.AddUnseen(path, errno);
}

void CheckExpected(const std::set<std::string>& spool, Report& report)
{
    CheckExistence(kLogDirectory,
                   "The first program that logs makes it with mode 0644, without search "
                   "permission: programs of accounts other than root log nothing.",
                   report);
    CheckExistence(kEtc, "The list of devices cannot be made, and no installed file has a version.",
                   report);
    for (const std::string& directory : spool)
        CheckExistence(directory,
                       "The first program that uses the channel makes it with mode 0770, for its "
                       "own account and group alone, if the directory above is there; without it "
                       "no message passes.",
                       report);
}

void CheckKinds(std::set<std::string> paths, Report& report)
{
    paths.insert({kLogDirectory, kEtc});
    for (const int kind : {0, 2, 4, 5, 6})
        paths.insert(CFileUtility::GetInstallPath(kind));
    for (const std::string& path : paths) {
        const auto status = StatusOf(path);
        if (status && !S_ISDIR(status->st_mode))
            report.Add("not-a-directory", {path}, {KindText(status->st_mode)});
        else if (status && (status->st_mode & kSearch) == 0)
            report.Add("directory-without-search", {path}, {ModeText(status->st_mode)});
    }
}

// Whoever may change a file or directory of the installation rules root's programs.
bool CheckOwnership(const std::string& path, const struct stat& status, Report& report)
{
    if (status.st_uid != 0)
        report.Add("foreign-owner", {path}, {std::to_string(status.st_uid)});
    else if (IsWritableByOthers(status))
        report.Add("writable-by-others", {path}, {ModeText(status.st_mode)});
    else
        return true;
    return false;
}

// Whoever may write to a directory above the install root may put another in its place: by its
// name, and where a link leads.
void CheckParents(Done& done, Report& report)
{
    std::set<std::string> parents = {"/opt", "/opt/velmora"};
    std::error_code error;  // without the real path, those of the name are left
    auto parent = std::filesystem::canonical(kRoot, error).parent_path();
    for (; parent.has_relative_path(); parent = parent.parent_path())
        parents.insert(parent.string());
    for (const std::string& path : parents) {
        const auto status = StatusOf(path);
        if (status && Add(*status, done))
            (void)CheckOwnership(path, *status, report);
    }
}

// What programs meet at a path. Links to other than files and directories lead out of the
// installation, such as one to /dev/null.
bool IsOfInstallation(const struct stat& link, const struct stat& target)
{
    return !S_ISLNK(link.st_mode) || S_ISREG(target.st_mode) || S_ISDIR(target.st_mode);
}

// What lies below a directory in foreign hands is in the same hands: one finding is enough.
void CheckTree(const std::string& path, Done& done, Report& report)
{
    const auto link = LinkStatusOf(path);
    const auto target = StatusOf(path);
    if (!link || !target)
        return report.AddUnseen(path, errno);
    if (!IsOfInstallation(*link, *target) || !Add(*target, done) ||
        !CheckOwnership(path, *target, report) || !S_ISDIR(target->st_mode))
        return;
    for (const std::string& name : NamesIn(path, report))
        CheckTree(path + "/" + name, done, report);
}

// All but logs, whose owner may be any account that logs, and the spool.
void CheckOwners(std::set<std::string> leftOut, Report& report)
{
    leftOut.insert({kLogDirectory, "/"});
    Done done;
    for (const std::string& path : leftOut) {
        if (const auto status = StatusOf(path))
            (void)Add(*status, done);  // two may be one
    }
    CheckParents(done, report);
    CheckTree(kRoot, done, report);
}

void CheckLogDirectory(Report& report)
{
    const auto status = StatusOf(kLogDirectory);
    if (status && S_ISDIR(status->st_mode) && IsWritableByOthers(*status))
        report.Add("writable-by-others/log", {kLogDirectory}, {ModeText(status->st_mode)});
}

void CheckSpoolModes(const std::set<std::string>& directories, Report& report)
{
    for (const std::string& path : directories) {
        const auto status = StatusOf(path);
        if (!status || !S_ISDIR(status->st_mode) || (status->st_mode & kOthers) == 0)
            continue;
        const bool isWritable = (status->st_mode & kOthersWrite) != 0;
        report.Add(
            "spool-open-to-others", {path},
            {ModeText(status->st_mode), isWritable ? "forge, read, answer and delete messages"
                                                   : "see what messages there are"});
    }
}

// The cache of firmware data is the library's own where root has made it.
bool IsOwnCache(const std::string& path, const struct stat& status)
{
    return path == "/var/tmp/dmitmp" && S_ISREG(status.st_mode) && status.st_uid == 0 &&
           !IsWritableByOthers(status);
}

void CheckSharedDirectories(Report& report)
{
    for (const char* const path : {"/tmp", "/var/tmp"}) {
        const auto status = StatusOf(path);
        if (status && (status->st_mode & kOthersWrite) != 0 && (status->st_mode & S_ISVTX) == 0)
            report.Add("sticky-bit-missing", {path}, {ModeText(status->st_mode)});
    }
    for (const auto& name : kSharedNames) {
        const auto status = LinkStatusOf(name.path);
        if (status && !IsOwnCache(name.path, *status))
            report.Add("shared-name-taken", {name.path},
                       {KindText(status->st_mode), std::to_string(status->st_uid), name.effect});
    }
}

}  // namespace

void CheckDirectories(const std::vector<Channel>& channels, Report& report)
{
    const std::set<std::string> spool = SpoolDirectories(channels);
    std::set<std::string> allSpool = spool;  // used or not
    allSpool.insert({kClientDirectory, kServerDirectory});

    CheckExpected(spool, report);
    CheckKinds(spool, report);
    CheckOwners(allSpool, report);
    CheckLogDirectory(report);
    CheckSpoolModes(allSpool, report);
    CheckSharedDirectories(report);
}

}  // namespace doctor
