// The main() of every benchmark program: private mounts first, so that the library's fixed paths
// are an empty tmpfs, then the benchmarks. Under callgrind they are counted and not timed.
#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <valgrind/callgrind.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "support/PrivateMounts.h"

namespace {

// Writes one profile for each benchmark, of its last run, described by "OPERATION/WHO ITERATIONS".
// Collecting must be off at the start (--collect-atstart=no): it is switched on and off as the
// benchmark's clock is.
class InstructionReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            const std::string name = run.run_name.str();
            if (run.error_occurred) {
                std::cerr << name << ": " << run.error_message << '\n';
                continue;
            }
            const std::string description = name + " " + std::to_string(run.iterations);
            CALLGRIND_DUMP_STATS_AT(description.c_str());
        }
    }
};

}  // namespace

// The calls that start, stop and pause a benchmark's clock, which the linker's --wrap sends here.
// Outside of callgrind its requests do nothing.
#define QOR_WRAP_CLOCK_CALL(name, before, after)            \
    extern "C" void __real_##name(benchmark::State*);       \
    extern "C" void __wrap_##name(benchmark::State* state); \
    extern "C" void __wrap_##name(benchmark::State* state)  \
    {                                                       \
        before;                                             \
        __real_##name(state);                               \
        after;                                              \
    }

QOR_WRAP_CLOCK_CALL(_ZN9benchmark5State16StartKeepRunningEv, (void)0, CALLGRIND_ZERO_STATS;
                    CALLGRIND_TOGGLE_COLLECT)
QOR_WRAP_CLOCK_CALL(_ZN9benchmark5State17FinishKeepRunningEv, CALLGRIND_TOGGLE_COLLECT, (void)0)
QOR_WRAP_CLOCK_CALL(_ZN9benchmark5State11PauseTimingEv, CALLGRIND_TOGGLE_COLLECT, (void)0)
QOR_WRAP_CLOCK_CALL(_ZN9benchmark5State12ResumeTimingEv, (void)0, CALLGRIND_TOGGLE_COLLECT)

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    try {
        qor::test::EnterPrivateMounts();
    } catch (const std::exception& failure) {
        std::cerr << "Cannot set up private mounts: " << failure.what() << '\n';
        return EXIT_FAILURE;
    }
    (void)::umask(022);
    InstructionReporter instructions;
    benchmark::RunSpecifiedBenchmarks(RUNNING_ON_VALGRIND != 0 ? &instructions : nullptr);
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
