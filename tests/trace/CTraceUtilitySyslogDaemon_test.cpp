// A real syslog daemon at the private /dev/log writes down what the library sends.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <string>

#include "support/Descriptors.h"
#include "support/Processes.h"
#include "support/WaitUntil.h"
#include "trace/TraceTest.h"

namespace qor::test {
namespace {

const char kDaemon[] = "/usr/sbin/rsyslogd";
const char kConfiguration[] = "/var/tmp/rsyslog.conf";
const char kMessages[] = "/var/tmp/messages";

class CTraceUtilitySyslogDaemonTest : public TraceTest
{
protected:
    CTraceUtilitySyslogDaemonTest()
    {
        SetCatalogue(
            "[FAILED]\nFormatEng=Update failed (%d), 50%%%%\nType=fail\nRead=0x00000004\nEvent=1\n"
            "[DONE]\nFormatEng=Update done\nType=info\nRead=0x00000001\nEvent=1\n");
        WriteFile(kConfiguration,
                  "module(load=\"imuxsock\" SysSock.Use=\"off\")\n"
                  "input(type=\"imuxsock\" Socket=\"/dev/log\")\n"
                  "template(name=\"line\" type=\"string\" "
                  "string=\"%syslogfacility-text%.%syslogseverity-text%|%rawmsg%\\n\")\n"
                  "*.* action(type=\"omfile\" file=\"" +
                      std::string(kMessages) + "\" template=\"line\")\n");
    }

    // Never returns.
    static int RunDaemon()
    {
        (void)::execl(kDaemon, kDaemon, "-n", "-f", kConfiguration, "-i", "/var/tmp/rsyslogd.pid",
                      nullptr);  // returns on failure only
        return 127;
    }

    static bool Listens()
    {
        const OwnedFd fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/dev/log");
        return ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
               0;
    }

    // The lines of this process, without what rsyslogd says of itself.
    static Strings OwnLines()
    {
        const std::string sender = "update manager[" + std::to_string(::getpid()) + "]: ";
        Strings own;
        for (const std::string& line : Lines(Exists(kMessages) ? ReadFile(kMessages) : "")) {
            const std::size_t begin = line.find(sender);
            if (begin != std::string::npos)
                own.push_back(line.substr(0, line.find('|') + 1) + line.substr(begin));
        }
        return own;
    }
};

TEST_F(CTraceUtilitySyslogDaemonTest, WritesDownTheEventsOfTheLibrary)
{
    ASSERT_TRUE(Exists(kDaemon))
        << "This test needs the rsyslog package, which scripts/install-deps.sh installs.";
    ChildProcess daemon(&RunDaemon);
    ASSERT_TRUE(WaitUntil([&] { return Listens() || !daemon.Running(); }));
    ASSERT_TRUE(daemon.Running()) << "rsyslogd ended with status " << daemon.Wait();

    CTraceUtility::WriteTrace("um", "FAILED", 5);
    CTraceUtility::WriteTrace("um", "DONE");
    EXPECT_TRUE(WaitUntil([] { return OwnLines().size() >= 2; }));

    daemon.Kill(SIGTERM);
    EXPECT_EQ(0, daemon.Wait());
    const std::string sender = "update manager[" + std::to_string(::getpid()) + "]: ";
    EXPECT_EQ((Strings{"user.err|" + sender + "fail    Update failed (5), 50%",
                       "user.info|" + sender + "info    Update done"}),
              OwnLines());
    EXPECT_EQ(2U, Lines(OperationLog()).size());
}

}  // namespace
}  // namespace qor::test
