#include "base/Handles.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <type_traits>

#include "support/PrivateDiskTest.h"

namespace qor::test {
namespace {

static_assert(!std::is_copy_constructible<UniqueFd>::value, "");
static_assert(!std::is_copy_assignable<UniqueFd>::value, "");
static_assert(std::is_nothrow_move_constructible<UniqueFd>::value, "");
static_assert(!std::is_convertible<UniqueFd, bool>::value, "");

int OpenOne()
{
    return ::open("/etc/passwd", O_RDONLY | O_CLOEXEC);
}

bool IsOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

// The fixture reports what is left open.
using UniqueFdTest = PrivateDiskTest;
using UniqueDirTest = PrivateDiskTest;

TEST_F(UniqueFdTest, IsEmptyToBeginWith)
{
    UniqueFd empty;
    EXPECT_FALSE(empty);
    EXPECT_EQ(-1, empty.get());
    EXPECT_TRUE(empty.Close());
    EXPECT_FALSE(UniqueFd(-1));
}

TEST_F(UniqueFdTest, ClosesItsDescriptor)
{
    int fd = -1;
    {
        const UniqueFd owner(OpenOne());
        fd = owner.get();
        EXPECT_TRUE(owner);
        EXPECT_TRUE(IsOpen(fd));
    }
    EXPECT_FALSE(IsOpen(fd));
}

TEST_F(UniqueFdTest, OwnsTheDescriptorZero)
{
    const OwnedFd saved(::fcntl(0, F_DUPFD_CLOEXEC, 3));
    {
        const UniqueFd zero(0);
        EXPECT_TRUE(zero);
    }
    EXPECT_FALSE(IsOpen(0));
    if (saved.get() >= 0) {
        EXPECT_EQ(0, ::dup2(saved.get(), 0));
    }
}

TEST_F(UniqueFdTest, ClosesOnceOnRequest)
{
    UniqueFd owner(OpenOne());
    const int fd = owner.get();

    EXPECT_TRUE(owner.Close());

    EXPECT_FALSE(IsOpen(fd));
    EXPECT_FALSE(owner);
    EXPECT_TRUE(owner.Close());
}

TEST_F(UniqueFdTest, ReportsAFailedCloseOnce)
{
    UniqueFd owner(OpenOne());
    ASSERT_EQ(0, ::close(owner.get()));

    EXPECT_FALSE(owner.Close());
    EXPECT_EQ(EBADF, errno);

    EXPECT_EQ(-1, owner.get());
    EXPECT_TRUE(owner.Close());
}

TEST_F(UniqueFdTest, GivesItsDescriptorAway)
{
    int fd = -1;
    {
        UniqueFd owner(OpenOne());
        fd = owner.Release();
        EXPECT_FALSE(owner);
        EXPECT_EQ(-1, owner.Release());
    }
    EXPECT_TRUE(IsOpen(fd));
    EXPECT_EQ(0, ::close(fd));
}

TEST_F(UniqueFdTest, MovesIntoANewOwner)
{
    UniqueFd first(OpenOne());
    const int fd = first.get();

    const UniqueFd second(std::move(first));

    EXPECT_EQ(fd, second.get());
    EXPECT_FALSE(first);  // a moved-from owner is empty
}

TEST_F(UniqueFdTest, ClosesTheFormerDescriptorWhenAssigned)
{
    UniqueFd first(OpenOne());
    UniqueFd second(OpenOne());
    const int former = first.get();
    const int fd = second.get();

    first = std::move(second);

    EXPECT_FALSE(IsOpen(former));
    EXPECT_EQ(fd, first.get());
    EXPECT_TRUE(IsOpen(fd));
    EXPECT_FALSE(second);
}

TEST_F(UniqueFdTest, SurvivesBeingAssignedToItself)
{
    UniqueFd owner(OpenOne());
    const int fd = owner.get();
    UniqueFd& same = owner;

    owner = std::move(same);

    EXPECT_EQ(fd, owner.get());
    EXPECT_TRUE(IsOpen(fd));
}

TEST_F(UniqueDirTest, ClosesItsStream)
{
    int fd = -1;
    {
        const UniqueDir stream(::opendir("/opt"));
        ASSERT_TRUE(stream);
        fd = ::dirfd(stream.get());
        EXPECT_TRUE(IsOpen(fd));
    }
    EXPECT_FALSE(IsOpen(fd));
}

TEST_F(UniqueDirTest, IsEmptyForADirectoryThatCannotBeOpened)
{
    const UniqueDir stream(::opendir("/opt/missing"));
    EXPECT_FALSE(stream);
}

}  // namespace
}  // namespace qor::test
