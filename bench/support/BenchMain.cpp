// The main() of every benchmark program: private mounts first, so that the library's fixed paths
// are an empty tmpfs, then the benchmarks. Under callgrind they are counted and not timed.
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstdlib>
#include <exception>
#include <iostream>

#include "support/Instructions.h"
#include "support/PrivateMounts.h"

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
    qor::bench::InstructionReporter instructions;
    benchmark::RunSpecifiedBenchmarks(qor::bench::RunsUnderCallgrind() ? &instructions : nullptr);
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
