#include "support/HostTest.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/Processes.h"
#include "support/TestPaths.h"

namespace qor::test {
namespace {

constexpr uid_t kNobody = 65534;

void ForbidProcesses()
{
    // An ordinary user's name space knows him alone (EINVAL), and he is limited as he is.
    if (::setresuid(kNobody, kNobody, kNobody) != 0 && errno != EINVAL)
        ThrowErrno("setresuid");

    const rlimit none = {0, 0};
    if (::setrlimit(RLIMIT_NPROC, &none) != 0)
        ThrowErrno("setrlimit");
    const pid_t pid = ::fork();
    if (pid == 0)
        ::_exit(0);
    ASSERT_EQ(-1, pid) << "The limit has no effect.";
}

}  // namespace

HostTest::HostTest()
{
    MakeLogDirectory();
    MakeDirs(kEtcDir);
}

void HostTest::TearDown()
{
    for (const std::string& name : ListDir(kScratchDir))
        EXPECT_NE(0U, name.rfind("qortmp", 0)) << "The test left " << name << ".";
}

std::string HostTest::ScratchName(const std::string& stamp)
{
    return "/var/tmp/qortmp" + stamp;
}

std::string HostTest::DataPath(const std::string& name)
{
    return SourcePath("tests/util/host/data/" + name);
}

int InChildThatIgnoresSigchld(const std::function<int()>& function)
{
    return InChild([&] {
        (void)std::signal(SIGCHLD, SIG_IGN);  // fails for unknown signals only
        return function();
    });
}

int InChildWithoutProcesses(const std::function<int()>& function)
{
    return InChild([&] {
        ForbidProcesses();
        return testing::Test::HasFatalFailure() ? kExpectationFailed : function();
    });
}

}  // namespace qor::test
