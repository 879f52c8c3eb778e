// Cancellation.h - operations on threads that pthread_cancel(3) ends.
#ifndef QOR_TEST_CANCELLATION_H
#define QOR_TEST_CANCELLATION_H

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <utility>

#include "support/Descriptors.h"

namespace qor::test {

struct CancelledRun {
    bool returned;   // `function` came to its end
    bool cancelled;  // the thread was ended by its cancellation, in `function` or after it
};

// Runs `function` on a thread whose cancellation is pending from the start, so that the first
// cancellation point where cancellation is enabled ends the thread. Waits for its end.
inline CancelledRun RunCancelled(std::function<void()> function)
{
    struct Run {
        std::function<void()> function;
        bool returned;
    } run{std::move(function), false};

    const auto main = [](void* argument) -> void* {
        Run& self = *static_cast<Run*>(argument);
        (void)::pthread_cancel(::pthread_self());
        self.function();
        self.returned = true;
        ::pthread_testcancel();
        return nullptr;
    };
    pthread_t thread;
    void* result = nullptr;
    if (::pthread_create(&thread, nullptr, main, &run) != 0 || ::pthread_join(thread, &result) != 0)
        return {false, false};
    return {run.returned, result == PTHREAD_CANCELED};
}

// On such a thread the operation comes to its end; then the thread ends alone.
inline void ExpectCompleteWhenCancelled(std::function<void()> operation)
{
    const DescriptorMap before = OpenDescriptors();
    const CancelledRun run = RunCancelled(std::move(operation));
    EXPECT_TRUE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
}

}  // namespace qor::test

#endif  // QOR_TEST_CANCELLATION_H
