// Memory.h - the memory of this program: its allocations counted, and made to fail.
//
// In an ordinary build this is malloc(3) and its kin, and so also what the C library and others
// allocate for the operation. A sanitizer brings a malloc of its own, which must not be told that
// there is none: there it is operator new alone.
#ifndef QOR_PROOF_MEMORY_H
#define QOR_PROOF_MEMORY_H

namespace qor::proof {

// From now on allocations of the process are counted; the one with the number, or that and all
// that follow, fail. 0: none does. tell: its call stack goes to the standard error stream.
void WatchMemory(int number, bool lasts, bool tell);

// Ends that. Returns the number of allocations.
int UnwatchMemory();

}  // namespace qor::proof

#endif  // QOR_PROOF_MEMORY_H
