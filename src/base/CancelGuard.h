// CancelGuard.h - keeps a cancellation (pthread_cancel(3)) waiting until an operation is complete.
//
//     const qor::CancelGuard guard;         // from here on read, write, open and close are safe
//     ...
//     {
//         const qor::CancelWindow window(guard);
//         ::usleep(interval);               // may end the thread here, with all destructors run
//     }
//
// Cancellation unwinds the stack as an exception would, which neither `catch (...)` nor a
// destructor may stop: the process would end. With a guard an operation runs to its end, and the
// thread ends at its next cancellation point after it. An operation that waits opens a window
// around its wait, with no noexcept function and no `catch (...)` of ours on the stack.
//
// The thread's cancellation type must be deferred, the default (pthread_setcanceltype(3)).
#ifndef QOR_BASE_CANCELGUARD_H
#define QOR_BASE_CANCELGUARD_H

#include <pthread.h>

namespace qor {

class CancelGuard
{
public:
    CancelGuard() { (void)::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &callers_); }
    // The caller's state, which may be disabled: guards nest.
    ~CancelGuard() { (void)::pthread_setcancelstate(callers_, nullptr); }
    CancelGuard(const CancelGuard&) = delete;
    CancelGuard& operator=(const CancelGuard&) = delete;

private:
    friend class CancelWindow;
    int callers_ = PTHREAD_CANCEL_ENABLE;
};

// Restores the caller's state for a while, inside a guard.
class CancelWindow
{
public:
    explicit CancelWindow(const CancelGuard& guard)
    {
        (void)::pthread_setcancelstate(guard.callers_, nullptr);
    }
    ~CancelWindow() { (void)::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr); }
    CancelWindow(const CancelWindow&) = delete;
    CancelWindow& operator=(const CancelWindow&) = delete;
};

}  // namespace qor

#endif  // QOR_BASE_CANCELGUARD_H
