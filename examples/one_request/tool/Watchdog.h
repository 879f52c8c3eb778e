// Watchdog.h - ends a wait that has no end of its own.
//
//     const Watchdog watchdog(std::chrono::seconds(120), [] { std::_Exit(4); });
//     channel.RecvMessage(buffer, size, 0);    // without limit once the service has the request
#ifndef ONE_REQUEST_TOOL_WATCHDOG_H
#define ONE_REQUEST_TOOL_WATCHDOG_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace one_request {

class Watchdog
{
public:
    /// After `limit`, unless it is destroyed before, `bark` runs once, on a thread of the watchdog.
    /// It must not throw.
    Watchdog(std::chrono::seconds limit, std::function<void()> bark);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Waits for a `bark` that has begun.
    ~Watchdog();

private:
    void Watch(std::chrono::seconds limit);

    std::function<void()> bark_;
    std::mutex mutex_;
    std::condition_variable calledOff_;
    bool off_ = false;
    std::thread thread_;  // last: it uses the others
};

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_WATCHDOG_H
