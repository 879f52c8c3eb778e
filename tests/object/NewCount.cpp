// In a file of its own: where the operators are inlined, g++ takes their free() for a mismatch.
#include "object/NewCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> count{0};

}  // namespace

// Sanitizers bring array forms of their own.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++count;
    return std::malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size)
{
    if (void* const memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace qor::test {

long NewCount()
{
    return count;
}

}  // namespace qor::test
