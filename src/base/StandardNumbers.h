// StandardNumbers.h - keeps what is opened for long away from the standard descriptors.
#ifndef QOR_BASE_STANDARDNUMBERS_H
#define QOR_BASE_STANDARDNUMBERS_H

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "base/Handles.h"

namespace qor {

constexpr int kFirstOwnNumber = STDERR_FILENO + 1;

// Occupies the numbers 0 to 2 that the program has closed, so that no log is opened as one of them:
// another thread's output would get into it. Writing to an occupied number fails as before, with
// EBADF.
class StandardNumbers
{
public:
    StandardNumbers()
    {
        if (AreTaken())
            return;
        for (UniqueFd& held : held_) {
            held = UniqueFd(::open("/", O_PATH | O_CLOEXEC));
            if (!held || held.get() >= kFirstOwnNumber) {
                (void)held.Close();
                return;
            }
        }
    }

private:
    // poll(2) takes a sixth of the time of opening and closing a descriptor.
    static bool AreTaken()
    {
        pollfd numbers[kFirstOwnNumber] = {
            {STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
        return ::poll(numbers, kFirstOwnNumber, 0) >= 0 &&
               std::none_of(std::begin(numbers), std::end(numbers),
                            [](const pollfd& number) { return (number.revents & POLLNVAL) != 0; });
    }

    UniqueFd held_[kFirstOwnNumber];
};

}  // namespace qor

#endif  // QOR_BASE_STANDARDNUMBERS_H
