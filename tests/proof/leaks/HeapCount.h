// HeapCount.h - every block of this process's heap, counted: malloc and its relatives of the whole
// program, the library's, the C library's and libxml2's calls included.
//
// Other than the resident memory, which comes by pages, the count is exact: one byte that is kept
// shows.
#ifndef QOR_PROOF_HEAPCOUNT_H
#define QOR_PROOF_HEAPCOUNT_H

#include <cstddef>

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

inline bool operator==(Heap a, Heap b)
{
    return a.blocks == b.blocks && a.bytes == b.bytes;
}

// What `make` allocates and keeps.
template <typename Make>
Heap HeapOf(Make make)
{
    const Heap before = HeapNow();
    make();
    return HeapNow() - before;
}

// Blocks allocated since the start, whether freed or not.
long AllocationsNow();

// What backtrace_symbols(3) has allocated since the start.
Heap SymbolTexts();

// Whether a sanitizer's allocator is in force, which keeps freed memory for a while: the resident
// memory then tells nothing, the heap count does.
bool HasForeignAllocator();

}  // namespace qor::proof

#endif  // QOR_PROOF_HEAPCOUNT_H
