#include "base/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "support/Files.h"
#include "support/Interrupts.h"
#include "support/PrivateDiskTest.h"
#include "support/WaitUntil.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

constexpr char kFile[] = "/opt/text.txt";

class ReadFileTest : public PrivateDiskTest
{
};

TEST_F(ReadFileTest, GivesEveryByteOfTheFile)
{
    using namespace std::string_literals;
    const std::string large(100001, 'x');
    for (const std::string& content : {""s, "a"s, "a\r\nb\n"s, "a\0b"s, large}) {
        SCOPED_TRACE(content.size());
        WriteFile(kFile, content);
        EXPECT_EQ(content, qor::ReadFile(kFile));
    }
}

TEST_F(ReadFileTest, GivesNothingForWhatCannotBeRead)
{
    MakeDirs("/opt/directory");
    WriteFile("/opt/secret", "a");
    ASSERT_EQ(0, ::chmod("/opt/secret", 0));

    const WithoutPrivileges ordinary;
    for (const char* path : {"/opt/absent", "/opt/directory", "/opt/secret", "/opt/secret/a", ""}) {
        SCOPED_TRACE(path);
        EXPECT_EQ("", qor::ReadFile(path));
    }
}

TEST_F(ReadFileTest, ReadsAFileWhoseSizeTheSystemDoesNotReport)
{
    struct stat status;
    ASSERT_EQ(0, ::stat("/proc/self/maps", &status));
    ASSERT_EQ(0, status.st_size);

    EXPECT_NE(std::string::npos, qor::ReadFile("/proc/self/maps").find("[stack]"));
}

TEST_F(ReadFileTest, GoesOnWhenASignalInterruptsIt)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    EXPECT_EQ(0, ReadInterrupted(kFile, [] {
                  EXPECT_EQ("text", qor::ReadFile(kFile));
                  return 0;
              }));
}

TEST_F(ReadFileTest, GoesOnOpeningAfterASignal)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    ASSERT_EQ(0, ::mkfifo(kFile, 0600));
    ChildProcess reader([] {
        CatchInterrupts();
        EXPECT_EQ("text", qor::ReadFile(kFile));
        return 0;
    });

    EXPECT_TRUE(InterruptIn(reader, SYS_openat));

    OwnedFd fifo(::open(kFile, O_RDWR | O_CLOEXEC));
    ASSERT_EQ(4, ::write(fifo.get(), "text", 4));
    EXPECT_TRUE(WaitUntil([&] {
        int left = 1;
        return ::ioctl(fifo.get(), FIONREAD, &left) == 0 && left == 0;
    }));
    fifo.Reset();
    EXPECT_EQ(0, reader.Wait());
}

TEST_F(ReadFileTest, GoesOnFromThePositionOfAnOpenFile)
{
    WriteFile(kFile, "text");
    const UniqueFd file = OpenForReading(kFile);
    ASSERT_EQ(2, ::lseek(file.get(), 2, SEEK_SET));

    EXPECT_EQ("xt", ReadRest(file.get()));
    EXPECT_EQ("", ReadRest(file.get()));
    EXPECT_EQ("", ReadRest(-1));
}

using OpenRegularTest = PrivateDiskTest;

TEST_F(OpenRegularTest, RefusesWhatIsNoRegularFile)
{
    WriteFile("/opt/other", "other");
    static const struct {
        const char* kind;
        bool (*make)();
        mode_t type;  // what is opened; 0: open(2) itself fails
        int error;
    } cases[] = {
        {"file", [] { return WriteFile(kFile, "text"), true; }, S_IFREG, 0},
        {"link", [] { return ::symlink("/opt/other", kFile) == 0; }, 0, ELOOP},
        {"FIFO", [] { return ::mkfifo(kFile, 0644) == 0; }, S_IFIFO, 0},
        {"directory", [] { return ::mkdir(kFile, 0755) == 0; }, S_IFDIR, 0},
        {"nothing", [] { return true; }, 0, ENOENT},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        RemoveTree(kFile);
        ASSERT_TRUE(c.make());
        EXPECT_EQ(c.type == S_IFREG, IsRegularFile(kFile));

        struct stat status;
        errno = 0;
        EXPECT_EQ(c.type == S_IFREG,
                  static_cast<bool>(OpenRegular(kFile, O_RDONLY | O_NONBLOCK, status)));
        EXPECT_EQ(c.error, errno);
        EXPECT_EQ(c.type, status.st_mode & S_IFMT);
    }
}

TEST_F(OpenRegularTest, OpensWithTheFlagsOfTheCaller)
{
    struct stat status;
    for (const int flags : {O_RDWR, O_WRONLY | O_APPEND | O_NONBLOCK}) {
        const UniqueFd file = OpenRegular(kFile, flags | O_CREAT, status, 0640);
        EXPECT_EQ(flags, ::fcntl(file.get(), F_GETFL) & (O_ACCMODE | O_APPEND | O_NONBLOCK));
        EXPECT_EQ(FD_CLOEXEC, ::fcntl(file.get(), F_GETFD));
    }
    EXPECT_EQ(mode_t{0640}, FileMode(kFile));
}

using WriteAllTest = PrivateDiskTest;

TEST_F(WriteAllTest, WritesEveryByte)
{
    for (const std::size_t size : {0U, 1U, 100000U}) {
        SCOPED_TRACE(size);
        const std::string text(size, 'x');
        OwnedFd file(::open(kFile, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        EXPECT_TRUE(WriteAll(file.get(), text));
        EXPECT_EQ(text, ReadFile(kFile));
    }
}

// A pipe that takes no more than it has room for.
TEST_F(WriteAllTest, GoesOnAfterAPartUntilAWriteFails)
{
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    const OwnedFd output(ends[0]);
    OwnedFd input(ends[1]);
    const auto room = static_cast<std::size_t>(::fcntl(input.get(), F_GETPIPE_SZ));

    EXPECT_FALSE(WriteAll(input.get(), std::string(room, 'a') + "b"));
    EXPECT_EQ(EAGAIN, errno);

    input.Reset();
    EXPECT_EQ(std::string(room, 'a'), ReadToEnd(output.get()));
}

using CopyContentTest = PrivateDiskTest;

TEST_F(CopyContentTest, CopiesFromThePositionToTheEnd)
{
    std::string text;
    for (int i = 0; text.size() < 100000; ++i)
        text += std::to_string(i) + " ";
    WriteFile(kFile, text);
    for (const std::size_t begin : {std::size_t{0}, std::size_t{1}, text.size() - 1, text.size()}) {
        SCOPED_TRACE(begin);
        const UniqueFd from = OpenForReading(kFile);
        ASSERT_LE(0, ::lseek(from.get(), static_cast<off_t>(begin), SEEK_SET));
        const OwnedFd to(::open("/opt/copy", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));

        EXPECT_EQ(static_cast<long>(text.size() - begin), CopyContent(from.get(), to.get()));
        EXPECT_EQ(text.substr(begin), ReadFile("/opt/copy"));
    }
}

TEST_F(CopyContentTest, FailsWhenReadingOrWritingFails)
{
    WriteFile(kFile, "text");
    const UniqueFd file = OpenForReading(kFile);
    const UniqueFd directory = OpenForReading("/opt");
    const OwnedFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));

    EXPECT_EQ(-1, CopyContent(directory.get(), full.get()));
    EXPECT_EQ(EISDIR, errno);
    EXPECT_EQ(-1, CopyContent(file.get(), full.get()));
    EXPECT_EQ(ENOSPC, errno);
}

}  // namespace
}  // namespace qor::test
