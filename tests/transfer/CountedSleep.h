// CountedSleep.h - the library's sleeps in this test program, counted instead of slept.
//
//     CountedSleep sleep([&] { if (sleep.Count() == 3) WriteFile(response, "late"); });
//
// CountedSleep.cpp defines clock_nanosleep(2), by which the library sleeps, in place of the C
// library's; without a CountedSleep it sleeps. usleep and nanosleep always do: WaitUntil.h goes on
// working.
#ifndef QOR_TEST_COUNTEDSLEEP_H
#define QOR_TEST_COUNTEDSLEEP_H

#include <unistd.h>

#include <functional>
#include <vector>

namespace qor::test {

// One at a time; for the thread that sleeps.
class CountedSleep
{
public:
    // during: what happens while the sleeper sleeps, after the sleep is counted.
    explicit CountedSleep(std::function<void()> during = {});
    CountedSleep(const CountedSleep&) = delete;
    CountedSleep& operator=(const CountedSleep&) = delete;
    ~CountedSleep();

    std::size_t Count() const { return sleeps_.size(); }

    // Microseconds, in the order of the calls.
    const std::vector<useconds_t>& Sleeps() const { return sleeps_; }

    void Sleep(useconds_t microseconds);

private:
    std::function<void()> during_;
    std::vector<useconds_t> sleeps_;
};

}  // namespace qor::test

#endif  // QOR_TEST_COUNTEDSLEEP_H
