// Cancellation.h - cancels a thread at one of the C library's calls that it makes.
//
// The program defines the cancellation points (pthreads(7)) that the library and its C++ runtime
// call, in place of the C library's: each numbers itself on the watched thread, cancels that thread
// when its number has come, and goes on to the real call, which acts on the cancellation.
#ifndef QOR_PROOF_SWEEPS_CANCELLATION_H
#define QOR_PROOF_SWEEPS_CANCELLATION_H

namespace qor::proof {

// From now on the calling thread's cancellation points are numbered from 1; at the one with the
// number it is cancelled. 0: at none.
void WatchPoints(int number);

// Ends that. Returns how many there were.
int UnwatchPoints();

}  // namespace qor::proof

#endif  // QOR_PROOF_SWEEPS_CANCELLATION_H
