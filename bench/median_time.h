// median_time.h - the wall clock's time of an operation that other processes take part in.
//
//     const AheadOfOthers ahead;
//     for (auto _ : state)
//         state.SetIterationTime(MedianSeconds(31, [&] { Ask(); }));
#ifndef QOR_BENCH_MEDIAN_TIME_H
#define QOR_BENCH_MEDIAN_TIME_H

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace qor::bench {

// This process, and those that it starts, come before other programs where the system allows it:
// else the wall clock tells of their number.
class AheadOfOthers
{
public:
    AheadOfOthers() { Set(SCHED_RR, ::sched_get_priority_min(SCHED_RR)); }
    AheadOfOthers(const AheadOfOthers&) = delete;
    AheadOfOthers& operator=(const AheadOfOthers&) = delete;
    ~AheadOfOthers() { Set(SCHED_OTHER, 0); }

private:
    static void Set(int policy, int priority)
    {
        sched_param parameters = {};
        parameters.sched_priority = priority;
        (void)::sched_setscheduler(0, policy, &parameters);  // else without
    }
};

// The median, since such an operation also waits for its turn on the processor: an average would
// tell more of the other programs on the machine. `before` each run is not measured.
template <typename Operation, typename Before = void (*)()>
double MedianSeconds(
    std::size_t runs, const Operation& operation, const Before& before = [] {})
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> times(runs);
    for (double& time : times) {
        before();
        const Clock::time_point start = Clock::now();
        operation();
        time = std::chrono::duration<double>(Clock::now() - start).count();
    }
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(runs / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

}  // namespace qor::bench

#endif  // QOR_BENCH_MEDIAN_TIME_H
