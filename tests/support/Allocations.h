// Allocations.h - operator new of this program: counted, and made to fail.
//
//     const AllocationCount count;
//     reader.find_section(...);
//     EXPECT_EQ(1u, count.Made());
//
// Calls of malloc(3) are not seen: how many the C library makes for a stream or a directory is its
// own affair. The proofs replace malloc(3) itself (proof/engine/Heap.h).
#ifndef QOR_TEST_ALLOCATIONS_H
#define QOR_TEST_ALLOCATIONS_H

#include <cstddef>

namespace qor::test {

// Calls of operator new and operator delete, all forms but the over-aligned ones, in all threads
// since the construction.
class AllocationCount
{
public:
    AllocationCount();

    std::size_t Made() const;

    // Made and not yet freed; negative when older ones were freed.
    long Kept() const;

private:
    std::size_t made_;
    std::size_t freed_;
};

// While it exists, operator new of more than `largest` bytes fails. One at a time.
class AllocationLimit
{
public:
    explicit AllocationLimit(std::size_t largest);
    AllocationLimit(const AllocationLimit&) = delete;
    AllocationLimit& operator=(const AllocationLimit&) = delete;
    ~AllocationLimit();
};

}  // namespace qor::test

#endif  // QOR_TEST_ALLOCATIONS_H
