#include "base/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string>

#include "support/Files.h"
#include "support/Interrupts.h"
#include "support/PrivateDiskTest.h"
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
    ASSERT_EQ(0, ::mkfifo(kFile, 0600));
    ChildProcess reader([] {
        CatchInterrupts();
        EXPECT_EQ("text", qor::ReadFile(kFile));
        return 0;
    });
    OwnedFd fifo(::open(kFile, O_RDWR | O_CLOEXEC));
    ASSERT_EQ(2, ::write(fifo.get(), "te", 2));

    EXPECT_TRUE(InterruptIn(reader, SYS_read));

    EXPECT_EQ(2, ::write(fifo.get(), "xt", 2));
    fifo.Reset();
    EXPECT_EQ(0, reader.Wait());
}

}  // namespace
}  // namespace qor::test
