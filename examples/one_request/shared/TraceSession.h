// TraceSession.h - keeps a component's logs open as long as it lives.
#ifndef ONE_REQUEST_SHARED_TRACESESSION_H
#define ONE_REQUEST_SHARED_TRACESESSION_H

#include "CTraceUtility.h"

namespace one_request {

class TraceSession
{
public:
    /// component: a constant text.
    explicit TraceSession(const char* component) : component_(component)
    {
        CTraceUtility::Initialize(component_, CTraceUtility::WRITE_MODE_BOTH);
    }
    TraceSession(const TraceSession&) = delete;
    TraceSession& operator=(const TraceSession&) = delete;
    ~TraceSession() { CTraceUtility::Terminate(component_); }

private:
    const char* component_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_TRACESESSION_H
