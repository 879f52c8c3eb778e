// channel_server on a machine whose clock moves in steps of 4 ms and whose disk is slow: two
// servers draw one time stamp, and both write at that time. For run.sh.
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <ctime>

#include "channel_server.cpp"  // NOLINT(bugprone-suspicious-include)

// Both are taken instead of the C library's, by libqor_ComLib too.

extern "C" int gettimeofday(timeval* __restrict now, void* __restrict) noexcept
{
    constexpr long kStep = 4000;  // microseconds

    timespec time = {};
    (void)::clock_gettime(CLOCK_REALTIME, &time);  // fails for a bad pointer only
    *now = {time.tv_sec, time.tv_nsec / 1000 / kStep * kStep};
    return 0;
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    (void)::usleep(1000);  // shorter after a signal
    return ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}
