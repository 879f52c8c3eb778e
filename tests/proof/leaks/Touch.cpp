#include "leaks/Touch.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "leaks/HeapCount.h"
#include "proof/faults/Injector.h"

namespace qor::proof {

Touch TouchOf(const std::function<Body()>& prepare)
{
    const Run run = RunWithFault(Fault(), [&prepare] {
        const int silent = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            (void)::dup2(silent, standard);
        const Body body = prepare();
        const long before = AllocationsNow();
        Enter();
        body();
        Leave();
        return std::to_string(AllocationsNow() - before);
    });
    if (!run.ending.empty())
        throw std::runtime_error(run.ending);
    return {static_cast<long>(run.calls.size()), std::stol(run.report)};
}

}  // namespace qor::proof
