#include "support/PrivateDiskTest.h"

#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include "support/Files.h"

namespace qor::test {
namespace {

// Each thread has a list of its own, proc(5).
std::vector<pid_t> Children()
{
    std::vector<pid_t> children;
    for (const std::string& thread : ListDir("/proc/self/task")) {
        std::ifstream list("/proc/self/task/" + thread + "/children");
        for (pid_t pid = 0; list >> pid;)
            children.push_back(pid);
    }
    return children;
}

bool HasChildren()
{
    siginfo_t info = {};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::string Describe(pid_t pid)
{
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(pid) + "/comm"), name);
    return std::to_string(pid) + " (" + name + ") ";
}

// Two rounds of looking are not needed: a child's own children are init's when it ends.
void EndChildren()
{
    if (!HasChildren())
        return;

    std::string names;
    for (const pid_t pid : Children()) {
        names += Describe(pid);
        (void)::kill(pid, SIGKILL);        // it may have ended by itself
        (void)::waitpid(pid, nullptr, 0);  // and is ours in either case
    }
    ADD_FAILURE() << "The test left children: " << names;
}

}  // namespace

PrivateDiskTest::PrivateDiskTest()
{
    EmptyDirectory("/opt");
    EmptyDirectory("/var/tmp");
    RemoveTree("/dev/log");
    ::closelog();
    descriptors_ = OpenDescriptors();
}

PrivateDiskTest::~PrivateDiskTest()
{
    try {
        EndChildren();
        EXPECT_EQ("", DescriptorChanges(descriptors_, OpenDescriptors()))
            << "The test left other descriptors than it found.";
    } catch (const std::exception& failure) {
        ADD_FAILURE() << failure.what();
    }
}

}  // namespace qor::test
