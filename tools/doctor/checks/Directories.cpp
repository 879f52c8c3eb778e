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

// Files and directories that are done with, by device and inode: links lead to any of them.
using Done = std::set<std::pair<dev_t, ino_t>>;

// False: it was there before.
bool Add(const struct stat& status, Done& done)
{
    return done.emplace(status.st_dev, status.st_ino).second;
}

struct Expected {
    std::string path;
    std::string effect;  // when it is missing
};

std::vector<Expected> ExpectedDirectories(const std::set<std::string>& spool)
{
    constexpr char kSpoolEffect[] =
        "The first program that uses the channel makes it with mode 0770, for its own account and "
        "group alone, if the directory above is there; without it no message passes.";
    std::vector<Expected> expected = {
        {kLogDirectory,
         "The first program that logs makes it with mode 0644, without search permission: programs "
         "of accounts other than root log nothing."},
        {std::string(kRoot) + "/etc",
         "The list of devices cannot be made, and no installed file has a version."},
    };
    for (const std::string& directory : spool)
        expected.push_back({directory, kSpoolEffect});
    return expected;
}

void CheckExistence(const std::set<std::string>& spool, Report& report)
{
    for (const Expected& expected : ExpectedDirectories(spool)) {
        if (StatusOf(expected.path))
            continue;
        if (errno == ENOENT)
            report.Add("directory-missing", {expected.path},
                       "There is no such directory. " + expected.effect,
                       "Make it beforehand, with its owner and mode.");
        else
            report.AddUnseen(expected.path, errno);
    }
}

void CheckKinds(const std::set<std::string>& spool, Report& report)
{
    std::set<std::string> paths = spool;
    paths.insert({kLogDirectory, std::string(kRoot) + "/etc"});
    for (const int kind : {0, 2, 4, 5, 6})
        paths.insert(CFileUtility::GetInstallPath(kind));
    for (const std::string& path : paths) {
        const auto status = StatusOf(path);
        if (status && !S_ISDIR(status->st_mode))
            report.Add("not-a-directory", {path},
                       std::string(KindText(status->st_mode)) +
                           " has the name of a directory: what is read from there counts as "
                           "missing, and nothing can be made there.",
                       "Remove it, and make the directory.");
        else if (status && (status->st_mode & kSearch) == 0)
            report.Add("directory-without-search", {path},
                       "Its mode is " + ModeText(status->st_mode) +
                           ", without search permission: nobody but root gets in; programs of "
                           "other accounts lose what they write, and find nothing.",
                       "Give it its owner, and mode 0700 for logs or 0755 for others.");
    }
}

// Whoever may change a file or directory of the installation rules root's programs.
bool CheckOwnership(const std::string& path, const struct stat& status, Report& report)
{
    constexpr char kRule[] = "decides what root's programs read, load and run.";
    if (status.st_uid != 0)
        report.Add("foreign-owner", {path},
                   "It belongs to user " + std::to_string(status.st_uid) + ", who " + kRule,
                   "chown root:root, once it is clear that the content is right.");
    else if (IsWritableByOthers(status))
        report.Add("writable-by-others", {path},
                   "Its mode is " + ModeText(status.st_mode) + ": whoever may write it " + kRule,
                   "chmod go-w, once it is clear that the content is right.");
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
    if (!link || !target) {
        report.AddUnseen(path, errno);
        return;
    }
    if (!IsOfInstallation(*link, *target) || !Add(*target, done) ||
        !CheckOwnership(path, *target, report) || !S_ISDIR(target->st_mode))
        return;
    for (const std::string& name : NamesIn(path, report))
        CheckTree(path + "/" + name, done, report);
}

// All but logs, whose owner may be any account that logs, and the spool.
void CheckOwners(const std::set<std::string>& spool, Report& report)
{
    std::set<std::string> leftOut = spool;
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
        report.Add("writable-by-others", {kLogDirectory},
                   "Its mode is " + ModeText(status->st_mode) +
                       ": whoever may write here can plant a link that records are appended to, a "
                       "FIFO that stops a program, or a name that the shell runs as root when a "
                       "log is compressed.",
                   "chmod 0700, with the account that logs as owner.");
}

void CheckSpoolModes(const std::set<std::string>& directories, Report& report)
{
    for (const std::string& path : directories) {
        const auto status = StatusOf(path);
        if (!status || !S_ISDIR(status->st_mode) || (status->st_mode & kOthers) == 0)
            continue;
        const bool isWritable = (status->st_mode & kOthersWrite) != 0;
        report.Add("spool-open-to-others", {path},
                   "Its mode is " + ModeText(status->st_mode) + ": every account can " +
                       (isWritable ? "forge, read, answer and delete messages."
                                   : "see what messages there are."),
                   "chmod 2770, with the channel's users as group.");
    }
}

void CheckSharedDirectories(Report& report)
{
    for (const char* const path : {"/tmp", "/var/tmp"}) {
        const auto status = StatusOf(path);
        if (status && (status->st_mode & kOthersWrite) != 0 && (status->st_mode & S_ISVTX) == 0)
            report.Add("sticky-bit-missing", {path},
                       "Its mode is " + ModeText(status->st_mode) +
                           ", without the sticky bit: every account can remove or replace the "
                           "library's scratch files between two steps.",
                       "chmod 1777, and private directories for the services (PrivateTmp=yes).");
    }
}

// The cache of firmware data is the library's own where root has made it.
bool IsOwnCache(const std::string& path, const struct stat& status)
{
    return path == "/var/tmp/dmitmp" && S_ISREG(status.st_mode) && status.st_uid == 0 &&
           !IsWritableByOthers(status);
}

void CheckSharedNames(Report& report)
{
    constexpr struct {
        const char* path;
        const char* effect;
    } kNames[] = {
        {"/var/tmp/dmitmp",
         "what it holds is believed to be the firmware's data, and a FIFO or a link to an endless "
         "file stops the program."},
        {"/tmp/motd",
         "motd(false) appends the banner to it, through a link too, and its text becomes part of "
         "/etc/motd."},
        {"/var/tmp/motds",
         "where it holds \"qor\", motd(true) adds nothing and leaves /etc/motd empty; a FIFO stops "
         "the program."},
    };
    for (const auto& name : kNames) {
        const auto status = LinkStatusOf(name.path);
        if (status && !IsOwnCache(name.path, *status))
            report.Add("shared-name-taken", {name.path},
                       std::string(KindText(status->st_mode)) + " of user " +
                           std::to_string(status->st_uid) +
                           " has a name that the library uses: " + name.effect,
                       "Find out who has put it there, remove it, and give the services private "
                       "directories (PrivateTmp=yes).");
    }
}

}  // namespace

void CheckDirectories(const std::vector<Channel>& channels, Report& report)
{
    const std::set<std::string> spool = SpoolDirectories(channels);
    std::set<std::string> allSpool = spool;  // used or not
    allSpool.insert({kClientDirectory, kServerDirectory});

    CheckExistence(spool, report);
    CheckKinds(spool, report);
    CheckOwners(allSpool, report);
    CheckLogDirectory(report);
    CheckSpoolModes(allSpool, report);
    CheckSharedDirectories(report);
    CheckSharedNames(report);
}

}  // namespace doctor
