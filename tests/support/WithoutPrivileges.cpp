#include "support/WithoutPrivileges.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/Descriptors.h"

namespace qor::test {
namespace {

// The C library has no functions for it; version 3 holds 64 bits in two halves, capget(2).
struct Capabilities {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct halves[2] = {};

    bool Get() { return ::syscall(SYS_capget, &header, halves) == 0; }
    bool Set() { return ::syscall(SYS_capset, &header, halves) == 0; }
};

// Puts `effective` in force and returns what was.
std::uint64_t Exchange(std::uint64_t effective)
{
    Capabilities capabilities;
    if (!capabilities.Get())
        ThrowErrno("capget");

    const std::uint64_t former =
        capabilities.halves[0].effective | std::uint64_t{capabilities.halves[1].effective} << 32;
    capabilities.halves[0].effective = static_cast<std::uint32_t>(effective);
    capabilities.halves[1].effective = static_cast<std::uint32_t>(effective >> 32);
    if (!capabilities.Set())
        ThrowErrno("capset");
    return former;
}

}  // namespace

WithoutPrivileges::WithoutPrivileges() : effective_(Exchange(0)) {}

WithoutPrivileges::~WithoutPrivileges()
{
    try {
        (void)Exchange(effective_);  // returns the empty set of the meantime
    } catch (const std::exception& failure) {
        ADD_FAILURE() << failure.what();
    }
}

}  // namespace qor::test
