#include "support/FrozenTime.h"

#include <utility>

namespace qor::test {
namespace {

FrozenTime* current = nullptr;

timeval RealTime()
{
    timespec now = {};
    (void)::clock_gettime(CLOCK_REALTIME, &now);  // fails for a bad pointer only
    return {now.tv_sec, now.tv_nsec / 1000};
}

}  // namespace

FrozenTime::FrozenTime(std::time_t seconds, suseconds_t microseconds)
    : FrozenTime(std::initializer_list<timeval>{{seconds, microseconds}})
{
}

FrozenTime::FrozenTime(std::initializer_list<timeval> moments)
    : FrozenTime(std::vector<timeval>(moments))
{
}

FrozenTime::FrozenTime(std::vector<timeval> moments) : moments_(std::move(moments))
{
    current = this;
}

FrozenTime::~FrozenTime()
{
    current = nullptr;
}

timeval FrozenTime::Take()
{
    const timeval moment = Moment();
    if (next_ + 1 < moments_.size())
        ++next_;
    return moment;
}

}  // namespace qor::test

extern "C" int gettimeofday(timeval* __restrict out, void* __restrict) noexcept
{
    using namespace qor::test;
    *out = current != nullptr ? current->Take() : RealTime();
    return 0;
}

extern "C" std::time_t time(std::time_t* out) noexcept
{
    using namespace qor::test;
    const timeval now = current != nullptr ? current->Moment() : RealTime();
    if (out != nullptr)
        *out = now.tv_sec;
    return now.tv_sec;
}
