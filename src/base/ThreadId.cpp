#include "base/ThreadId.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <new>

namespace qor {

namespace {

// Which process of a line of forks this is: 0 in one that has not yet asked.
using Generation = std::atomic<unsigned>;
static_assert(Generation::is_always_lock_free, "usable in a child of a program with threads");

struct KnownId {
    unsigned generation = 0;  // the one in which it was asked for
    pid_t id = 0;
};
thread_local KnownId t_known;

// On a page of its own that is zero again in every child, however the child was made: a handler of
// pthread_atfork(3) does not run for _Fork(3) or a bare system call. Null where the kernel offers
// no such page (madvise(2), MADV_WIPEONFORK).
Generation* MapGeneration()
{
    constexpr std::size_t kSize = sizeof(Generation);  // the kernel makes it a page
    void* const page =
        ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    // GCOVR_EXCL_START: reached by the proof of faults, whose processes save no counters
    if (page == MAP_FAILED)
        return nullptr;
    if (::madvise(page, static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)), MADV_WIPEONFORK) != 0) {
        (void)::munmap(page, kSize);
        return nullptr;
    }
    // GCOVR_EXCL_STOP
    return new (page) Generation(0);
}

// Gives this process the number after its parent's, unless another thread has just done so.
unsigned BeginGeneration(Generation& generation)
{
    static std::atomic<unsigned> last{0};  // inherited, as memory is
    const unsigned next = ++last;
    unsigned current = 0;
    return generation.compare_exchange_strong(current, next) ? next : current;
}

}  // namespace

pid_t ThreadId()
{
    static Generation* const generation = MapGeneration();

    unsigned current = generation == nullptr ? 0 : generation->load(std::memory_order_relaxed);
    if (current != 0 && current == t_known.generation)
        return t_known.id;

    if (generation != nullptr && current == 0)
        current = BeginGeneration(*generation);
    t_known = {current, static_cast<pid_t>(::syscall(SYS_gettid))};
    return t_known.id;
}

}  // namespace qor
