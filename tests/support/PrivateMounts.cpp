#include "support/PrivateMounts.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "support/TestPaths.h"

namespace qor::test {
namespace {

// Names the mount namespace that is already private, for the processes that inherit it.
const char kMarker[] = "QOR_TEST_PRIVATE_MOUNTS";

// Holds what the overlays write and the new /dev while they are made. /opt is covered twice:
// the overlays keep this first file system alive after it has been taken away again.
const std::string kStaging = "/opt";

// For mounts whose type mount(2) ignores; memcheck wants a text there.
const char kNoType[] = "none";

[[noreturn]] void Fail(const std::string& step)
{
    const int error = errno;
    throw std::runtime_error(step + " failed: " + std::strerror(error));
}

std::string MountNamespace()
{
    char name[64];
    const ssize_t length = ::readlink("/proc/self/ns/mnt", name, sizeof name);
    if (length < 0)
        Fail("readlink(\"/proc/self/ns/mnt\")");
    return std::string(name, static_cast<std::size_t>(length));
}

bool AlreadyPrivate()
{
    const char* const marked = std::getenv(kMarker);
    return marked != nullptr && marked == MountNamespace();
}

void WriteMap(const std::string& path, const std::string& text)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        Fail("open(\"" + path + "\")");
    if (::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        Fail("write(\"" + path + "\", \"" + text + "\")");
    (void)::close(fd);  // a map is in force when write returns
}

// user_namespaces(7): an unprivileged gid_map is accepted only after setgroups is denied.
void UnshareAsOrdinaryUser()
{
    const std::string uid = std::to_string(::geteuid());
    const std::string gid = std::to_string(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        Fail("unshare(CLONE_NEWUSER | CLONE_NEWNS)");

    WriteMap("/proc/self/setgroups", "deny");
    WriteMap("/proc/self/uid_map", "0 " + uid + " 1");
    WriteMap("/proc/self/gid_map", "0 " + gid + " 1");
}

// A root without CAP_SYS_ADMIN, as in a container, is treated as an ordinary user.
void UnshareMounts()
{
    if (::geteuid() == 0 && ::unshare(CLONE_NEWNS) == 0)
        return;
    if (::geteuid() == 0 && errno != EPERM)
        Fail("unshare(CLONE_NEWNS)");

    UnshareAsOrdinaryUser();
}

void MakeDirectory(const std::string& path, mode_t mode)
{
    if (::mkdir(path.c_str(), mode) != 0)
        Fail("mkdir(\"" + path + "\")");
}

void MountTmpfs(const std::string& path, const char* options)
{
    if (::mount("tmpfs", path.c_str(), "tmpfs", MS_NOSUID, options) != 0)
        Fail("mount(tmpfs on \"" + path + "\")");
}

void Bind(const std::string& from, const std::string& to)
{
    if (::mount(from.c_str(), to.c_str(), kNoType, MS_BIND | MS_REC, nullptr) != 0)
        Fail("mount(\"" + from + "\" on \"" + to + "\", MS_BIND)");
}

bool IsDirectory(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// `name`: of the directory in the staging area. Without trusted.* attributes, which a user
// namespace denies, the overlay notes its state in user.* ones; before Linux 6.6 a tmpfs has
// none, and does without.
bool TryOverlay(const std::string& path, const std::string& name, mode_t mode)
{
    const std::string upper = kStaging + "/" + name;
    const std::string work = upper + ".work";
    MakeDirectory(upper, mode);
    MakeDirectory(work, 0755);

    const std::string options = "lowerdir=" + path + ",upperdir=" + upper + ",workdir=" + work;
    const std::string withUserAttributes = options + ",userxattr";
    return (::setxattr(upper.c_str(), "trusted.qor", "", 0, 0) != 0 &&
            ::mount("overlay", path.c_str(), "overlay", 0, withUserAttributes.c_str()) == 0) ||
           ::mount("overlay", path.c_str(), "overlay", 0, options.c_str()) == 0;
}

// A directory that is a link to one of the others on this host is private with its target.
void MountOverlay(const std::string& path, const std::string& name)
{
    if (IsDirectory(path) && !TryOverlay(path, name, 0755))
        Fail("mount(overlay on \"" + path + "\")");
}

// No test needs what lies in the host's /tmp, but a developer's files there may well be looked
// for. EINVAL: a user namespace cannot overlay a directory with other mounts below it.
void MountTmp()
{
    if (TryOverlay("/tmp", "tmp", 01777))
        return;
    if (errno != EINVAL)
        Fail("mount(overlay on \"/tmp\")");
    MountTmpfs("/tmp", "mode=1777");
}

void BindDevice(const std::string& dev, const std::string& name)
{
    const std::string target = dev + "/" + name;
    const int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        Fail("open(\"" + target + "\")");
    (void)::close(fd);  // empty, a mount point only
    Bind("/dev/" + name, target);
}

void MakeLink(const std::string& target, const std::string& path)
{
    if (::symlink(target.c_str(), path.c_str()) != 0)
        Fail("symlink(\"" + path + "\")");
}

// A tree that cannot be opened, such as one that its owner keeps to himself, leaves an empty
// directory: only the tests that need its files fail.
void BindTree(int tree, const std::string& target)
{
    MakeDirectory(target, 0755);
    if (tree < 0)
        return;
    Bind("/proc/self/fd/" + std::to_string(tree), target);
    (void)::close(tree);  // O_PATH, nothing to lose
}

void FillDev(const std::string& dev)
{
    for (const char* const name : {"null", "zero", "full", "random", "urandom", "tty"})
        BindDevice(dev, name);

    MakeLink("/proc/self/fd", dev + "/fd");
    MakeLink("/proc/self/fd/0", dev + "/stdin");
    MakeLink("/proc/self/fd/1", dev + "/stdout");
    MakeLink("/proc/self/fd/2", dev + "/stderr");
    MakeLink("pts/ptmx", dev + "/ptmx");
    MakeDirectory(dev + "/shm", 01777);
    MakeDirectory(dev + "/pts", 0755);
    if (IsDirectory("/dev/pts"))
        Bind("/dev/pts", dev + "/pts");
}

// Built aside and then moved into place: its parts come from the /dev that it covers.
void MountDev(int buildTree, int sourceTree)
{
    const std::string dev = kStaging + "/dev";
    MakeDirectory(dev, 0755);
    MountTmpfs(dev, "mode=0755");
    FillDev(dev);
    MakeDirectory(dev + kTreesInDev, 0755);
    BindTree(buildTree, dev + kTreesInDev + kBuildTreeName);
    BindTree(sourceTree, dev + kTreesInDev + kSourceTreeName);

    if (::mount(dev.c_str(), "/dev", kNoType, MS_MOVE, nullptr) != 0)
        Fail("mount(\"" + dev + "\" on \"/dev\", MS_MOVE)");
}

// The working directory may have been covered. By its name the process comes to what is there
// now; when there is nothing, it stays where it is, as reading relative paths still works.
void ReenterWorkingDirectory(const char* path)
{
    if (path != nullptr && ::chdir(path) != 0)
        return;
}

void MountEverything()
{
    char buffer[PATH_MAX];
    const char* const workingDirectory = ::getcwd(buffer, sizeof buffer);

    // Opened here, since they may lie below a directory that is about to be covered.
    const int buildTree = ::open(QOR_TEST_BUILD_TREE, O_PATH | O_DIRECTORY | O_CLOEXEC);
    const int sourceTree = ::open(QOR_TEST_SOURCE_TREE, O_PATH | O_DIRECTORY | O_CLOEXEC);

    MountTmpfs(kStaging, "mode=0700");
    MountDev(buildTree, sourceTree);
    MountOverlay("/etc", "etc");
    MountOverlay("/usr/bin", "bin");
    MountOverlay("/usr/sbin", "sbin");
    MountTmp();
    if (::umount2(kStaging.c_str(), MNT_DETACH) != 0)
        Fail("umount2(\"" + kStaging + "\", MNT_DETACH)");

    MountTmpfs("/opt", "mode=0755");
    MountTmpfs("/var/tmp", "mode=1777");
    ReenterWorkingDirectory(workingDirectory);
}

void SetVariable(const char* name, const std::string& value)
{
    if (::setenv(name, value.c_str(), 1) != 0)
        Fail("setenv(\"" + std::string(name) + "\")");
}

// Counters of a coverage build go to the build tree by the path that is never covered; gcov(1).
void FindCounters()
{
    const std::string tree = QOR_TEST_BUILD_TREE;
    const auto depth = std::count(tree.begin(), tree.end(), '/');
    SetVariable("GCOV_PREFIX", std::string("/dev") + kTreesInDev + kBuildTreeName);
    SetVariable("GCOV_PREFIX_STRIP", std::to_string(depth));
}

}  // namespace

void EnterPrivateMounts()
{
    if (AlreadyPrivate())
        return;

    UnshareMounts();
    if (::mount(nullptr, "/", kNoType, MS_REC | MS_PRIVATE, nullptr) != 0)
        Fail("mount(\"/\", MS_REC | MS_PRIVATE)");

    const mode_t mask = ::umask(0);
    MountEverything();
    (void)::umask(mask);  // cannot fail

    SetVariable(kMarker, MountNamespace());
    if (QOR_TEST_COVERAGE)
        FindCounters();
}

}  // namespace qor::test
