// StopSignal.h - SIGTERM and SIGINT as something to wait for.
//
//     StopSignal stop;
//     do Work(); while (!stop.Wait(microseconds));
//
// The signals are blocked from construction on, so they never cut work short: they are noticed
// where Wait is called (sigtimedwait(2)), also when they came long before. For single-threaded
// programs; make it before anything that may start a thread.
#ifndef ONE_REQUEST_SERVICE_STOPSIGNAL_H
#define ONE_REQUEST_SERVICE_STOPSIGNAL_H

#include <signal.h>

#include <chrono>

namespace one_request {

class StopSignal
{
public:
    /// Throws std::system_error.
    StopSignal();

    /// Waits until a signal comes, for `limit` at most. True once one has come, at once and for
    /// ever after.
    bool Wait(std::chrono::microseconds limit);

private:
    sigset_t signals_;
    bool came_ = false;
};

}  // namespace one_request

#endif  // ONE_REQUEST_SERVICE_STOPSIGNAL_H
