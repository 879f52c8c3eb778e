#include "tool/Watchdog.h"

#include <utility>

namespace one_request {

Watchdog::Watchdog(std::chrono::seconds limit, std::function<void()> bark)
    : bark_(std::move(bark)), thread_(&Watchdog::Watch, this, limit)
{
}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        off_ = true;
    }
    calledOff_.notify_one();
    thread_.join();
}

void Watchdog::Watch(std::chrono::seconds limit)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!calledOff_.wait_for(lock, limit, [this] { return off_; }))
        bark_();
}

}  // namespace one_request
