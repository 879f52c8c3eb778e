// FrozenTime.h - the wall clock of a test program, under the test's control.
//
//     FrozenTime frozen(1700000000, 42);
//     EXPECT_EQ(1700000000, ::time(nullptr));        // gettimeofday(2) too
//
// A program that uses it links qor_test_clock, which defines time and gettimeofday in place of the
// C library's. Without a FrozenTime both give the real time, and clock_gettime(2) always does:
// WaitUntil.h goes on working.
#ifndef QOR_TEST_FROZENTIME_H
#define QOR_TEST_FROZENTIME_H

#include <sys/time.h>

#include <ctime>
#include <initializer_list>
#include <vector>

namespace qor::test {

// One at a time, while no other thread asks for the time.
class FrozenTime
{
public:
    explicit FrozenTime(std::time_t seconds, suseconds_t microseconds = 0);

    // gettimeofday gives each moment once, one after the other, and the last one ever after.
    explicit FrozenTime(std::initializer_list<timeval> moments);
    explicit FrozenTime(std::vector<timeval> moments);

    FrozenTime(const FrozenTime&) = delete;
    FrozenTime& operator=(const FrozenTime&) = delete;
    ~FrozenTime();

    // What the next call gives; `Take` moves on.
    timeval Moment() const { return moments_[next_]; }
    timeval Take();

private:
    std::vector<timeval> moments_;
    std::size_t next_ = 0;
};

}  // namespace qor::test

#endif  // QOR_TEST_FROZENTIME_H
