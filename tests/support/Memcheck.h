// Memcheck.h - for cases that cannot run under valgrind's memcheck, or gain nothing there.
//
//     TEST_F(XmlTest, WalksADocumentOfTenMebibytes)
//     {
//         QOR_SKIP_UNDER_MEMCHECK("small documents take the same paths");
#ifndef QOR_TEST_MEMCHECK_H
#define QOR_TEST_MEMCHECK_H

#include <gtest/gtest.h>

#include <cstdlib>

// To stand first in a case. scripts/valgrind.sh sets the variable.
#define QOR_SKIP_UNDER_MEMCHECK(reason)                    \
    if (std::getenv("QOR_TEST_UNDER_MEMCHECK") != nullptr) \
    GTEST_SKIP() << (reason)

#endif  // QOR_TEST_MEMCHECK_H
