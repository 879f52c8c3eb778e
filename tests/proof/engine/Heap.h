// Heap.h - the heap of this process: counted, made to fail, and overwritten when it is freed.
//
// In an ordinary build malloc(3) and its kin are replaced, so that blocks of the library, of the C
// library and of libxml2 are all seen; unlike resident memory, which comes in pages, the count is
// exact to the byte. A sanitizer brings an allocator of its own: there its hooks count, operator
// new alone fails, and the sanitizer itself finds uses of freed memory.
#ifndef QOR_PROOF_HEAP_H
#define QOR_PROOF_HEAP_H

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define QOR_FOREIGN_ALLOCATOR
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QOR_FOREIGN_ALLOCATOR
#endif

namespace qor::proof {

// What is allocated and not freed. bytes: as they were asked for.
struct Heap {
    long blocks = 0;
    long bytes = 0;
};

Heap HeapNow();

inline Heap operator-(Heap a, Heap b)
{
    return {a.blocks - b.blocks, a.bytes - b.bytes};
}

inline Heap operator*(Heap a, long times)
{
    return {a.blocks * times, a.bytes * times};
}

// What `make` allocates and keeps.
template <typename Make>
Heap HeapOf(Make make)
{
    const Heap before = HeapNow();
    make();
    return HeapNow() - before;
}

// What backtrace_symbols(3) has allocated since the start.
Heap SymbolTexts();

// Whether a sanitizer's allocator is in force, which keeps freed memory for a while.
#ifdef QOR_FOREIGN_ALLOCATOR
inline constexpr bool kHasForeignAllocator = true;
#else
inline constexpr bool kHasForeignAllocator = false;
#endif

// From now on allocations are numbered from 1; the one with the number, or that and all that
// follow, fail. 0: none does. prints: its call stack goes to the standard error stream.
void WatchMemory(int number, bool lasts, bool prints);

// Ends that. Returns the number of allocations.
int UnwatchMemory();

}  // namespace qor::proof

#endif  // QOR_PROOF_HEAP_H
