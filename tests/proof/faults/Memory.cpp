#include "proof/faults/Memory.h"

#include <execinfo.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QOR_PROOF_FOREIGN_MALLOC 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define QOR_PROOF_FOREIGN_MALLOC 1
#endif
#endif

namespace {

// Plain numbers: an operation runs on one thread, and malloc must work before anything else does.
bool watched = false;
bool telling = false;
bool lasting = false;
int failing = 0;
int count = 0;

bool Fails()
{
    if (!watched)
        return false;
    ++count;
    if (count != failing && !(lasting && failing > 0 && count > failing))
        return false;
    if (telling) {
        watched = false;
        void* frames[32];
        ::backtrace_symbols_fd(frames, ::backtrace(frames, 32), STDERR_FILENO);
        watched = true;
    }
    errno = ENOMEM;
    return true;
}

}  // namespace

namespace qor::proof {

void WatchMemory(int number, bool lasts, bool tell)
{
    void* frame[1];
    (void)::backtrace(frame, 1);  // loads what it needs, which allocates
    count = 0;
    failing = number;
    lasting = lasts;
    telling = tell;
    watched = true;
}

int UnwatchMemory()
{
    watched = false;
    return count;
}

}  // namespace qor::proof

#ifdef QOR_PROOF_FOREIGN_MALLOC

namespace {

void* Allocate(std::size_t size) noexcept
{
    return Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size)
{
    void* const memory = Allocate(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t size)
{
    return AllocateOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return AllocateOrThrow(size);
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
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

#else

// The allocator itself, under the names that glibc exports for replacements like these.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t number, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

extern "C" void* malloc(std::size_t size)
{
    return Fails() ? nullptr : __libc_malloc(size);
}

extern "C" void* calloc(std::size_t number, std::size_t size)
{
    return Fails() ? nullptr : __libc_calloc(number, size);
}

extern "C" void* realloc(void* memory, std::size_t size)
{
    return Fails() ? nullptr : __libc_realloc(memory, size);
}

#endif
