#include "CFileUtility.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include "base/InstallPath.h"
#include "support/Cancellation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/HostTest.h"
#include "support/Interrupts.h"
#include "support/LogFiles.h"
#include "support/Memcheck.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/SmallDisk.h"
#include "support/Text.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kDirectory[] = "/opt/directory";
constexpr char kDeleting[] =
    "**FAIL** static bool CFileUtility::DeleteAllFileByExtendName(std::string, std::string) ";
constexpr char kSearching[] =
    "**FAIL** static void CFileUtility::SearchFile(std::string, std::string, "
    "std::list<std::string>*) ";

using Names = std::list<std::string>;

class CFileUtilityTest : public HostTest
{
protected:
    static std::string InDirectory(const std::string& name)
    {
        return std::string(kDirectory) + "/" + name;
    }

    static Strings FileRecords() { return Records("QorCom"); }
};

TEST_F(CFileUtilityTest, HoldsNothing)
{
    static_assert(std::is_trivially_default_constructible_v<CFileUtility>, "");
    static_assert(std::is_trivially_destructible_v<CFileUtility>, "");
    static_assert(std::is_empty_v<CFileUtility>, "");
}

TEST_F(CFileUtilityTest, KnowsAnElfFileByItsBytesOneToThree)
{
    const struct {
        std::string content;
        bool elf;
    } cases[] = {
        {"\x7f"
         "ELF and the rest of a header",
         true},
        {"xELF", true},
        {"\0ELF"s, true},
        {"\nELF\n", true},
        {"EELF", true},
        {"\x7f"
         "EL",
         false},
        {"\x7f"
         "ELf",
         false},
        {"\x7f"
         "elf",
         false},
        {"ELF", false},
        {"  ELF", false},
        {"\x7f", false},
        {"", false},
        {std::string(100, 'x') + "ELF", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content));
        WriteFile("/opt/file", c.content);
        errno = EINTR;  // of an earlier call
        EXPECT_EQ(c.elf, CFileUtility::IsElfFile("/opt/file"));
    }
}

TEST_F(CFileUtilityTest, KnowsRealElfFiles)
{
    EXPECT_TRUE(CFileUtility::IsElfFile("/proc/self/exe"));
    EXPECT_TRUE(CFileUtility::IsElfFile("/bin/sh"));
    EXPECT_FALSE(CFileUtility::IsElfFile("/etc/passwd"));
}

TEST_F(CFileUtilityTest, FindsNoElfFileInWhatCannotBeRead)
{
    WriteFile("/opt/closed",
              "\x7f"
              "ELF");
    ASSERT_EQ(0, ::chmod("/opt/closed", 0));

    const WithoutPrivileges ordinary;
    for (const char* path : {"/opt", "/opt/absent", "", "/opt/closed"}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(CFileUtility::IsElfFile(path));
    }
    EXPECT_FALSE(CFileUtility::IsElfFile(nullptr));
}

TEST_F(CFileUtilityTest, FindsAFileOfAnyKind)
{
    WriteFile("/opt/file", "");
    ASSERT_EQ(0, ::mkfifo("/opt/pipe", 0600));
    ASSERT_EQ(0, ::symlink("/opt/file", "/opt/link"));
    ASSERT_EQ(0, ::symlink("/opt/nowhere", "/opt/dangling"));
    for (const char* path : {"/opt/file", "/opt", "/opt/pipe", "/opt/link", "/dev/null", "/"}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(CFileUtility::IsFileExist(path));
    }
    for (const char* path : {"/opt/absent", "/opt/dangling", "/opt/file/", "/opt/file/x", ""}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(CFileUtility::IsFileExist(path));
    }
}

TEST_F(CFileUtilityTest, ReadsNoConfiguration)
{
    WriteFile("/opt/file.ini", "[s]\nk=1\n");
    EXPECT_THROW((void)CFileUtility::ReadConfigString("s", "k", "/opt/file.ini"), std::logic_error);
    EXPECT_THROW((void)CFileUtility::ReadConfigString("", "", ""), std::logic_error);
}

TEST_F(CFileUtilityTest, RenamesWithinTheDirectoryOrToAPath)
{
    const struct {
        const char* from;
        const char* to;
        const char* result;
    } cases[] = {
        {"/opt/a/b.txt", "c.txt", "/opt/a/c.txt"},
        {"/opt/a/b.txt", "b", "/opt/a/b"},
        {"/opt/a/b.txt", "b.txt", "/opt/a/b.txt"},
        {"/opt/a/b.txt", "/opt/c.txt", "/opt/c.txt"},
        {"/opt/a/b.txt", "/opt/a/d/c.txt", "/opt/a/d/c.txt"},
        {"/opt/a/./b.txt", "c d", "/opt/a/c d"},
        {"/opt//a//b.txt", "c.txt", "/opt/a/c.txt"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.from + " "s + c.to);
        RemoveTree("/opt/a");
        MakeDirs("/opt/a/d");
        WriteFile("/opt/a/b.txt", "content");
        EXPECT_TRUE(CFileUtility::RenName(c.from, c.to));
        EXPECT_EQ("content", ReadFile(c.result));
        EXPECT_EQ(c.result == "/opt/a/b.txt"s, Exists("/opt/a/b.txt"));
    }
}

TEST_F(CFileUtilityTest, TakesADestinationWithASlashAsItIs)
{
    EXPECT_EQ(0, InChild([] {
                  WriteFile("/opt/a/b.txt", "content");
                  MakeDirs("/opt/work/sub");
                  EXPECT_EQ(0, ::chdir("/opt/work"));
                  EXPECT_TRUE(CFileUtility::RenName("/opt/a/b.txt", "sub/c.txt"));
                  EXPECT_EQ("content", ReadFile("/opt/work/sub/c.txt"));
                  return 0;
              }));
}

// In a root directory of the test's own, since the real one is not to be written to.
TEST_F(CFileUtilityTest, RenamesIntoTheRootWhenNoDirectoryIsNamed)
{
    WriteFile("/opt/root/work/b.txt", "b");
    WriteFile("/opt/root/d.txt", "d");
    EXPECT_EQ(0, InChild([] {
                  EXPECT_EQ(0, ::chroot("/opt/root"));
                  EXPECT_EQ(0, ::chdir("/work"));
                  EXPECT_TRUE(CFileUtility::RenName("b.txt", "c.txt"));
                  EXPECT_TRUE(CFileUtility::RenName("/d.txt", "e.txt"));
                  return 0;
              }));
    EXPECT_EQ("b", ReadFile("/opt/root/c.txt"));
    EXPECT_EQ("d", ReadFile("/opt/root/e.txt"));
    EXPECT_EQ(Strings({"c.txt", "e.txt", "work"}), ListDir("/opt/root"));
    EXPECT_EQ(Strings(), ListDir("/opt/root/work"));
}

TEST_F(CFileUtilityTest, ReplacesAFileByRenaming)
{
    WriteFile("/opt/a/b", "new");
    WriteFile("/opt/a/c", "old");
    EXPECT_TRUE(CFileUtility::RenName("/opt/a/b", "c"));
    EXPECT_EQ("new", ReadFile("/opt/a/c"));
}

TEST_F(CFileUtilityTest, ReportsWhenItCannotRename)
{
    WriteFile("/opt/a/b", "b");
    MakeDirs("/opt/a/d");
    EXPECT_FALSE(CFileUtility::RenName("/opt/a/absent", "c"));
    EXPECT_FALSE(CFileUtility::RenName("/opt/a/b", "d"));
    EXPECT_FALSE(CFileUtility::RenName("/opt/a/b", "absent/c"));
    EXPECT_FALSE(CFileUtility::RenName("/opt/a/b", ""));
    EXPECT_FALSE(CFileUtility::RenName("", "/opt/c"));
    EXPECT_EQ("b", ReadFile("/opt/a/b"));
    EXPECT_EQ(Strings(), FileRecords());
}

TEST_F(CFileUtilityTest, RunsACommandWithItsArguments)
{
    const StubCommand probe("/usr/bin/qor_probe", "for a; do echo \"<$a>\"; done > /opt/arguments");
    const struct {
        const char* arguments;
        const char* seen;
    } cases[] = {{"", ""}, {"a", "<a>\n"}, {"a 'b c' \"\"", "<a>\n<b c>\n<>\n"}, {"  a ", "<a>\n"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        EXPECT_EQ(0, CFileUtility::RunVBS("qor_probe", c.arguments));
        EXPECT_EQ(c.seen, ReadFile("/opt/arguments"));
    }
}

// The shell shows its own command line, whose parts procfs separates by NUL.
TEST_F(CFileUtilityTest, HandsOneLineToTheShell)
{
    const std::string command = "tr '\\0' '\\n' < /proc/$$/cmdline > /opt/line; true";
    EXPECT_EQ(0, CFileUtility::RunVBS(command, "a  b"));
    EXPECT_TRUE(
        Matches(".*; true a  b > "s + kScratchPattern, Lines(ReadFile("/opt/line")).back()));

    EXPECT_EQ(0, CFileUtility::RunVBS(command, ""));
    EXPECT_TRUE(Matches(".*; true > "s + kScratchPattern, Lines(ReadFile("/opt/line")).back()));
}

TEST_F(CFileUtilityTest, ThrowsAwayWhatACommandPrints)
{
    const StubCommand probe("/usr/bin/qor_probe", kNoteScratch + "echo printed"s);
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, CFileUtility::RunVBS("qor_probe", ""));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_TRUE(Matches(kScratchPattern + " 600 0\n"s, ReadFile(kScratchNote)));
}

TEST_F(CFileUtilityTest, ReturnsTheExitStatusOfACommand)
{
    for (const int status : {0, 1, 2, 3, 126, 128, 255}) {
        SCOPED_TRACE(status);
        EXPECT_EQ(status, CFileUtility::RunVBS("exit", std::to_string(status)));
    }
    EXPECT_EQ(0, CFileUtility::RunVBS("true", ""));
    EXPECT_EQ(1, CFileUtility::RunVBS("false", ""));
}

TEST_F(CFileUtilityTest, Returns127ForACommandThatIsMissing)
{
    const std::string errors =
        CaptureStderr([] { EXPECT_EQ(127, CFileUtility::RunVBS("/opt/absent", "a")); });
    EXPECT_EQ(1U, Lines(errors).size()) << "The shell reports it: " << errors;
}

TEST_F(CFileUtilityTest, GoesOnReadingAnElfFileWhenASignalInterruptsIt)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    ASSERT_EQ(0, ::mkfifo("/opt/pipe", 0600));
    ChildProcess reader([] {
        CatchInterrupts();
        return CFileUtility::IsElfFile("/opt/pipe") ? 0 : 1;
    });
    const OwnedFd pipe(::open("/opt/pipe", O_RDWR | O_CLOEXEC));

    EXPECT_TRUE(InterruptIn(reader, SYS_read));

    EXPECT_EQ(4, ::write(pipe.get(), "xELF", 4));
    EXPECT_EQ(0, reader.Wait());
}

TEST_F(CFileUtilityTest, ReturnsMinusOneWhenASignalEndsTheShell)
{
    for (const int signal : {SIGKILL, SIGTERM, SIGUSR1}) {
        SCOPED_TRACE(signal);
        EXPECT_EQ(-1, CFileUtility::RunVBS("kill", "-" + std::to_string(signal) + " $$"));
    }
}

TEST_F(CFileUtilityTest, ReturnsMinusOneWhenTheStatusIsUnknown)
{
    EXPECT_EQ(0, InChildThatIgnoresSigchld([] {
                  EXPECT_EQ(-1, CFileUtility::RunVBS("touch", "/opt/ran"));
                  EXPECT_EQ(-1, CFileUtility::ChangeFilePermission("/opt/ran", 0600));
                  return 0;
              }));
    EXPECT_EQ(0600U, FileMode("/opt/ran"));
}

// A C library may report a shell that it could not start as one that exited with 127 (glibc 2.36).
TEST_F(CFileUtilityTest, FailsWhenNoProcessCanBeStarted)
{
    EXPECT_EQ(0, InChildWithoutProcesses([] {
                  const int ran = CFileUtility::RunVBS("true", "");
                  EXPECT_TRUE(ran == -1 || ran == 127) << ran;
                  const int changed = CFileUtility::ChangeFilePermission("/opt", 0755);
                  EXPECT_TRUE(changed == -1 || changed == 127 << 8) << changed;
                  return 0;
              }));
}

TEST_F(CFileUtilityTest, RunsNothingWithoutADescriptorForItsScratchFile)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind refuses a new file only after it has made it");
    WriteFile("/opt/file", "");
    {
        const DescriptorLimit none;
        EXPECT_EQ(-1, CFileUtility::RunVBS("touch", "/opt/ran"));
        EXPECT_EQ(-1, CFileUtility::ChangeFilePermission("/opt/file", 0600));
    }
    EXPECT_FALSE(Exists("/opt/ran"));
    EXPECT_EQ(0644U, FileMode("/opt/file"));
}

TEST_F(CFileUtilityTest, FailsInTheShellWhereNoScratchFileCanBeMade)
{
    WriteFile("/opt/file", "");
    SmallDisk disk(kScratchDir, 4096);
    disk.MakeReadOnly();
    (void)CaptureStderr([] {
        const int failure = std::system("true > /var/tmp/file");
        ASSERT_NE(0, failure);

        EXPECT_EQ(WEXITSTATUS(failure), CFileUtility::RunVBS("touch /opt/ran; true", ""));
        EXPECT_EQ(failure, CFileUtility::ChangeFilePermission("/opt/file", 0600));
    });
    EXPECT_TRUE(Exists("/opt/ran"));
    EXPECT_EQ(0644U, FileMode("/opt/file"));
}

TEST_F(CFileUtilityTest, ChangesPermissions)
{
    WriteFile("/opt/file", "");
    for (const mode_t mode : {0644U, 0U, 0777U, 0400U, 04755U, 01777U, 07U}) {
        SCOPED_TRACE(mode);
        EXPECT_EQ(0, CFileUtility::ChangeFilePermission("/opt/file", static_cast<int>(mode)));
        EXPECT_EQ(mode, FileMode("/opt/file"));
    }
}

TEST_F(CFileUtilityTest, CallsChmodWithTheModeInOctal)
{
    const StubCommand chmod("/usr/bin/chmod", "echo \"$# $*\" > /opt/called\n"s + kNoteScratch);
    const struct {
        int mode;
        const char* path;
        const char* called;
    } cases[] = {
        {0644, "/opt/file", "2 0644 /opt/file\n"},
        {0, "/opt/file", "2 00 /opt/file\n"},
        {8, "a", "2 010 a\n"},
        {07777, "a", "2 07777 a\n"},
        {-1, "a", "2 037777777777 a\n"},
        {0600, "a b", "3 0600 a b\n"},
        {0600, "'a b'", "2 0600 a b\n"},
        {0600, "", "1 0600\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.called);
        RemoveTree(kScratchNote);
        EXPECT_EQ(0, CFileUtility::ChangeFilePermission(c.path, c.mode));
        EXPECT_EQ(c.called, ReadFile("/opt/called"));
        EXPECT_TRUE(Matches(kScratchPattern + " 600 0\n"s, ReadFile(kScratchNote)));
    }
}

TEST_F(CFileUtilityTest, ReturnsTheRawStatusOfChmod)
{
    (void)CaptureStderr([] {
        EXPECT_EQ(1 << 8, CFileUtility::ChangeFilePermission("/opt/absent", 0644));
        EXPECT_EQ(1 << 8, CFileUtility::ChangeFilePermission("/opt", -1));
    });
    const StubCommand chmod("/usr/bin/chmod", "exit 7");
    EXPECT_EQ(7 << 8, CFileUtility::ChangeFilePermission("/opt/file", 0644));
}

TEST_F(CFileUtilityTest, MatchesNamesAgainstPatterns)
{
    const struct {
        const char* pattern;
        const char* name;
        bool match;
    } cases[] = {
        // Without a wildcard.
        {"abc", "abc", true},
        {"abc", "abcd", false},
        {"abc", "ab", false},
        {"abc", "ABC", false},
        {"", "", true},
        {"", "a", false},
        {"a", "", false},
        {"a.c", "abc", false},
        {"[a]", "a", false},
        // "*" in front: a part of the name.
        {"*", "", true},
        {"*", "anything", true},
        {"*log", "catalog.txt", true},
        {"*log", "log", true},
        {"*log", "x.log.1", true},
        {"*log", "Log", false},
        {"*log", "lo", false},
        {"*log", "", false},
        {"**", "a", false},
        {"**", "a*b", true},
        {"*a*", "xay", false},
        {"*a*", "xa*y", true},
        {"*a?", "xab", false},
        {"*a?", "xa?b", true},
        // "*" elsewhere matches nothing.
        {"ab*", "abc", false},
        {"ab*", "ab*", false},
        {"ab*", "ab", false},
        {"a*", "a", false},
        {"a*", "", false},
        {"a*", "a*", false},
        {"a*b", "axb", false},
        {"?*", "ab", false},
        {"?*", "?*", false},
        {"a?*", "abc", false},
        // "?": the first run.
        {"?", "a", true},
        {"?", "", true},
        {"?", "ab", false},
        {"??", "a", true},
        {"??", "", true},
        {"???", "ab", true},
        {"a?c", "abc", true},
        {"a?c", "a?c", true},
        {"a?c", "ac", false},
        {"a?c", "abbc", false},
        {"a?c", "abd", false},
        {"a??", "ab", true},
        {"a??", "abc", true},
        {"a??", "abcd", false},
        {"a??", "a", true},
        {"a??c", "abc", false},
        {"a??c", "abbc", true},
        {"ab?", "ab", true},
        {"?b", "ab", true},
        {"?b", "b", false},
        // A later "?" is a letter.
        {"a?c?", "abcd", false},
        {"a?c?", "abc?", true},
        {"?a?", "xa?", true},
        {"?a?", "xay", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pattern + " / "s + c.name);
        EXPECT_EQ(c.match, CFileUtility::isMatch(c.pattern, c.name));
    }
}

TEST_F(CFileUtilityTest, ThrowsForAQuestionMarkBeyondTheName)
{
    const struct {
        const char* pattern;
        const char* name;
    } cases[] = {{"a?", ""}, {"ab?", "a"}, {"ab?", ""}, {"abc??", "ab"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pattern + " / "s + c.name);
        EXPECT_THROW((void)CFileUtility::isMatch(c.pattern, c.name), std::out_of_range);
    }
}

TEST_F(CFileUtilityTest, RemovesTheLastExtension)
{
    const struct {
        const char* name;
        const char* result;
    } cases[] = {
        {"archive.tar.gz", "archive.tar"},
        {"README", ""},
        {"a.b", "a"},
        {"a.", "a"},
        {".profile", ""},
        {".", ""},
        {"..", "."},
        {"", ""},
        {"/a.d/b", "/a"},
        {"/a.d/b.c", "/a.d/b"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.result, CFileUtility::RemoveFileExtension(c.name));
    }
}

TEST_F(CFileUtilityTest, DeletesTheFilesWhoseNamesHoldThePart)
{
    for (const char* name : {"x.log", "x.log.1", ".log", "x.LOG", "xlog", "x.lo", "y.log"})
        WriteFile(InDirectory(name), "");
    WriteFile("/opt/kept", "kept");
    ASSERT_EQ(0, ::symlink("/opt/kept", InDirectory("link.log").c_str()));
    ASSERT_EQ(0, ::symlink("/opt/absent", InDirectory("dangling.log").c_str()));

    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName(kDirectory, ".log"));

    EXPECT_EQ(Strings({"x.LOG", "x.lo", "xlog"}), ListDir(kDirectory));
    EXPECT_EQ("kept", ReadFile("/opt/kept"));
    EXPECT_EQ(Strings(), FileRecords());
}

TEST_F(CFileUtilityTest, DeletesNothingWithoutAMatch)
{
    WriteFile(InDirectory("a"), "");
    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName(kDirectory, "b"));
    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName(kDirectory, "aa"));
    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName(kDirectory, "*"));
    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName(kDirectory, "\0"s));
    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName(kDirectory, "a\0b"s));
    EXPECT_EQ(Strings({"a"}), ListDir(kDirectory));
}

TEST_F(CFileUtilityTest, DeletesThroughALinkToTheDirectory)
{
    WriteFile(InDirectory("a.log"), "");
    ASSERT_EQ(0, ::symlink(kDirectory, "/opt/link"));
    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName("/opt/link", ".log"));
    EXPECT_EQ(Strings(), ListDir(kDirectory));
}

TEST_F(CFileUtilityTest, ReportsADirectoryThatItCannotEmpty)
{
    WriteFile("/opt/file", "");
    const struct {
        std::string directory;
        int error;
    } cases[] = {{"/opt/absent", ENOENT}, {"/opt/file", ENOTDIR}, {"", ENOENT}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.directory);
        EXPECT_FALSE(CFileUtility::DeleteAllFileByExtendName(c.directory, "f"));
        EXPECT_EQ(
            kDeleting + "opendir("s + c.directory + ") failed! (" + std::to_string(c.error) + ")",
            FileRecords().back());
    }
    EXPECT_EQ(3U, FileRecords().size());
    EXPECT_TRUE(Exists("/opt/file"));
}

TEST_F(CFileUtilityTest, ReportsASubdirectoryAndGoesOn)
{
    MakeDirs(InDirectory("sub.log"));
    for (const char* name : {"a.log", "b.log", "y.log", "z.log", "kept"})
        WriteFile(InDirectory(name), "");

    EXPECT_FALSE(CFileUtility::DeleteAllFileByExtendName(kDirectory, ".log"));

    EXPECT_EQ(Strings({"kept", "sub.log"}), ListDir(kDirectory));
    EXPECT_EQ(Strings({kDeleting + "unlink(/opt/directory/sub.log) failed! ("s +
                       std::to_string(EISDIR) + ")"}),
              FileRecords());
}

TEST_F(CFileUtilityTest, TriesTheDirectoryItselfAndItsParentToo)
{
    WriteFile(InDirectory("a"), "");
    const std::string end = ") failed! (" + std::to_string(EISDIR) + ")";
    for (const char* part : {".", ""}) {
        SCOPED_TRACE(part);
        RemoveTree("/opt/velmora/qor/log");
        MakeLogDirectory();
        EXPECT_FALSE(CFileUtility::DeleteAllFileByExtendName(kDirectory, part));
        EXPECT_EQ(Strings({kDeleting + "unlink(/opt/directory/."s + end,
                           kDeleting + "unlink(/opt/directory/.."s + end}),
                  Sorted(FileRecords()));
    }
    EXPECT_EQ(Strings(), ListDir(kDirectory)) << "Every name holds the empty part.";
}

TEST_F(CFileUtilityTest, ReportsEveryFileThatItMayNotDelete)
{
    SmallDisk disk(kDirectory, 65536);
    WriteFile(InDirectory("a.log"), "");
    WriteFile(InDirectory("b.log"), "");
    disk.MakeReadOnly();

    EXPECT_FALSE(CFileUtility::DeleteAllFileByExtendName(kDirectory + "/"s, ".log"));

    const std::string end = ") failed! (" + std::to_string(EROFS) + ")";
    EXPECT_EQ(Strings({kDeleting + "unlink(/opt/directory//a.log"s + end,
                       kDeleting + "unlink(/opt/directory//b.log"s + end}),
              Sorted(FileRecords()));
    EXPECT_EQ(Strings({"a.log", "b.log"}), ListDir(kDirectory));
}

TEST_F(CFileUtilityTest, FindsTheNamesThatMatch)
{
    for (const char* name : {"a.log", "b.log", "catalog", "c.txt"})
        WriteFile(InDirectory(name), "");
    MakeDirs(InDirectory("log.d"));
    Names found = {"before"};

    CFileUtility::SearchFile(kDirectory, "*log", &found);

    EXPECT_EQ("before", found.front());
    found.sort();
    EXPECT_EQ(Names({"a.log", "b.log", "before", "catalog", "log.d"}), found);
    EXPECT_EQ(Strings(), FileRecords());
}

TEST_F(CFileUtilityTest, FindsEveryEntryInDirectoryOrder)
{
    for (int i = 0; i < 100; ++i)
        WriteFile(InDirectory("file" + std::to_string(i)), "");
    Names order;
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(kDirectory), ::closedir);
    while (const dirent* const entry = ::readdir(stream.get()))
        order.emplace_back(entry->d_name);

    Names found;
    CFileUtility::SearchFile(kDirectory, "*", &found);

    EXPECT_EQ(102U, found.size()) << "With . and ..";
    EXPECT_EQ(order, found);
}

TEST_F(CFileUtilityTest, FindsByEachKindOfPattern)
{
    WriteFile(InDirectory("ab"), "");
    WriteFile(InDirectory("b"), "");
    const struct {
        const char* pattern;
        Names found;
    } cases[] = {
        {"ab", {"ab"}}, {"absent", {}}, {"a*", {}}, {"..", {".."}}, {"a?", {"ab"}}, {"", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pattern);
        Names found;
        CFileUtility::SearchFile(kDirectory, c.pattern, &found);
        EXPECT_EQ(c.found, found);
    }
}

TEST_F(CFileUtilityTest, ThrowsForAPatternThatShortNamesCannotMatch)
{
    WriteFile(InDirectory("abc"), "");
    for (int i = 0; i < 100; ++i) {
        Names found;
        EXPECT_THROW(CFileUtility::SearchFile(kDirectory, "ab?", &found), std::out_of_range);
    }
}

TEST_F(CFileUtilityTest, ReportsADirectoryThatItCannotSearch)
{
    WriteFile("/opt/file", "");
    Names found = {"before"};
    CFileUtility::SearchFile("/opt/absent", "*", &found);
    CFileUtility::SearchFile("/opt/file", "*", &found);
    CFileUtility::SearchFile("/opt/absent", "*", nullptr);

    EXPECT_EQ(Names{"before"}, found);
    const std::string missing =
        kSearching + "opendir(/opt/absent) failed! ("s + std::to_string(ENOENT) + ")";
    EXPECT_EQ(Strings({missing,
                       kSearching + "opendir(/opt/file) failed! ("s + std::to_string(ENOTDIR) + ")",
                       missing}),
              FileRecords());
}

TEST_F(CFileUtilityTest, FindsNothingForNoList)
{
    WriteFile(InDirectory("a"), "");
    CFileUtility::SearchFile(kDirectory, "*", nullptr);
    EXPECT_EQ(Strings(), FileRecords());
}

// The fixture reports scratch files and descriptors that are left.
TEST_F(CFileUtilityTest, EndsACancelledThreadWhereACommandRuns)
{
    for (void (*const run)() : {
             +[] { (void)CFileUtility::RunVBS("exec sleep 100 2>/dev/null", ""); },
             +[] {
                 (void)CFileUtility::ChangeFilePermission("/opt; exec sleep 100 2>/dev/null", 0755);
             },
         }) {
        const auto cancelled = RunCancelled(run);
        EXPECT_FALSE(cancelled.returned);
        EXPECT_TRUE(cancelled.cancelled);
    }
}

TEST_F(CFileUtilityTest, GoesToTheEndOnACancelledThread)
{
    WriteFile("/opt/files/a.log", "");
    Names found;
    ExpectCompleteWhenCancelled([&] {
        EXPECT_TRUE(CFileUtility::IsElfFile("/proc/self/exe"));
        CFileUtility::SearchFile("/opt/files", "*.log", &found);
        EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName("/opt/files", ".log"));
        EXPECT_FALSE(CFileUtility::DeleteAllFileByExtendName("/opt/absent", ".log"));
    });
    EXPECT_EQ(Names{"a.log"}, found);
}

TEST_F(CFileUtilityTest, KnowsTheInstallPathOfEachKind)
{
    for (int kind = -1; kind <= 8; ++kind)
        EXPECT_EQ(InstallPath(kind), CFileUtility::GetInstallPath(kind)) << kind;
}

}  // namespace
}  // namespace qor::test
