// Proof.h - what the proof programs share: requirements, and processes that report what failed.
#ifndef QOR_PROOF_PROOF_H
#define QOR_PROOF_PROOF_H

#include <sys/types.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace qor::proof {

// Something is not as it may be.
struct Violation : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws a Violation unless `holds`.
inline void Require(bool holds, const std::string& otherwise)
{
    if (!holds)
        throw Violation(otherwise);
}

// `function` in a forked process, beside the proof. It is ended (SIGALRM) after `seconds`.
class Worker
{
public:
    explicit Worker(const std::function<void()>& function, unsigned seconds = 60);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();  // ends the process (SIGKILL) unless Failure() was asked for

    // Waits. "" when the function came to its end, otherwise the text of the exception that left
    // it or the signal that ended the process. To be called once.
    std::string Failure();

private:
    int report_ = -1;  // a pipe's end, owned
    pid_t pid_ = 0;
};

// Runs `function` in a Worker and waits.
std::string FailureInNewProcess(const std::function<void()>& function, unsigned seconds = 60);

// The same, as a Violation that begins with `what`.
void RequireInNewProcess(const std::string& what, const std::function<void()>& function);

// Commands of the library find an empty standard input: none of them asks the person who runs the
// proof. Throws when that fails.
void CloseStandardInput();

}  // namespace qor::proof

#endif  // QOR_PROOF_PROOF_H
