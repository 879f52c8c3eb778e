// ThreadId.h - the kernel's id of the calling thread, asked for once per thread.
#ifndef QOR_BASE_THREADID_H
#define QOR_BASE_THREADID_H

#include <sys/types.h>

namespace qor {

// gettid(2); right again in the child of a fork(2).
pid_t ThreadId();

}  // namespace qor

#endif  // QOR_BASE_THREADID_H
