// Proof.h - the frame of the proof programs: options, verdicts, requirements, and processes that
// report what they found.
#ifndef QOR_PROOF_PROOF_H
#define QOR_PROOF_PROOF_H

#include <sys/types.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

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

struct Options {
    bool isLong = false;      // --long
    bool isVerbose = false;   // --verbose: prints each case
    bool listsNames = false;  // --names: prints what the table holds, and what is left out of it
    std::string id;           // --case ID: the only case to run; empty: all
    std::string only;         // --only NAME: the cases whose names begin so

    // Whether to run the case.
    bool Want(const std::string& name) const
    {
        return id.empty() ? name.compare(0, only.size(), only) == 0 : name == id;
    }
};

// Counts cases and prints a line for each violation: "VIOLATED CASE: TEXT".
class Tally
{
public:
    explicit Tally(bool isVerbose) : isVerbose_(isVerbose) {}

    // violation: "" when the case held. text: what is printed of a case that held.
    void Add(const std::string& id, const std::string& violation, const std::string& text = "");

    int Cases() const { return cases_; }
    int Violations() const { return violations_; }

    // Prints the figures. Returns the program's exit status: 0 when there was a case and each held.
    int Finish(const std::string& figures = "") const;

private:
    bool isVerbose_;
    int cases_ = 0;
    int violations_ = 0;
};

// Each program's own; returns its exit status. The engine's main function reads the options and
// calls it, in private mounts, with the descriptors 0 to 2 alone and an empty standard input, so
// that no command asks the person who started it.
int Prove(const Options& options);

// A name that a table leaves out, and why.
struct LeftOut {
    std::string name;
    std::string reason;
};

// For Options::listsNames. Returns the exit status.
int PrintNames(const std::vector<std::string>& covered, const std::vector<LeftOut>& leftOut);

// The deliberate fault that QOR_PROOF_FAULT asks for, which shows that a proof can fail; "" for
// none.
std::string DeliberateFault();

// A forked process. It is ended (SIGALRM) after `seconds`.
class Worker
{
public:
    // function: returns a text or nothing.
    template <typename Function>
    explicit Worker(Function function, unsigned seconds = 60)
    {
        if constexpr (std::is_void_v<std::invoke_result_t<Function>>)
            Start([&function] { return function(), std::string(); }, seconds);
        else
            Start(function, seconds);
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();  // ends the process (SIGKILL) unless it has been waited for

    pid_t Pid() const { return pid_; }

    struct End {
        std::string text;    // what the function returned, or what() of the exception that left it
        std::string ending;  // "": with status 0; "hangs": after `seconds`; else how it ended

        // "" when the process ended well and returned no text.
        const std::string& Failure() const { return text.empty() ? ending : text; }
    };

    // Waits for the end. Once.
    End Wait();

    // The same, of a process that somebody else has waited for.
    End Ended(int status);

private:
    void Start(const std::function<std::string()>& function, unsigned seconds);

    int report_ = -1;  // a pipe's end, owned
    pid_t pid_ = 0;
};

// Runs `function` in a Worker and waits. What fails is a Violation that begins with `what`.
void RequireInNewProcess(const std::string& what, const std::function<void()>& function);

// From now on what this process and its commands print is dropped.
void DropMessages();

bool StartsWith(const std::string& text, const std::string& start);
bool EndsWith(const std::string& text, const std::string& end);

}  // namespace qor::proof

#endif  // QOR_PROOF_PROOF_H
