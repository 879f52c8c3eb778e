// Engine.h - the two functions that a fuzzing engine calls; libFuzzer's names.
#ifndef QOR_FUZZ_ENGINE_H
#define QOR_FUZZ_ENGINE_H

#include <cstddef>
#include <cstdint>

// Once, before anything else. Ends the program when it cannot be prepared.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

// For each input. Returns 0; a finding aborts.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif  // QOR_FUZZ_ENGINE_H
