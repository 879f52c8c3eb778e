#include "support/Instructions.h"

#include <valgrind/callgrind.h>

#include <iostream>
#include <string>

namespace qor::bench {

bool RunsUnderCallgrind()
{
    return RUNNING_ON_VALGRIND != 0;
}

void InstructionReporter::ReportRuns(const std::vector<Run>& runs)
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

}  // namespace qor::bench

// The calls that start, stop and pause a benchmark's clock, which the linker's --wrap sends here.
// Outside of callgrind its requests do nothing.

extern "C" {

void __real__ZN9benchmark5State16StartKeepRunningEv(benchmark::State*);
void __real__ZN9benchmark5State17FinishKeepRunningEv(benchmark::State*);
void __real__ZN9benchmark5State11PauseTimingEv(benchmark::State*);
void __real__ZN9benchmark5State12ResumeTimingEv(benchmark::State*);

void __wrap__ZN9benchmark5State16StartKeepRunningEv(benchmark::State* state)
{
    __real__ZN9benchmark5State16StartKeepRunningEv(state);
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
}

void __wrap__ZN9benchmark5State17FinishKeepRunningEv(benchmark::State* state)
{
    CALLGRIND_TOGGLE_COLLECT;
    __real__ZN9benchmark5State17FinishKeepRunningEv(state);
}

void __wrap__ZN9benchmark5State11PauseTimingEv(benchmark::State* state)
{
    CALLGRIND_TOGGLE_COLLECT;
    __real__ZN9benchmark5State11PauseTimingEv(state);
}

void __wrap__ZN9benchmark5State12ResumeTimingEv(benchmark::State* state)
{
    __real__ZN9benchmark5State12ResumeTimingEv(state);
    CALLGRIND_TOGGLE_COLLECT;
}

}  // extern "C"
