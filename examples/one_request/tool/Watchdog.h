// Watchdog.h - ends a wait that has no end of its own.
//
//     const Watchdog watchdog(std::chrono::seconds(120), [] { std::_Exit(4); });
//     channel.RecvMessage(buffer, size, 0);    // without limit once the service has the request
#ifndef ONE_REQUEST_TOOL_WATCHDOG_H
#define ONE_REQUEST_TOOL_WATCHDOG_H

#include <chrono>
#include <functional>
#include <future>
#include <utility>

namespace one_request {

class Watchdog
{
public:
    /// After `limit`, unless it is destroyed before, `bark` runs once, on a thread of the watchdog.
    /// It must not throw.
    Watchdog(std::chrono::seconds limit, std::function<void()> bark)
        : watch_(std::async(std::launch::async, [this, limit, bark = std::move(bark)] {
              if (calledOff_.get_future().wait_for(limit) == std::future_status::timeout)
                  bark();
          }))
    {
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Waits for a `bark` that has begun.
    ~Watchdog() { calledOff_.set_value(); }

private:
    std::promise<void> calledOff_;
    std::future<void> watch_;  // last: its destructor waits for the thread, which uses the other
};

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_WATCHDOG_H
