// Touch.h - whether a call touches anything that can fail it.
#ifndef QOR_PROOF_TOUCH_H
#define QOR_PROOF_TOUCH_H

#include <functional>

#include "leaks/Operations.h"

namespace qor::proof {

struct Touch {
    long calls = 0;  // of the kernel, those that can fail; the processes that it starts left out
    long allocations = 0;
};

// Of the first call of the body, in a process of its own. Throws when that does not come to its
// end.
Touch TouchOf(const std::function<Body()>& prepare);

}  // namespace qor::proof

#endif  // QOR_PROOF_TOUCH_H
