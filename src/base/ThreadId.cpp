#include "base/ThreadId.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qor {

namespace {

thread_local pid_t t_threadId = 0;

// The forking thread is the only one in the child, and has a new id there.
void ForgetThreadId()
{
    t_threadId = 0;
}

}  // namespace

pid_t ThreadId()
{
    static const bool forgetsAtFork = ::pthread_atfork(nullptr, nullptr, ForgetThreadId) == 0;

    if (t_threadId == 0 || !forgetsAtFork)
        t_threadId = static_cast<pid_t>(::syscall(SYS_gettid));
    return t_threadId;
}

}  // namespace qor
