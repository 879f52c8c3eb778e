#include "transfer/CountedSleep.h"

#include <ctime>
#include <utility>

namespace qor::test {
namespace {

CountedSleep* current = nullptr;

constexpr useconds_t kPerSecond = 1000000;

}  // namespace

CountedSleep::CountedSleep(std::function<void()> during) : during_(std::move(during))
{
    current = this;
}

CountedSleep::~CountedSleep()
{
    current = nullptr;
}

void CountedSleep::Sleep(useconds_t microseconds)
{
    sleeps_.push_back(microseconds);
    if (during_)
        during_();
}

}  // namespace qor::test

extern "C" int usleep(useconds_t microseconds)
{
    using namespace qor::test;
    if (current != nullptr) {
        current->Sleep(microseconds);
        return 0;
    }
    const timespec span = {static_cast<std::time_t>(microseconds / kPerSecond),
                           static_cast<long>(microseconds % kPerSecond) * 1000};
    return ::nanosleep(&span, nullptr);
}
