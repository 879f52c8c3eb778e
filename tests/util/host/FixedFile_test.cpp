#include "util/host/FixedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "support/Files.h"
#include "support/PrivateDiskTest.h"

namespace qor::test {
namespace {

constexpr char kPath[] = "/var/tmp/fixed";

using FixedFileTest = PrivateDiskTest;

// A user name space may know one user only.
bool GiveAway(const char* path)
{
    return ::chown(path, 1, 1) == 0 || errno != EINVAL;
}

TEST_F(FixedFileTest, IsRegularWithOneNameAndOfTheCaller)
{
    WriteFile("/opt/other", "other");
    static const struct {
        const char* kind;
        bool (*make)();  // false: not possible here
        bool opens;
    } cases[] = {
        {"file", [] { return WriteFile(kPath, "text"), true; }, true},
        {"link", [] { return ::symlink("/opt/other", kPath) == 0; }, false},
        {"link to nothing", [] { return ::symlink("/opt/absent", kPath) == 0; }, false},
        {"link to a device", [] { return ::symlink("/dev/zero", kPath) == 0; }, false},
        {"FIFO", [] { return ::mkfifo(kPath, 0644) == 0; }, false},
        {"directory", [] { return MakeDirs(kPath), true; }, false},
        {"second name",
         [] { return WriteFile(kPath, "text"), ::link(kPath, "/var/tmp/second") == 0; }, false},
        {"another user's", [] { return WriteFile(kPath, "text"), GiveAway(kPath); }, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        EmptyDirectory("/var/tmp");
        if (!c.make())
            continue;
        EXPECT_EQ(c.opens, static_cast<bool>(OpenFixedFile(kPath, O_RDONLY)));
        EXPECT_EQ(c.opens, static_cast<bool>(OpenFixedFile(kPath, O_RDWR | O_CREAT | O_APPEND)));
        EXPECT_FALSE(Exists("/opt/absent"));
    }
}

TEST_F(FixedFileTest, IsMadeAsAShellMakesIt)
{
    const mode_t mask = ::umask(027);
    const UniqueFd file = OpenFixedFile(kPath, O_RDWR | O_CREAT);
    (void)::umask(mask);

    EXPECT_EQ(FD_CLOEXEC, ::fcntl(file.get(), F_GETFD));
    EXPECT_EQ(mode_t{0640}, FileMode(kPath));
}

}  // namespace
}  // namespace qor::test
