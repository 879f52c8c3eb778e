#include "CMutexUtil.h"

#include <ctime>

CMutexUtil::CMutexUtil() : lastResult_(-1), mutex_(PTHREAD_MUTEX_INITIALIZER) {}

CMutexUtil::~CMutexUtil()
{
    (void)::pthread_mutex_destroy(&mutex_);  // EBUSY, still held: a destructor cannot report
}

bool CMutexUtil::Create(int, const char*, int*)
{
    (void)::pthread_mutex_init(&mutex_, nullptr);  // always 0 on Linux
    return true;
}

int CMutexUtil::Lock(int timeout)
{
    int result;
    if (timeout == -1) {
        result = ::pthread_mutex_lock(&mutex_);
    } else {
        // Intended: see the header.
        const timespec deadline = {timeout, 0};
        result = ::pthread_mutex_timedlock(&mutex_, &deadline);
    }
    // Atomic: without the mutex, a Lock that timed out is not ordered with the holder's Unlock.
    __atomic_store_n(&lastResult_, result, __ATOMIC_RELAXED);
    return result;
}

void CMutexUtil::Unlock()
{
    if (__atomic_load_n(&lastResult_, __ATOMIC_RELAXED) == 0)
        (void)::pthread_mutex_unlock(&mutex_);  // a plain mutex: always 0
}
