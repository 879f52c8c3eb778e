// StandardNumbers.h - keeps what is opened for long away from the standard descriptors.
#ifndef QOR_BASE_STANDARDNUMBERS_H
#define QOR_BASE_STANDARDNUMBERS_H

#include <fcntl.h>
#include <unistd.h>

#include "base/Handles.h"

namespace qor {

constexpr int kFirstOwnNumber = STDERR_FILENO + 1;

// Occupies the numbers 0 to 2 that the program has closed, so that no log is opened as one of them:
// another thread's output would get into it. Writing to what is held fails as before, with EBADF.
class StandardNumbers
{
public:
    StandardNumbers()
    {
        for (UniqueFd& held : held_) {
            held = UniqueFd(::open("/", O_PATH | O_CLOEXEC));
            if (!held || held.get() >= kFirstOwnNumber) {
                (void)held.Close();
                return;
            }
        }
    }

private:
    UniqueFd held_[kFirstOwnNumber];
};

}  // namespace qor

#endif  // QOR_BASE_STANDARDNUMBERS_H
