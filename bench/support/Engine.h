// Engine.h - the engine of all benchmarks. A contender does the operation once and is judged by its
// result; then it is measured.
//
//     Add("ini.list.16K", "ours", [](benchmark::State& state) {
//         Measure(state, [&] { names = Names(); }, [&] { return names == expected; });
//     });
//
// A benchmark is named OPERATION/WHO. WHO is "ours", "limit" or the name of a peer. The operations,
// with their sizes, titles and goals, stand in bench/goals.tsv.
#ifndef QOR_BENCH_ENGINE_H
#define QOR_BENCH_ENGINE_H

#include <benchmark/benchmark.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace qor::bench {

// The size of an operation's input, and how it is called in the operation's name.
struct Size {
    const char* name;
    std::size_t count;
};

// Call it before main.
template <typename Body>
benchmark::internal::Benchmark* Add(const std::string& operation, const std::string& who, Body body)
{
    return benchmark::RegisterBenchmark((operation + "/" + who).c_str(), body);
}

struct NothingBefore {
    void operator()() const {}
};

// `operate` is called once for each iteration, with its number within the batch if it takes one.
// `before` comes before each batch and is not measured.
template <typename Operate, typename IsRight, typename Before = NothingBefore>
void Measure(benchmark::State& state, Operate operate, IsRight isRight, Before before = {},
             int batch = 1)
{
    const auto call = [&operate](int number) {
        if constexpr (std::is_invocable_v<Operate, int>)
            operate(number);
        else
            operate();
    };
    if (state.thread_index() == 0) {  // the other threads wait for it before their first iteration
        before();
        call(0);
        if (!isRight())
            state.SkipWithError("another result than expected");
    }
    if constexpr (std::is_same_v<Before, NothingBefore>) {
        for (auto _ : state)
            call(0);
    } else {
        while (state.KeepRunningBatch(batch)) {
            state.PauseTiming();
            before();
            state.ResumeTiming();
            for (int i = 0; i < batch; ++i)
                call(i);
        }
    }
}

// This process, and those that it starts, run before other programs where the system allows it;
// otherwise the wall clock would measure how many there are.
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
        (void)::sched_setscheduler(0, policy, &parameters);  // without it if that fails
    }
};

// For an operation that other processes take part in: measured by the wall clock.
template <typename Body>
void AddByWallClock(const std::string& operation, const std::string& who, Body body)
{
    Add(operation, who,
        [body](benchmark::State& state) {
            const AheadOfOthers ahead;
            body(state);
        })
        ->Iterations(5)
        ->UseManualTime();
}

// Each iteration is the median of `runs`: such an operation also waits for its turn on the
// processor, and an average would show the other programs. `before` each run is not measured.
template <typename Operate, typename IsRight, typename Before = NothingBefore>
void MeasureByWallClock(benchmark::State& state, std::size_t runs, Operate operate, IsRight isRight,
                        Before before = {})
{
    using Clock = std::chrono::steady_clock;
    operate();
    if (!isRight())
        state.SkipWithError("another result than expected");
    std::vector<double> times(runs);
    for (auto _ : state) {
        for (double& time : times) {
            before();
            const Clock::time_point start = Clock::now();
            operate();
            time = std::chrono::duration<double>(Clock::now() - start).count();
        }
        const auto middle = times.begin() + static_cast<std::ptrdiff_t>(runs / 2);
        std::nth_element(times.begin(), middle, times.end());
        state.SetIterationTime(*middle);
    }
}

}  // namespace qor::bench

#endif  // QOR_BENCH_ENGINE_H
