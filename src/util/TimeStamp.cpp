#include "util/TimeStamp.h"

#include <cstdio>

namespace qor {

std::string FormatTimeStamp(const timeval& time)
{
    char text[48];  // two 20-digit numbers at the most
    const int length =
        std::snprintf(text, sizeof text, "%14.14lu%6.6lu", static_cast<unsigned long>(time.tv_sec),
                      static_cast<unsigned long>(time.tv_usec));
    return std::string(text, static_cast<std::size_t>(length));
}

timeval Now()
{
    timeval now{};
    (void)::gettimeofday(&now, nullptr);  // fails for a bad pointer only
    return now;
}

}  // namespace qor
