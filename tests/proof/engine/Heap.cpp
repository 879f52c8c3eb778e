#include "proof/engine/Heap.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<long> g_blocks{0};
std::atomic<long> g_bytes{0};
std::atomic<long> g_symbolBlocks{0};
std::atomic<long> g_symbolBytes{0};

void Count(const void* block, long sign)
{
    if (block == nullptr)
        return;
    g_blocks += sign;
    g_bytes += sign * static_cast<long>(::malloc_usable_size(const_cast<void*>(block)));
}

// Plain numbers: an operation runs on one thread, and malloc must work before anything else does.
struct Watch {
    bool isOn = false;
    bool prints = false;
    bool lasts = false;
    int failing = 0;
    int count = 0;
};
Watch g_watch;

bool Fails()
{
    if (!g_watch.isOn)
        return false;
    ++g_watch.count;
    if (g_watch.failing == 0 || g_watch.count < g_watch.failing ||
        (g_watch.count > g_watch.failing && !g_watch.lasts))
        return false;
    if (g_watch.prints) {
        g_watch.isOn = false;
        void* frames[32];
        ::backtrace_symbols_fd(frames, ::backtrace(frames, 32), STDERR_FILENO);
        g_watch.isOn = true;
    }
    errno = ENOMEM;
    return true;
}

}  // namespace

namespace qor::proof {

Heap HeapNow()
{
    return {g_blocks, g_bytes};
}

Heap SymbolTexts()
{
    return {g_symbolBlocks, g_symbolBytes};
}

void WatchMemory(int number, bool lasts, bool prints)
{
    void* frame[1];
    (void)::backtrace(frame, 1);  // loads what it needs, which allocates
    g_watch = {true, prints, lasts, number, 0};
}

int UnwatchMemory()
{
    g_watch.isOn = false;
    return g_watch.count;
}

}  // namespace qor::proof

// In place of the C library's, which does the work.
extern "C" char** backtrace_symbols(void* const* frames, int count)
{
    using Function = char** (*)(void* const*, int);
    static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "backtrace_symbols"));
    char** const texts = next(frames, count);
    if (texts != nullptr) {
        ++g_symbolBlocks;
        g_symbolBytes += static_cast<long>(::malloc_usable_size(texts));
    }
    return texts;
}

#ifdef QOR_FOREIGN_ALLOCATOR

// Of the sanitizers' runtimes; g++ brings no header for it.
extern "C" int __sanitizer_install_malloc_and_free_hooks(
    void (*onMalloc)(const volatile void* block, std::size_t size),
    void (*onFree)(const volatile void* block));

namespace {

void OnMalloc(const volatile void* block, std::size_t)
{
    Count(const_cast<const void*>(block), 1);
}

void OnFree(const volatile void* block)
{
    Count(const_cast<const void*>(block), -1);
}

[[maybe_unused]] const int g_hooks = __sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree);

void* Allocate(std::size_t size) noexcept
{
    return Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void Free(void* memory) noexcept
{
    std::free(memory);
}

}  // namespace

#include "support/NewAndDelete.h"

#else

// The allocator's functions by names that nobody replaces.
extern "C" {
void* __libc_malloc(std::size_t size);
void __libc_free(void* block);
void* __libc_realloc(void* block, std::size_t size);
}

namespace {

// Stands before each block: usable sizes are rounded, and not always alike.
struct Head {
    std::size_t size;
    std::uint32_t offset;  // from the allocator's own block to the caller's
    std::uint32_t mark;
};
static_assert(sizeof(Head) == alignof(std::max_align_t), "keeps the alignment");

constexpr std::uint32_t kMark = 0x51a7c0de;
constexpr int kFreed = 0xDB;  // each byte of a block that is freed: no text, no number, no address

Head* HeadOf(void* block)
{
    Head* const head = static_cast<Head*>(block) - 1;
    return head->mark == kMark ? head : nullptr;  // null: made by a function not replaced here
}

// alignment: a power of two.
void* Allocate(std::size_t size, std::size_t alignment)
{
    const std::size_t room = size + sizeof(Head) + alignment;
    const bool fits = room >= size && !Fails();
    char* const own = fits ? static_cast<char*>(__libc_malloc(room)) : nullptr;
    if (own == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(own) + sizeof(Head);
    const std::uintptr_t aligned = (address + alignment - 1) & ~(std::uintptr_t{alignment} - 1);
    const std::size_t offset = sizeof(Head) + (aligned - address);
    new (own + offset - sizeof(Head)) Head{size, static_cast<std::uint32_t>(offset), kMark};
    Count(own + offset, 1);
    return own + offset;
}

}  // namespace

extern "C" {

std::size_t malloc_usable_size(void* block) noexcept
{
    const Head* const head = block == nullptr ? nullptr : HeadOf(block);
    return head == nullptr ? 0 : head->size;
}

void* malloc(std::size_t size)
{
    return Allocate(size, alignof(std::max_align_t));
}

void* calloc(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) {
        errno = ENOMEM;
        return nullptr;
    }
    void* const block = malloc(bytes);
    return block == nullptr ? nullptr : std::memset(block, 0, bytes);
}

void free(void* block)
{
    if (block == nullptr)
        return;
    const int error = errno;  // kept by free(3)
    if (Head* const head = HeadOf(block)) {
        Count(block, -1);
        head->mark = 0;
        char* const own = static_cast<char*>(block) - head->offset;
        std::memset(block, kFreed, head->size);
        asm volatile("" : : "r"(block) : "memory");  // or the compiler drops it as a dead store
        __libc_free(own);
    } else {
        __libc_free(block);
    }
    errno = error;
}

void* realloc(void* block, std::size_t size)
{
    if (block == nullptr)
        return malloc(size);
    const Head* const head = HeadOf(block);
    if (head == nullptr)
        return __libc_realloc(block, size);
    if (size == 0) {
        free(block);
        return nullptr;
    }
    void* const moved = malloc(size);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, block, std::min(size, head->size));
    free(block);
    return moved;
}

void* memalign(std::size_t alignment, std::size_t size)
{
    return Allocate(size, std::max(alignment, alignof(std::max_align_t)));
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void** out, std::size_t alignment, std::size_t size)
{
    void* const block = memalign(alignment, size);
    if (block == nullptr)
        return ENOMEM;
    *out = block;
    return 0;
}

}  // extern "C"

#endif
