// Register.h - benchmarks that are named by operation and subject.
#ifndef QOR_BENCH_REGISTER_H
#define QOR_BENCH_REGISTER_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>

namespace qor::bench {

// `measure` is called with the state and the size of the input. Call it before main.
inline void Register(const std::string& operation, const std::string& who,
                     void (*measure)(benchmark::State&, std::size_t), std::size_t size)
{
    benchmark::RegisterBenchmark((operation + "/" + who).c_str(), measure, size);
}

}  // namespace qor::bench

#endif  // QOR_BENCH_REGISTER_H
