// WaitUntil.h - waiting for another thread or process without guessing how long it takes.
//
//     ASSERT_TRUE(WaitUntil([] { return Exists(kAnswer); }));
#ifndef QOR_TEST_WAITUNTIL_H
#define QOR_TEST_WAITUNTIL_H

#include <chrono>
#include <thread>

namespace qor::test {

// Asks every millisecond. False: still not so after `limit`, which is generous because only a
// failing test ever waits for it.
template <typename Condition>
bool WaitUntil(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(30))
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace qor::test

#endif  // QOR_TEST_WAITUNTIL_H
