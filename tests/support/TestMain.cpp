// The main() of every test program: private mounts first, then the tests.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <exception>
#include <iostream>

#include "support/PrivateMounts.h"

namespace {

const char kAdvice[] =
    "The tests write to fixed paths such as /opt and therefore run only in private mounts.\n"
    "Run them as root, or as a user who may create user namespaces:\n"
    "  sysctl user.max_user_namespaces                        must be above 0,\n"
    "  sysctl kernel.unprivileged_userns_clone                1, where it exists,\n"
    "  sysctl kernel.apparmor_restrict_unprivileged_userns    0, where it exists.\n"
    "An ordinary user cannot have them where other file systems are mounted below /etc,\n"
    "/usr/bin or /usr/sbin. The kernel needs overlayfs (Linux 5.11 for an ordinary user). A\n"
    "container has to permit unshare(2) and mount(2).\n";

bool PreparePrivateMounts()
{
    try {
        qor::test::EnterPrivateMounts();
        return true;
    } catch (const std::exception& failure) {
        std::cerr << "Cannot set up private mounts: " << failure.what() << '\n' << kAdvice;
        return false;
    }
}

}  // namespace

#ifndef GTEST_FLAG_GET  // GoogleTest before 1.12
#define GTEST_FLAG_GET(name) testing::GTEST_FLAG(name)
#endif

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);

    // Listing the tests, as the build does, needs no rights.
    if (!GTEST_FLAG_GET(list_tests) && !PreparePrivateMounts())
        return EXIT_FAILURE;

    // Modes that tests expect are those under the usual mask, whatever the caller has set.
    (void)::umask(022);
    return RUN_ALL_TESTS();
}
