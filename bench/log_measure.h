// log_measure.h - measures a contender that appends lines to a file: checked first, and emptied
// long before the file would rotate.
#ifndef QOR_BENCH_LOG_MEASURE_H
#define QOR_BENCH_LOG_MEASURE_H

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/Files.h"

namespace qor::bench {

inline void EmptyFile(const std::string& path)
{
    if (::truncate(path.c_str(), 0) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
}

// Measures `write`. isExpected(line) judges what it appends to the file. After so many records each
// thread empties the file.
template <class Check, class Write>
void MeasureLines(benchmark::State& state, const std::string& path, std::size_t recordsPerFile,
                  Check isExpected, Write write)
{
    if (state.thread_index() == 0) {  // the others wait for it before their first iteration
        EmptyFile(path);
        write();
        const std::string line = test::ReadFile(path);
        if (!isExpected(line))
            state.SkipWithError(("wrote: " + line).c_str());
    }
    std::size_t records = 0;
    for (auto _ : state) {
        write();
        if (++records == recordsPerFile) {
            state.PauseTiming();
            EmptyFile(path);
            records = 0;
            state.ResumeTiming();
        }
    }
}

// The same for a `write` that must not write anything.
template <class Write>
void MeasureSilence(benchmark::State& state, const std::string& path, Write write)
{
    EmptyFile(path);
    write();
    if (!test::ReadFile(path).empty())
        state.SkipWithError("wrote what it must reject");
    for (auto _ : state)
        write();
}

}  // namespace qor::bench

#endif  // QOR_BENCH_LOG_MEASURE_H
