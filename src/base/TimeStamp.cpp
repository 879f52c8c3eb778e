#include "base/TimeStamp.h"

namespace qor {

namespace {

// Writes before `end` what printf(3) makes of "%W.Wlu", in a fraction of its time. Returns where it
// begins.
char* PutPadded(char* end, unsigned long number, int width)
{
    for (; number != 0 || width > 0; number /= 10, --width)
        *--end = static_cast<char>('0' + number % 10);
    return end;
}

}  // namespace

TimeStamp::TimeStamp(const timeval& time)
{
    char* const end = text_ + sizeof text_ - 1;
    *end = '\0';
    char* const microseconds = PutPadded(end, static_cast<unsigned long>(time.tv_usec), 6);
    begin_ = PutPadded(microseconds, static_cast<unsigned long>(time.tv_sec), 14);
}

std::string FormatTimeStamp(const timeval& time)
{
    return TimeStamp(time).c_str();
}

timeval Now()
{
    timeval now{};
    (void)::gettimeofday(&now, nullptr);  // fails for a bad pointer only
    return now;
}

}  // namespace qor
