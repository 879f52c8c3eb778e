// CMutexUtil.h - a mutex with Windows-like operations, as the suite uses it.
//
//     CMutexUtil mutex;
//     mutex.Create(1);
//     mutex.Lock(-1);
//     mutex.Unlock();
//
// Threads: shared between threads, after Create. Lock is no cancellation point. Each log writer of
// the library has such a mutex.
#ifndef QOR_CMUTEXUTIL_H
#define QOR_CMUTEXUTIL_H

#include <pthread.h>

#include "QorExport.h"

class QOR_API CMutexUtil
{
public:
    /// Call Create before Lock.
    CMutexUtil();

    CMutexUtil(const CMutexUtil&) = delete;
    CMutexUtil& operator=(const CMutexUtil&) = delete;

    /// Destroys the mutex. No thread may hold it or wait for it.
    virtual ~CMutexUtil();

    /// Initialises the mutex (plain, not recursive). Returns true. The arguments are ignored.
    bool Create(int initialOwner = 0, const char* name = nullptr, int* error = nullptr);

    /// Locks. Returns 0 or an error number (pthread_mutex_lock(3)).
    ///
    /// Intended: only -1 waits. Any other `timeout` is an absolute time in whole seconds since the
    /// epoch: Lock(5) on a held mutex returns ETIMEDOUT at once. To wait for five seconds, pass
    /// time(nullptr) + 5.
    int Lock(int timeout);

    /// Unlocks.
    ///
    /// Intended: does nothing unless the last Lock, by whichever thread, returned 0. After another
    /// thread's Lock has timed out, the owner's Unlock does nothing and the mutex stays locked: use
    /// timed locks only where one thread at a time locks.
    void Unlock();

private:
    int lastResult_;  // of Lock
    pthread_mutex_t mutex_;
};

#endif  // QOR_CMUTEXUTIL_H
