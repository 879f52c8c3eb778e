// WithoutPrivileges.h - permission bits that count, although the tests run as root.
//
//     WriteFile(kFile, "a");
//     ::chmod(kFile, 0);
//     const WithoutPrivileges ordinary;
//     EXPECT_EQ(-1, ::open(kFile, O_RDONLY));     // EACCES
#ifndef QOR_TEST_WITHOUTPRIVILEGES_H
#define QOR_TEST_WITHOUTPRIVILEGES_H

#include <cstdint>

namespace qor::test {

// The calling thread goes without its capabilities (capabilities(7)) for the object's life, and
// so do forked children; a program started by execve(2) has them again. The user stays the
// owner of his files: take away the owner's bits.
class WithoutPrivileges
{
public:
    WithoutPrivileges();
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
    ~WithoutPrivileges();

private:
    std::uint64_t effective_ = 0;
};

}  // namespace qor::test

#endif  // QOR_TEST_WITHOUTPRIVILEGES_H
