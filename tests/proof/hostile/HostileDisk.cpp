#include "proof/hostile/HostileDisk.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <regex>

#include "proof/engine/Proof.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/Processes.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr uid_t kOtherAccount = 65534;
constexpr char kForeignText[] = "another account's\n-qor\nforged\nqor-\nUUID: forged\n";

// Each file system has files of root's, since hard links stay on one.
constexpr const char* kRoots[] = {"/opt", "/var/tmp", "/tmp", "/etc"};

// Names that the library may make, write and remove by its pages.
const std::regex& OwnNames()
{
    static const std::regex names(
        "/opt/velmora/qor/(log|log/QOR_.*|som/[CS]S|som/[CS]S/.*\\.(tmp|snd)|etc/devices\\.tmp|"
        "etc/qorinfo\\.ini)|/var/tmp/(qortmp[0-9]{20}|dmitmp|motds)|/tmp/motd|/etc/motd");
    return names;
}

void Check(int result, const std::string& what)
{
    if (result != 0)
        test::ThrowErrno(what);
}

// To another account; where none is available (in a user namespace), it stays root's.
void GiveAway(const std::string& path)
{
    if (::lchown(path.c_str(), kOtherAccount, kOtherAccount) != 0 && errno != EINVAL)
        test::ThrowErrno("lchown " + path);
}

void MakeForeignFile(const std::string& path, const std::string& text, mode_t mode)
{
    WriteFile(path, text);
    Check(::chmod(path.c_str(), mode), "chmod " + path);
    GiveAway(path);
}

// Where files of root lie on the file system of the path.
std::string OutsideOf(const std::string& path)
{
    for (const std::string root : kRoots) {
        if (StartsWith(path, root))
            return root + "/outside";
    }
    throw std::runtime_error("on none of the file systems: " + path);
}

// No line feed at the end: whoever copies the text line by line changes it.
std::string VictimText()
{
    return std::string("2026/11/15 08:29:18 0x00000001 info    ") + kSecret + "\nlast";
}

void MakeVictims(const std::string& outside)
{
    test::RemoveTree(outside);
    for (const char* name :
         {"/victim", "/directory/victim", "/directory/00000000000000000001x.snd"}) {
        WriteFile(outside + name, VictimText());
        Check(::chmod((outside + name).c_str(), 0600), "chmod");
    }
}

const char kIniFile[] = "/opt/velmora/qor/etc/qorinfo.ini";

void MakeOpenDirectories()
{
    for (const char* path : {"/opt/velmora/qor", "/opt/velmora/qor/etc", "/opt/velmora/qor/log",
                             "/opt/velmora/qor/som", "/opt/velmora/qor/som/CS",
                             "/opt/velmora/qor/som/SS", "/opt/velmora/qor/um"}) {
        test::MakeDirs(path);
        Check(::chmod(path, 0777), std::string("chmod ") + path);
    }
}

char KindLetter(mode_t mode)
{
    if (S_ISREG(mode))
        return '-';
    if (S_ISDIR(mode))
        return 'd';
    if (S_ISLNK(mode))
        return 'l';
    return S_ISFIFO(mode) ? 'p' : '?';
}

// A file of /etc that no plant, no victim and no bystander is.
bool IsSystems(const std::string& path)
{
    static const std::array<std::string, 3> others{"/etc/outside", "/etc/motd", "/etc/bystander"};
    return path.compare(0, 5, "/etc/") == 0 &&
           std::none_of(others.begin(), others.end(), [&path](const std::string& other) {
               return path.compare(0, other.size(), other) == 0;
           });
}

std::string TimeText(const timespec& time)
{
    return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
}

// What the system's files hold is not read time and again: whoever changes it sets their times.
std::string SizeAndTimes(const struct stat& status)
{
    if (S_ISDIR(status.st_mode))
        return {};  // its entries are looked at
    return std::to_string(status.st_size) + " " + TimeText(status.st_mtim) + " " +
           TimeText(status.st_ctim);
}

// Content of files that are not too long to be a plant's; a link's target.
std::string ContentOf(const std::string& path, const struct stat& status)
{
    if (S_ISLNK(status.st_mode))
        return std::filesystem::read_symlink(path).string();
    if (!S_ISREG(status.st_mode))
        return {};
    return status.st_size > 1000000 ? "long" : test::ReadFile(path);
}

}  // namespace

const char* KindName(Kind kind)
{
    static const std::map<Kind, const char*> names{{kLinkToFile, "link to a file"},
                                                   {kLinkToMissing, "link to a free name"},
                                                   {kLinkToDirectory, "link to a directory"},
                                                   {kHardLink, "hard link"},
                                                   {kFifo, "FIFO"},
                                                   {kDirectory, "directory"},
                                                   {kFile, "foreign file"},
                                                   {kSecretFile, "foreign secret file"},
                                                   {kLinkToEndlessFile, "link to an endless file"},
                                                   {kProgram, "foreign program"},
                                                   {kFullLog, "full log"}};
    return names.at(kind);
}

std::vector<Kind> KindsOf(unsigned kinds)
{
    std::vector<Kind> list;
    for (unsigned bit = 1; bit <= kFullLog; bit *= 2) {
        if ((kinds & bit) != 0)
            list.push_back(static_cast<Kind>(bit));
    }
    return list;
}

std::string EffectNames(unsigned effects)
{
    static const std::array<const char*, 7> names{
        "changes a file of root's", "makes a file outside", "removes a file of root's",
        "shows what is root's",     "waits for good",       "spins for good",
        "changes a stranger's file"};
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if ((effects & (1U << i)) != 0)
            text += (text.empty() ? "" : ", ") + std::string(names[i]);
    }
    return text.empty() ? "nothing" : text;
}

void MountUnprotectedDirectories()
{
    for (const char* path : {"/tmp", "/var/tmp"})
        Check(::mount("tmpfs", path, "tmpfs", MS_NOSUID, "mode=0777"),
              std::string("mount ") + path);
}

void MountOwnSettings()
{
    const std::string copy = "/opt/etc";
    test::MakeDirs(copy);
    Check(::mount("tmpfs", copy.c_str(), "tmpfs", MS_NOSUID, "mode=0755"), "mount " + copy);
    (void)test::RunShell("cp -a /etc/. " + copy);  // without what cannot be read
    Check(::mount(copy.c_str(), "/etc", "none", MS_MOVE, nullptr), "mount /etc");
}

void MakeInstallation()
{
    for (const char* path : {"/opt", "/var/tmp", "/tmp"})
        test::EmptyDirectory(path);
    test::RemoveTree("/etc/motd");
    for (const char* root : kRoots)
        MakeVictims(std::string(root) + "/outside");
    MakeOpenDirectories();
    WriteFile("/etc/motd", "welcome\n-qor\nold\nqor-\n\n");
    WriteFile(kIniFile, "[common]\nIsDomesticModel=true\n");
    WriteFile("/opt/velmora/qor/etc/motd.dat", "-qor\nA message of the suite\nqor-\n");
    WriteFile("/opt/velmora/qor/etc/qorversion.ver", "[CLI]\nTargetNum=0\n");
    WriteFile("/opt/velmora/qor/etc/lspcimn.sh", "#!/bin/sh\necho 00:1f.2 8086 2922\n");
    Check(::chmod("/opt/velmora/qor/etc/lspcimn.sh", 0755), "chmod");
    WriteFile("/opt/velmora/qor/som/socket.conf", "[filetran]\npolling_interval=3000000\n");
    WriteFile("/opt/channel.conf", "[filetran]\npolling_interval=3000000\n");
    for (const char* directory :
         {"/opt", "/opt/velmora/qor/etc", "/opt/velmora/qor/log", "/opt/velmora/qor/som/CS",
          "/opt/velmora/qor/som/SS", "/tmp", "/var/tmp", "/etc"})
        MakeForeignFile(std::string(directory) + "/bystander", kForeignText, 0666);
}

void Plant(const std::string& path, Kind kind)
{
    test::RemoveTree(path);
    const std::string outside = OutsideOf(path);
    switch (kind) {
        case kLinkToFile:
            Check(::symlink((outside + "/victim").c_str(), path.c_str()), "symlink " + path);
            return GiveAway(path);
        case kLinkToMissing:
            Check(::symlink((outside + "/made").c_str(), path.c_str()), "symlink " + path);
            return GiveAway(path);
        case kLinkToDirectory:
            Check(::symlink((outside + "/directory").c_str(), path.c_str()), "symlink " + path);
            return GiveAway(path);
        case kLinkToEndlessFile:
            Check(::symlink("/dev/zero", path.c_str()), "symlink " + path);
            return GiveAway(path);
        case kHardLink:
            return Check(::link((outside + "/victim").c_str(), path.c_str()), "link " + path);
        case kFifo:
            Check(::mkfifo(path.c_str(), 0666), "mkfifo " + path);
            Check(::chmod(path.c_str(), 0666), "chmod " + path);
            return GiveAway(path);
        case kDirectory:
            MakeForeignFile(path + "/file", kForeignText, 0666);
            return GiveAway(path);
        case kFile:
            return MakeForeignFile(path, kForeignText, 0666);
        case kSecretFile:
            return MakeForeignFile(path, kForeignText, 0600);
        case kProgram:
            return MakeForeignFile(path, "#!/bin/sh\ntouch /opt/outside/made\n", 0755);
        case kFullLog:
            MakeForeignFile(path, "", 0666);
            return Check(::truncate(path.c_str(), 10 * 1024 * 1024 - 1), "truncate " + path);
    }
}

Snapshot::Snapshot()
{
    const auto add = [&](const std::string& path) {
        struct stat status;
        if (::lstat(path.c_str(), &status) != 0)
            return;
        const std::string content =
            IsSystems(path) ? SizeAndTimes(status) : ContentOf(path, status);
        const bool forAll = (status.st_mode & 0004) != 0 && S_ISREG(status.st_mode);
        entries_[path] = {KindLetter(status.st_mode) + (" " + std::to_string(status.st_uid)) + " " +
                              std::to_string(status.st_mode & 07777) + " " + content,
                          forAll && content.find(kSecret) != std::string::npos};
    };
    for (const char* root : kRoots) {
        add(root);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
            add(entry.path().string());
    }
}

bool Snapshot::DifferAt(const Snapshot& before, const Snapshot& after, const std::string& path)
{
    const auto look = [&path](const Snapshot& snapshot) {
        const auto entry = snapshot.entries_.find(path);
        return entry == snapshot.entries_.end() ? "" : entry->second.look;
    };
    return look(before) != look(after);
}

unsigned Snapshot::Compare(const Snapshot& before, const Snapshot& after,
                           const std::string& planted, std::string& notes)
{
    unsigned effects = kNothing;
    const auto judge = [&](const std::string& path, bool wasThere, bool isThere) {
        if (path.find("/outside") != std::string::npos)
            effects |= !isThere ? kVictimRemoved : wasThere ? kVictimChanged : kVictimMade;
        else if (path == planted || path.compare(0, planted.size() + 1, planted + "/") == 0)
            return;
        else if (!std::regex_match(path, OwnNames()))
            effects |= kStranger;
        else
            return;
        notes += path + (!isThere ? " is gone; " : wasThere ? " differs; " : " is new; ");
    };
    for (const auto& [path, entry] : before.entries_) {
        if (DifferAt(before, after, path))
            judge(path, true, after.entries_.count(path) != 0);
    }
    for (const auto& [path, entry] : after.entries_) {
        if (before.entries_.count(path) == 0)
            judge(path, false, true);
        if (entry.shows) {
            effects |= kSecretShown;
            notes += path + " shows it; ";
        }
    }
    return effects;
}

}  // namespace qor::proof
