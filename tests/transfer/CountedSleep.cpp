#include "transfer/CountedSleep.h"

#include <dlfcn.h>

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

extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* span, timespec* left)
{
    using namespace qor::test;
    if (current != nullptr && flags == 0) {
        current->Sleep(static_cast<useconds_t>(span->tv_sec) * kPerSecond +
                       static_cast<useconds_t>(span->tv_nsec / 1000));
        return 0;
    }
    using Function = int (*)(clockid_t, int, const timespec*, timespec*);
    static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "clock_nanosleep"));
    return next(clock, flags, span, left);
}
