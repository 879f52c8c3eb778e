// HostTest.h - the host and its commands, as the tests of their descriptions see them.
#ifndef QOR_TEST_HOSTTEST_H
#define QOR_TEST_HOSTTEST_H

#include <functional>
#include <string>

#include "support/LogFiles.h"
#include "support/PrivateDiskTest.h"

namespace qor::test {

inline constexpr char kEtcDir[] = "/opt/velmora/qor/etc";
inline constexpr char kScratchDir[] = "/var/tmp";

// The name that a scratch file has, as an extended regular expression.
inline constexpr char kScratchPattern[] = "/var/tmp/qortmp[0-9]{20}";

// Lines of a stub command that write to /opt/scratch what it prints to: path, permission bits,
// size in bytes.
inline constexpr char kNoteScratch[] =
    "file=$(readlink /proc/$$/fd/1)\n"
    "stat -c '%n %a %s' \"$file\" >> /opt/scratch\n";

inline constexpr char kScratchNote[] = "/opt/scratch";

// Begins with the directories that an installation brings, the log's and the configuration's.
// Reports scratch files that are left at the end.
class HostTest : public PrivateDiskTest
{
protected:
    HostTest();
    void TearDown() override;

    static std::string ScratchName(const std::string& stamp);

    // A file of tests/util/host/data.
    static std::string DataPath(const std::string& name);
};

// Runs `function` in a child that ignores SIGCHLD: its commands run, but system(3) and wait(2)
// cannot find out how they ended and return -1. Returns the child's status.
int InChildThatIgnoresSigchld(const std::function<int()>& function);

// Runs `function` in a child that can start no process: fork(2) fails with EAGAIN. It is another
// user where the tests run as root, since root is not limited.
int InChildWithoutProcesses(const std::function<int()>& function);

}  // namespace qor::test

#endif  // QOR_TEST_HOSTTEST_H
