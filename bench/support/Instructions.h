// Instructions.h - under callgrind: the instructions of each benchmark's loop, as profiles.
#ifndef QOR_BENCH_INSTRUCTIONS_H
#define QOR_BENCH_INSTRUCTIONS_H

#include <benchmark/benchmark.h>

#include <vector>

namespace qor::bench {

bool RunsUnderCallgrind();

// Writes one profile for each benchmark, of its last run, described by "OPERATION/WHO ITERATIONS".
// Collecting must be off at the start (--collect-atstart=no): it is switched on and off as the
// benchmark's clock is.
class InstructionReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;
};

}  // namespace qor::bench

#endif  // QOR_BENCH_INSTRUCTIONS_H
