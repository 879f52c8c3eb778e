#include "service/StopSignal.h"

#include <cerrno>
#include <ctime>
#include <system_error>

namespace one_request {
namespace {

timespec ToTimespec(std::chrono::microseconds span)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(span);
    timespec result;
    result.tv_sec = static_cast<time_t>(seconds.count());
    result.tv_nsec = static_cast<long>(std::chrono::nanoseconds(span - seconds).count());
    return result;
}

}  // namespace

StopSignal::StopSignal()
{
    // Only an invalid signal number makes these three fail.
    (void)::sigemptyset(&signals_);
    (void)::sigaddset(&signals_, SIGTERM);
    (void)::sigaddset(&signals_, SIGINT);
    if (::sigprocmask(SIG_BLOCK, &signals_, nullptr) != 0)
        throw std::system_error(errno, std::generic_category(), "sigprocmask");
}

bool StopSignal::Wait(std::chrono::microseconds limit)
{
    const timespec timeout = ToTimespec(limit);
    // -1: the time is over, or another signal was handled.
    if (!came_ && ::sigtimedwait(&signals_, nullptr, &timeout) > 0)
        came_ = true;
    return came_;
}

}  // namespace one_request
