// ThreadId.h - the kernel's id of the calling thread, asked for once per thread.
#ifndef QOR_BASE_THREADID_H
#define QOR_BASE_THREADID_H

#include <sys/types.h>

namespace qor {

// gettid(2). Correct in every child process with memory of its own, whichever call made it.
pid_t ThreadId();

}  // namespace qor

#endif  // QOR_BASE_THREADID_H
