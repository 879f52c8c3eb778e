// Threads.h - the same work on several threads at once.
#ifndef QOR_TEST_THREADS_H
#define QOR_TEST_THREADS_H

#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace qor::test {

// Runs `work` on `count` threads, each with its number from 0 on, and waits for all of them.
inline void OnThreads(std::size_t count, const std::function<void(std::size_t)>& work)
{
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < count; ++thread)
        threads.emplace_back(work, thread);
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace qor::test

#endif  // QOR_TEST_THREADS_H
