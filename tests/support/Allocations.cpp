#include "support/Allocations.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace {

std::atomic<std::size_t> made{0};
std::atomic<std::size_t> freed{0};
std::atomic<std::size_t> largestAllowed{SIZE_MAX};

void* Allocate(std::size_t size) noexcept
{
    if (size > largestAllowed)
        return nullptr;
    ++made;
    return std::malloc(size == 0 ? 1 : size);
}

void Free(void* memory) noexcept
{
    if (memory == nullptr)
        return;
    ++freed;
    std::free(memory);
}

}  // namespace

#include "support/NewAndDelete.h"

namespace qor::test {

AllocationCount::AllocationCount() : made_(made), freed_(freed) {}

std::size_t AllocationCount::Made() const
{
    return made - made_;
}

long AllocationCount::Kept() const
{
    return static_cast<long>(made - made_) - static_cast<long>(freed - freed_);
}

AllocationLimit::AllocationLimit(std::size_t largest)
{
    largestAllowed = largest;
}

AllocationLimit::~AllocationLimit()
{
    largestAllowed = SIZE_MAX;
}

}  // namespace qor::test
