// PrivateDiskTest.h - the fixture that everything which touches the disk derives from.
//
// It begins with an empty /opt and /var/tmp, no /dev/log and no connection to one, and at its
// end reports descriptors that were opened or closed, and children that were left behind: these
// are killed and waited for.
//
// Both happen in the constructor and the destructor, so that members of a derived fixture
// (a SyslogSocket, a StubCommand, the object under test) may be plain members: they are made
// after the clean-up and gone before the check. ctest runs each case in a process of its own;
// in a run of a whole program, files that a case left elsewhere (/etc, /tmp, /usr/bin,
// /usr/sbin) are still there for the next: name them in a ReplacedFile.
#ifndef QOR_TEST_PRIVATEDISKTEST_H
#define QOR_TEST_PRIVATEDISKTEST_H

#include <gtest/gtest.h>

#include "support/Descriptors.h"

namespace qor::test {

class PrivateDiskTest : public testing::Test
{
public:
    ~PrivateDiskTest() override;

protected:
    PrivateDiskTest();

private:
    DescriptorMap descriptors_;
};

}  // namespace qor::test

#endif  // QOR_TEST_PRIVATEDISKTEST_H
