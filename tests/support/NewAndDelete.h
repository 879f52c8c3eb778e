// NewAndDelete.h - every form of operator new and delete of a program, by two functions of the one
// source that includes this after them:
//
//     void* Allocate(std::size_t size) noexcept;    // null: there is no memory
//     void Free(void* memory) noexcept;
#ifndef QOR_TEST_NEWANDDELETE_H
#define QOR_TEST_NEWANDDELETE_H

#include <cstddef>
#include <new>

void* operator new(std::size_t size)
{
    void* const memory = Allocate(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

void operator delete(void* memory) noexcept
{
    Free(memory);
}

void operator delete[](void* memory) noexcept
{
    Free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    Free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    Free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    Free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    Free(memory);
}

#endif  // QOR_TEST_NEWANDDELETE_H
