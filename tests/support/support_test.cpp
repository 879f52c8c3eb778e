// The private mounts that every test program runs in.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "support/Files.h"
#include "support/PrivateDiskTest.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/SyslogSocket.h"
#include "support/TestPaths.h"

namespace qor::test {
namespace {

// Opened while the program is loaded, before main() leaves the host's mounts: paths below it
// are the host's ones ever after.
const int hostRoot = ::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);

bool ExistsOnHost(const std::string& path)
{
    struct stat status;
    return ::fstatat(hostRoot, path.c_str() + 1, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// host_untouched.sh brings a name of its own, which it looks for afterwards.
std::string Mark()
{
    const char* const given = ::getenv("QOR_TEST_MARK");
    return given != nullptr ? given : "qor_support_test." + std::to_string(::getpid());
}

TEST(PrivateMountsTest, SeesTheHostThroughTheDescriptorOpenedBefore)
{
    ASSERT_GE(hostRoot, 0);
    EXPECT_TRUE(ExistsOnHost("/usr/bin/env"));
    EXPECT_TRUE(ExistsOnHost("/dev/null"));
    EXPECT_FALSE(ExistsOnHost("/dev/qor_tests"));
    EXPECT_TRUE(Exists("/dev/qor_tests"));
}

TEST(PrivateMountsTest, KeepsWrittenFilesFromTheHost)
{
    static const char* const directories[] = {"/opt",     "/var/tmp",  "/etc",
                                              "/usr/bin", "/usr/sbin", "/tmp",
                                              "/dev",     "/dev/shm",  "/opt/velmora"};
    for (const char* const directory : directories) {
        SCOPED_TRACE(directory);
        const std::string path = std::string(directory) + "/" + Mark();
        WriteFile(path, "private");
        EXPECT_EQ("private", ReadFile(path));
        EXPECT_FALSE(ExistsOnHost(path));
    }
}

TEST(PrivateMountsTest, KeepsRemovalsFromTheHost)
{
    static const char* const files[] = {"/etc/passwd", "/usr/bin/env", "/usr/sbin/chroot"};
    for (const char* const file : files) {
        SCOPED_TRACE(file);
        ASSERT_TRUE(Exists(file));
        const ReplacedFile absent(file);
        EXPECT_FALSE(Exists(file));
        EXPECT_TRUE(ExistsOnHost(file));
    }
}

TEST(PrivateMountsTest, KeepsTheHostsDirectoriesInPlace)
{
    static const struct {
        const char* path;
        mode_t mode;
    } cases[] = {
        {"/opt", 0755},      {"/var/tmp", 01777}, {"/etc", 0755}, {"/usr/bin", 0755},
        {"/usr/sbin", 0755}, {"/tmp", 01777},     {"/dev", 0755}, {"/dev/shm", 01777},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(c.mode, FileMode(c.path));
    }
    EXPECT_TRUE(Exists("/etc/group"));
    EXPECT_TRUE(Exists("/usr/bin/gzip"));
}

TEST(PrivateMountsTest, OffersTheUsualDevices)
{
    WriteFile("/dev/null", "lost");
    EXPECT_EQ("", ReadFile("/dev/null"));
    EXPECT_EQ("00\n", RunShell("head -c1 /dev/zero | od -An -tx1 | tr -d ' '").output);
    EXPECT_EQ("1\n", RunShell("head -c1 /dev/random | wc -c").output);
    EXPECT_EQ("1\n", RunShell("head -c1 /dev/urandom | wc -c").output);
    EXPECT_NE(0, RunShell("echo full > /dev/full").status);
    EXPECT_EQ("through\n", RunShell("echo through | cat /dev/stdin > /dev/stdout").output);
    EXPECT_EQ("through\n", RunShell("echo through > /dev/fd/2").output);
    for (const char* const name : {"/dev/tty", "/dev/pts", "/dev/ptmx"})
        EXPECT_TRUE(Exists(name)) << name;
}

TEST(PrivateMountsTest, RunsCommandsInside)
{
    const ShellResult result = RunShell("cd /opt && echo text > a && gzip -9 a && zcat a.gz");

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("text\n", result.output);
    EmptyDirectory("/opt");
}

TEST(PrivateMountsTest, OpensPluginsWhereverTheBuildTreeLies)
{
    void* const library = ::dlopen(PluginPath("qor_support_plugin").c_str(), RTLD_NOW);
    ASSERT_NE(nullptr, library) << ::dlerror();

    auto* const answer = reinterpret_cast<int (*)()>(::dlsym(library, "QorSupportPluginAnswer"));
    ASSERT_NE(nullptr, answer);
    EXPECT_EQ(42, answer());
    EXPECT_EQ(0, ::dlclose(library));
}

TEST(PrivateMountsTest, ReadsTheSourceTree)
{
    EXPECT_NE("", ReadFile(SourcePath("tests/support/valgrind.supp")));
}

using PrivateDisk = PrivateDiskTest;

TEST_F(PrivateDisk, BeginsEmpty)
{
    EXPECT_TRUE(ListDir("/opt").empty());
    EXPECT_TRUE(ListDir("/var/tmp").empty());
    EXPECT_FALSE(Exists("/dev/log"));
}

TEST_F(PrivateDisk, KeepsTheSystemLogFromTheHost)
{
    SyslogSocket log;
    ::syslog(LOG_USER | LOG_ERR, "to the test alone");

    ASSERT_EQ(1U, log.Received().size());
    struct stat inside;
    ASSERT_EQ(0, ::stat("/dev/log", &inside));
    struct stat host;
    if (::fstatat(hostRoot, "dev/log", &host, 0) == 0) {
        EXPECT_FALSE(host.st_dev == inside.st_dev && host.st_ino == inside.st_ino);
    }
}

}  // namespace
}  // namespace qor::test
