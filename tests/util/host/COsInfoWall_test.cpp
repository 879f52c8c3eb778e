// COsInfo's messages to logged-in users.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "COsInfo.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/HostTest.h"
#include "support/Interrupts.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/ScopedEnv.h"
#include "support/SmallDisk.h"
#include "support/Text.h"

namespace qor::test {
namespace {

constexpr char kWall[] = "/usr/bin/wall";

// Keeps what it is called with: its process, the number of arguments and the first one.
constexpr char kNoteCall[] =
    "echo $$ > /opt/pid\n"
    "echo $# > /opt/count\n"
    "printf %s \"$1\" > /opt/message";

// A terminal with a user logged in, in a /dev/pts and a /run of the test's own.
class LoggedInUser
{
public:
    LoggedInUser() : run_("/run", 65536)
    {
        if (::mount("devpts", "/dev/pts", "devpts", 0, "newinstance,ptmxmode=0666") != 0)
            ThrowErrno("mount /dev/pts");
        // Raw mode is not needed: line feeds come back as "\r\n".
        terminal_ = std::make_unique<OwnedFd>(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
        if (::grantpt(terminal_->get()) != 0 || ::unlockpt(terminal_->get()) != 0)
            ThrowErrno("posix_openpt");
        user_ = std::make_unique<OwnedFd>(
            ::open(::ptsname(terminal_->get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
        LogIn(::ptsname(terminal_->get()));
    }
    LoggedInUser(const LoggedInUser&) = delete;
    LoggedInUser& operator=(const LoggedInUser&) = delete;
    ~LoggedInUser()
    {
        user_.reset();
        terminal_.reset();
        (void)::umount2("/dev/pts", MNT_DETACH);  // the namespace ends with the program
    }

    // All that stands on the terminal up to now; waits for its first bytes.
    std::string Screen() const
    {
        std::string text;
        pollfd ready = {terminal_->get(), POLLIN, 0};
        for (int limit = 30000; ::poll(&ready, 1, limit) > 0; limit = 0) {
            char buffer[4096];
            const ssize_t count = ::read(terminal_->get(), buffer, sizeof buffer);
            if (count <= 0)
                break;
            text.append(buffer, static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    // An entry as login(1) makes it, utmp(5).
    static void LogIn(const std::string& terminal)
    {
        utmp entry = {};
        entry.ut_type = USER_PROCESS;
        entry.ut_pid = ::getpid();
        const std::string line = terminal.substr(std::strlen("/dev/"));
        line.copy(entry.ut_line, sizeof entry.ut_line);
        std::string("root").copy(entry.ut_user, sizeof entry.ut_user);
        WriteFile("/run/utmp", std::string(reinterpret_cast<const char*>(&entry), sizeof entry));
    }

    SmallDisk run_;
    std::unique_ptr<OwnedFd> terminal_;
    std::unique_ptr<OwnedFd> user_;
};

class COsInfoWallTest : public HostTest
{
protected:
    COsInfo host_;
};

TEST_F(COsInfoWallTest, ShowsTheMessageOnATerminal)
{
    // In an emulator wall(1) is the host's, for which utmp(5) holds numbers in another byte order.
    QOR_SKIP_WITHOUT_OWN_CALLS();
    const LoggedInUser user;

    EXPECT_GT(host_.wall("The server restarts in 5 minutes."), 0);

    const std::string screen = user.Screen();
    EXPECT_NE(std::string::npos, screen.find("\r\nThe server restarts in 5 minutes.\r")) << screen;
}

TEST_F(COsInfoWallTest, ReturnsTheChildThatRanTheCommand)
{
    const StubCommand wall(kWall, kNoteCall);

    const int child = host_.wall("message");

    EXPECT_EQ(std::to_string(child) + "\n", ReadFile("/opt/pid"));
    EXPECT_EQ(-1, ::waitpid(child, nullptr, 0));
    EXPECT_EQ(ECHILD, errno) << "The child has been waited for.";
}

TEST_F(COsInfoWallTest, PassesTheMessageAsTheOneArgument)
{
    const StubCommand wall(kWall, kNoteCall);
    for (const std::string& message :
         Strings{"plain", "", "two words", "a\nb\n", "$HOME `id` \"'\\ *", "%s %n", "-n",
                 "; touch /opt/ran", "\xe4\x80\xff", std::string(100000, 'x')}) {
        SCOPED_TRACE(message.substr(0, 20));
        EXPECT_GT(host_.wall(message), 0);
        EXPECT_EQ(message, ReadFile("/opt/message"));
        EXPECT_EQ("1\n", ReadFile("/opt/count"));
    }
    EXPECT_FALSE(Exists("/opt/ran"));
}

// A copy of another program, which reports its name and the message as a file.
TEST_F(COsInfoWallTest, CallsTheCommandWall)
{
    const ReplacedFile wall(kWall, ReadFile("/usr/bin/cat"), 0755);
    const ScopedEnv english("LC_ALL", "C");

    const std::string errors = CaptureStderr([this] { EXPECT_GT(host_.wall("/opt/absent"), 0); });

    EXPECT_EQ("wall: /opt/absent: No such file or directory\n", errors);
}

TEST_F(COsInfoWallTest, LooksInNoOtherDirectory)
{
    const ReplacedFile wall(kWall);
    WriteFile("/opt/bin/wall", "#!/bin/sh\n: > /opt/ran\n");
    ASSERT_EQ(0, ::chmod("/opt/bin/wall", 0755));
    const ScopedEnv path("PATH", "/opt/bin");
    const pid_t caller = ::getpid();

    (void)host_.wall("message");

    if (::getpid() != caller)
        ::_exit(0);
    EXPECT_FALSE(Exists("/opt/ran"));
}

TEST_F(COsInfoWallTest, IgnoresHowTheCommandEnds)
{
    const StubCommand failing(kWall, "exit 3");
    EXPECT_GT(host_.wall("message"), 0);

    const StubCommand killed(kWall, "kill -KILL $$");
    EXPECT_GT(host_.wall("message"), 0);
}

TEST_F(COsInfoWallTest, ReturnsInTheChildTooWhenTheCommandCannotRun)
{
    for (const bool present : {false, true}) {
        SCOPED_TRACE(present);
        const ReplacedFile wall(kWall);
        if (present)
            WriteFile(kWall, "not executable");
        const pid_t caller = ::getpid();

        const int result = host_.wall("message");

        if (::getpid() != caller) {
            WriteFile("/opt/child", std::to_string(::getpid()) + " " + std::to_string(result));
            ::_exit(0);
        }
        EXPECT_EQ(std::to_string(result) + " -1", ReadFile("/opt/child"));
    }
}

TEST_F(COsInfoWallTest, TakesAnyChildThatEndsFirst)
{
    const ReplacedFile gate("/opt/gate");
    ASSERT_EQ(0, ::mkfifo("/opt/gate", 0600));
    const StubCommand wall(kWall, "read line < /opt/gate");
    const pid_t earlier = ::fork();
    if (earlier == 0)
        ::_exit(0);

    EXPECT_EQ(earlier, host_.wall("message"));

    WriteFile("/opt/gate", "\n");
    EXPECT_GT(::wait(nullptr), 0) << "The command's process is still to be waited for.";
}

TEST_F(COsInfoWallTest, CannotReportTheChildWhereSigchldIsIgnored)
{
    const StubCommand wall(kWall, kNoteCall);
    EXPECT_EQ(0, InChildThatIgnoresSigchld([this] {
                  EXPECT_EQ(-1, host_.wall("message"));
                  EXPECT_EQ(ECHILD, errno);
                  return 0;
              }));
    EXPECT_EQ("message", ReadFile("/opt/message"));
}

TEST_F(COsInfoWallTest, FailsWhenNoProcessCanBeStarted)
{
    const StubCommand wall(kWall, "touch /opt/ran");
    EXPECT_EQ(0, InChildWithoutProcesses([this] {
                  EXPECT_EQ(-1, host_.wall("message"));
                  EXPECT_EQ(EAGAIN, errno);
                  return 0;
              }));
    EXPECT_FALSE(Exists("/opt/ran"));
}

TEST_F(COsInfoWallTest, WritesNoTrace)
{
    const StubCommand wall(kWall, "exit 1");
    EXPECT_GT(host_.wall("message"), 0);
    EXPECT_EQ(Strings(), ListDir("/opt/velmora/qor/log"));
}

}  // namespace
}  // namespace qor::test
