// Sleep.h - sleeping that signals do not shorten.
#ifndef QOR_BASE_SLEEP_H
#define QOR_BASE_SLEEP_H

#include <cerrno>
#include <ctime>

namespace qor {

// Sleeps to the end, whatever signals are handled meanwhile. A cancellation point.
inline void SleepFor(timespec left)
{
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

// The same.
inline void SleepMicroseconds(int microseconds)
{
    constexpr int kPerSecond = 1000000;
    SleepFor({microseconds / kPerSecond, microseconds % kPerSecond * 1000L});
}

}  // namespace qor

#endif  // QOR_BASE_SLEEP_H
