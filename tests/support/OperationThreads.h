// OperationThreads.h - what each operation promises on threads with little stack and on threads
// that are cancelled.
#ifndef QOR_TEST_OPERATIONTHREADS_H
#define QOR_TEST_OPERATIONTHREADS_H

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <climits>
#include <functional>

#include "support/Cancellation.h"
#include "support/Descriptors.h"

namespace qor::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSmallStack = 8UL * 64 * 1024;  // bytes; sanitizers need most of it
#else
constexpr std::size_t kSmallStack = 64UL * 1024;
#endif

// Runs `function` on a thread with a stack of 64 KiB, or of the least that this processor's C
// library permits, and waits for its end.
inline void RunOnSmallStack(std::function<void()> function)
{
    const auto main = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(0, ::pthread_attr_init(&attributes));
    ASSERT_EQ(0, ::pthread_attr_setstacksize(
                     &attributes, std::max(kSmallStack, std::size_t(PTHREAD_STACK_MIN))));
    ASSERT_EQ(0, ::pthread_create(&thread, &attributes, main, &function));
    EXPECT_EQ(0, ::pthread_join(thread, nullptr));
    EXPECT_EQ(0, ::pthread_attr_destroy(&attributes));
}

// Runs `operation` on such a thread, and on one whose cancellation is pending: that one ends alone,
// after the operation is complete.
inline void ExpectGoodOnThreads(const std::function<void()>& operation)
{
    RunOnSmallStack(operation);

    const DescriptorMap before = OpenDescriptors();
    const CancelledRun run = RunCancelled(operation);
    EXPECT_TRUE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
}

}  // namespace qor::test

#endif  // QOR_TEST_OPERATIONTHREADS_H
