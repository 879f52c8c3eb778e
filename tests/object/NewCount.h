// NewCount.h - how often the test program has called operator new.
#ifndef QOR_TEST_OBJECT_NEWCOUNT_H
#define QOR_TEST_OBJECT_NEWCOUNT_H

namespace qor::test {

// Since the program's start, by all threads.
long NewCount();

}  // namespace qor::test

#endif  // QOR_TEST_OBJECT_NEWCOUNT_H
