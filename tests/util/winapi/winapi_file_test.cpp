// Files and directories with Windows names.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/Interrupts.h"
#include "support/PrivateDiskTest.h"
#include "support/SmallDisk.h"
#include "support/Text.h"
#include "support/WithoutPrivileges.h"
#include "winapi.h"

namespace qor::test {
namespace {

constexpr char kPath[] = "/opt/a";
constexpr char kMissing[] = "/opt/missing";
constexpr unsigned long kAllBits = static_cast<unsigned long>(-1);

using winapiDescriptorsTest = PrivateDiskTest;
using winapiDirectoriesTest = PrivateDiskTest;
using winapiFilesTest = PrivateDiskTest;
using winapiCopyTest = PrivateDiskTest;

// Whether the process has the file open, and only so that programs which it starts do not get it:
// proc(5), "flags" are octal.
bool IsOpenForItselfAlone(pid_t pid, const std::string& path)
{
    const std::string process = "/proc/" + std::to_string(pid);
    std::size_t count = 0;
    for (const std::string& fd : ListDir(process + "/fd")) {
        if (std::filesystem::read_symlink(process + "/fd/" + fd) != path)
            continue;
        const std::string info = ReadFile(process + "/fdinfo/" + fd);
        if ((std::stoul(info.substr(info.find("flags:") + 6), nullptr, 8) & O_CLOEXEC) == 0)
            return false;
        ++count;
    }
    return count > 0;
}

TEST_F(winapiDescriptorsTest, AreClosed)
{
    const int fd = ::open("/etc/passwd", O_RDONLY | O_CLOEXEC);
    ASSERT_LE(0, fd);

    EXPECT_EQ(0, closesocket(fd));

    EXPECT_EQ(-1, ::fcntl(fd, F_GETFD));
    EXPECT_EQ(-1, closesocket(fd));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(-1, closesocket(-1));
}

TEST_F(winapiDirectoriesTest, AreMadeWithoutSearchPermissionUnderTheMask)
{
    for (const auto& [mask, mode] : {std::pair<mode_t, mode_t>{0022, 0644}, {0077, 0600}}) {
        RemoveTree(kPath);
        const mode_t former = ::umask(mask);
        EXPECT_EQ(0, _mkdir(kPath));
        (void)::umask(former);
        EXPECT_EQ(mode, FileMode(kPath));
    }
}

TEST_F(winapiDirectoriesTest, AreNotMadeTwiceNorWithTheirParents)
{
    WriteFile("/opt/file", "kept");

    EXPECT_EQ(-1, _mkdir("/opt/file"));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(-1, _mkdir("/opt/a/b"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(-1, _mkdir(""));
    EXPECT_EQ(-1, _mkdir(nullptr));

    EXPECT_EQ(Strings({"file"}), ListDir("/opt"));
    EXPECT_EQ("kept", ReadFile("/opt/file"));
}

TEST_F(winapiDirectoriesTest, AreMadeByWideNamesToo)
{
    wchar_t path[8] = {};
    std::memcpy(path, kPath, sizeof kPath);

    EXPECT_EQ(0, _wmkdir(path));
    EXPECT_EQ(mode_t{0644}, FileMode(kPath));
    EXPECT_EQ(-1, _wmkdir(path));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(-1, _wmkdir(nullptr));
}

TEST_F(winapiDirectoriesTest, AreRemovedWhenEmpty)
{
    WriteFile("/opt/full/file", "kept");
    WriteFile("/opt/file", "kept");
    MakeDirs(kPath);

    EXPECT_EQ(1, RemoveDirectoryA(kPath));
    EXPECT_EQ(0, RemoveDirectoryA(kPath));
    EXPECT_EQ(0, RemoveDirectoryA("/opt/full"));
    EXPECT_EQ(0, RemoveDirectoryA("/opt/file"));
    EXPECT_EQ(0, RemoveDirectoryA(""));
    EXPECT_EQ(-1, RemoveDirectoryA(nullptr));

    EXPECT_EQ(Strings({"file", "full"}), ListDir("/opt"));
    EXPECT_EQ("kept", ReadFile("/opt/full/file"));
}

TEST_F(winapiDirectoriesTest, AreDistinguishedFromEverythingElse)
{
    MakeDirs("/opt/directory");
    WriteFile("/opt/file", "");
    ASSERT_EQ(0, ::symlink("/opt/directory", "/opt/link"));
    ASSERT_EQ(0, ::symlink("/opt/nowhere", "/opt/dangling"));
    static const struct {
        const char* path;
        int result;
    } cases[] = {
        {"/opt/directory", 1}, {"/opt/directory/", 1}, {"/", 1},
        {"/opt/link", 1},      {"/opt/dangling", 0},   {"/opt/file", 0},
        {kMissing, 0},         {"/opt/file/x", 0},     {"", 0},
        {nullptr, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.path));
        EXPECT_EQ(c.result, PathIsDirectoryA(c.path));
    }
}

TEST_F(winapiDirectoriesTest, AreThoseThatCanBeOpened)
{
    MakeDirs(kPath);
    ASSERT_EQ(0, ::chmod(kPath, 0));
    {
        const WithoutPrivileges ordinary;
        EXPECT_EQ(0, PathIsDirectoryA(kPath));
    }
    EXPECT_EQ(1, PathIsDirectoryA(kPath));
}

// The working directory for the length of a test.
class ScopedWorkingDirectory
{
public:
    explicit ScopedWorkingDirectory(const char* path)
        : former_(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC))
    {
        EXPECT_EQ(0, ::chdir(path));
    }
    ~ScopedWorkingDirectory() { EXPECT_EQ(0, ::fchdir(former_.get())); }

private:
    OwnedFd former_;
};

TEST_F(winapiDirectoriesTest, IncludeTheWorkingDirectoryOnlyWithRoomForItAndItsNul)
{
    MakeDirs("/opt/work");
    const ScopedWorkingDirectory work("/opt/work");
    static const struct {
        unsigned long size;
        unsigned long result;
    } cases[] = {{0, 0}, {1, 0}, {9, 0}, {10, 9}, {11, 9}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        std::string buffer(20, '#');
        EXPECT_EQ(c.result, GetCurrentDirectoryA(c.size, &buffer[0]));
        EXPECT_EQ(std::string(20 - c.size, '#'), buffer.substr(c.size));
        if (c.result != 0) {
            EXPECT_STREQ("/opt/work", buffer.c_str());
        }
    }
    EXPECT_EQ(0U, GetCurrentDirectoryA(20, nullptr));
}

TEST_F(winapiDirectoriesTest, ExcludeAWorkingDirectoryThatIsGone)
{
    MakeDirs("/opt/work");
    const ScopedWorkingDirectory work("/opt/work");
    RemoveTree("/opt/work");
    std::string buffer(20, '#');
    EXPECT_EQ(0U, GetCurrentDirectoryA(20, &buffer[0]));
}

TEST_F(winapiFilesTest, AreDeleted)
{
    WriteFile("/opt/file", "");
    WriteFile("/opt/target", "kept");
    MakeDirs("/opt/directory");
    ASSERT_EQ(0, ::symlink("/opt/target", "/opt/link"));

    EXPECT_EQ(1, DeleteFileA("/opt/file"));
    EXPECT_EQ(0, DeleteFileA("/opt/file"));
    EXPECT_EQ(1, DeleteFileA("/opt/link"));
    EXPECT_EQ(0, DeleteFileA("/opt/directory"));
    EXPECT_EQ(0, DeleteFileA(""));
    EXPECT_EQ(-1, DeleteFileA(nullptr));

    EXPECT_EQ(Strings({"directory", "target"}), ListDir("/opt"));
}

TEST_F(winapiFilesTest, HaveASize)
{
    const OwnedFd file(::open(kPath, O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    int fd = file.get();
    for (const unsigned long size : {0UL, 1UL, 4096UL, 1000000UL, 5000000000UL}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(0, ::ftruncate(fd, static_cast<off_t>(size)));
        unsigned long ignored = 7;
        EXPECT_EQ(size, GetFileSize(&fd, &ignored));
        EXPECT_EQ(size, GetFileSize(&fd, nullptr));
        EXPECT_EQ(7U, ignored);
    }
}

TEST_F(winapiFilesTest, HaveNoSizeUnlessOpen)
{
    int fd = -1;
    EXPECT_EQ(kAllBits, GetFileSize(&fd, nullptr));
    EXPECT_EQ(kAllBits, GetFileSize(nullptr, nullptr));
}

TEST_F(winapiCopyTest, HasTheWholeContent)
{
    const std::string content = std::string("a\0b\r\n\xFF", 6);
    WriteFile("/opt/from", content);
    ASSERT_EQ(0, ::chmod("/opt/from", 0600));

    EXPECT_TRUE(CopyFileA("/opt/from", "/opt/to", 0));

    EXPECT_EQ(content, ReadFile("/opt/to"));
    EXPECT_EQ(content, ReadFile("/opt/from"));
    EXPECT_EQ(mode_t{0644}, FileMode("/opt/to"));
}

TEST_F(winapiCopyTest, OfSizesAroundABlock)
{
    for (const std::size_t size : {1U, 8191U, 8192U, 65535U, 65536U, 65537U, 5000000U}) {
        SCOPED_TRACE(size);
        std::string content(size, ' ');
        for (std::size_t i = 0; i < size; ++i)
            content[i] = static_cast<char>(i * i % 251);
        WriteFile("/opt/from", content);
        EXPECT_TRUE(CopyFileA("/opt/from", "/opt/to", 0));
        EXPECT_TRUE(content == ReadFile("/opt/to"));
    }
}

TEST_F(winapiCopyTest, ReplacesTheDestinationWhateverTheThirdArgument)
{
    for (const int ignored : {0, 1, -1}) {
        SCOPED_TRACE(ignored);
        WriteFile("/opt/from", "new");
        WriteFile("/opt/to", "a longer, older text");
        ASSERT_EQ(0, ::chmod("/opt/to", 0600));
        EXPECT_TRUE(CopyFileA("/opt/from", "/opt/to", ignored));
        EXPECT_EQ("new", ReadFile("/opt/to"));
        EXPECT_EQ(mode_t{0600}, FileMode("/opt/to"));
    }
}

TEST_F(winapiCopyTest, OfAnEmptyFileIsEmptyAndFalse)
{
    WriteFile("/opt/from", "");
    WriteFile("/opt/to", "old");

    EXPECT_FALSE(CopyFileA("/opt/from", "/opt/to", 0));
    EXPECT_FALSE(CopyFileA("/opt/from", "/opt/new", 0));

    EXPECT_EQ("", ReadFile("/opt/to"));
    EXPECT_EQ("", ReadFile("/opt/new"));
}

TEST_F(winapiCopyTest, WithoutASourceOrADestinationKeepsWhatIsThere)
{
    WriteFile(kPath, "kept");
    MakeDirs("/opt/directory");
    static const struct {
        const char* from;
        const char* to;
    } cases[] = {
        {kMissing, kPath},         {"/opt/directory", kPath},  {"", kPath}, {kMissing, "/opt/new"},
        {kPath, "/opt/directory"}, {kPath, "/opt/missing/to"}, {kPath, ""}, {nullptr, kPath},
        {kPath, nullptr},          {nullptr, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.from) + " to " + testing::PrintToString(c.to));
        EXPECT_FALSE(CopyFileA(c.from, c.to, 0));
        EXPECT_EQ("kept", ReadFile(kPath));
        EXPECT_EQ(Strings({"a", "directory"}), ListDir("/opt"));
    }
}

TEST_F(winapiCopyTest, OntoItselfKeepsTheFile)
{
    WriteFile(kPath, "kept");
    ASSERT_EQ(0, ::symlink(kPath, "/opt/symlink"));
    ASSERT_EQ(0, ::link(kPath, "/opt/hardlink"));

    EXPECT_FALSE(CopyFileA(kPath, kPath, 0));
    EXPECT_FALSE(CopyFileA(kPath, "/opt/symlink", 0));
    EXPECT_FALSE(CopyFileA("/opt/hardlink", kPath, 0));

    EXPECT_EQ("kept", ReadFile(kPath));
}

TEST_F(winapiCopyTest, FailsOnAFullDisk)
{
    SmallDisk disk("/opt/disk", 64 * 1024);
    WriteFile("/opt/from", std::string(200 * 1024, 'x'));
    EXPECT_FALSE(CopyFileA("/opt/from", "/opt/disk/to", 0));
}

TEST_F(winapiCopyTest, ReadsFilesWithoutASize)
{
    EXPECT_TRUE(CopyFileA("/proc/self/status", "/opt/to", 0));
    EXPECT_EQ(0U, ReadFile("/opt/to").find("Name:"));
}

TEST_F(winapiCopyTest, FailsWhereNothingCanBeRead)
{
    errno = EINTR;  // of an earlier call
    EXPECT_FALSE(CopyFileA("/proc/self/mem", kPath, 0));
    EXPECT_EQ("", ReadFile(kPath));
}

// In a child: the status of a copy whose system calls a signal may interrupt.
int CopyInterrupted()
{
    CatchInterrupts();
    return CopyFileA("/opt/from", "/opt/to", 0) ? 0 : 1;
}

TEST_F(winapiCopyTest, GoesOnReadingWhenASignalInterruptsIt)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    EXPECT_EQ(0, ReadInterrupted("/opt/from", CopyInterrupted));
    EXPECT_EQ("text", ReadFile("/opt/to"));
}

TEST_F(winapiCopyTest, GoesOnWritingWhenASignalInterruptsIt)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    WriteFile("/opt/from", "text");
    EXPECT_EQ("text", WriteInterrupted("/opt/to", CopyInterrupted));
}

TEST_F(winapiCopyTest, GoesOnAfterWhatASignalLetItWrite)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    std::string content(3 * 4096, 'a');
    content.replace(4096, 4096, 4096, 'b');
    WriteFile("/opt/from", content);
    ASSERT_EQ(0, ::mkfifo("/opt/to", 0600));
    OwnedFd fifo(::open("/opt/to", O_RDWR | O_CLOEXEC));
    ASSERT_EQ(4096, ::fcntl(fifo.get(), F_SETPIPE_SZ, 4096));
    ChildProcess copier([&fifo] {
        fifo.Reset();
        return CopyInterrupted();
    });

    EXPECT_TRUE(InterruptIn(copier, SYS_write));

    std::string copied(content.size(), '\0');
    for (std::size_t taken = 0; taken < copied.size();) {
        const ssize_t count = ::read(fifo.get(), &copied[taken], copied.size() - taken);
        ASSERT_LT(0, count);
        taken += static_cast<std::size_t>(count);
    }
    EXPECT_EQ(content, copied);
    fifo.Reset();  // whoever would write more is killed
    EXPECT_EQ(0, copier.Wait());
}

TEST_F(winapiCopyTest, KeepsItsFilesFromOtherPrograms)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    ASSERT_EQ(0, ::mkfifo("/opt/from", 0600));
    ChildProcess copier(CopyInterrupted);
    OwnedFd fifo(::open("/opt/from", O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(InterruptIn(copier, SYS_read));

    EXPECT_TRUE(IsOpenForItselfAlone(copier.pid(), "/opt/from"));
    EXPECT_TRUE(IsOpenForItselfAlone(copier.pid(), "/opt/to"));

    fifo.Reset();
    EXPECT_EQ(1, copier.Wait()) << "There was nothing to copy.";
}

TEST_F(winapiCopyTest, ComesToItsEndOnACancelledThread)
{
    WriteFile("/opt/from", std::string(100000, 'x'));
    ExpectCompleteWhenCancelled([] {
        EXPECT_TRUE(CopyFileA("/opt/from", "/opt/to", 0));
        EXPECT_EQ(1, DeleteFileA("/opt/to"));
        EXPECT_EQ(1, PathIsDirectoryA("/opt"));
    });
}

TEST_F(winapiDescriptorsTest, AreClosedByACancelledThread)
{
    ExpectCompleteWhenCancelled([] { EXPECT_EQ(0, closesocket(::fcntl(0, F_DUPFD_CLOEXEC, 0))); });
}

}  // namespace
}  // namespace qor::test
