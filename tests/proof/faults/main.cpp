// Every operation of the library with every call that it makes failing once, in each way that the
// call can, and each open of it closed on exec. The table says what each case may lead to;
// operations that are faulty on purpose must be found.
//
// Without --long every 12th case. A case is NAME/FAULT; --case prints the calls that it makes, too.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statfs.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <iostream>
#include <map>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "CMutexUtil.h"
#include "proof/engine/Fault.h"
#include "proof/engine/Heap.h"
#include "proof/engine/Injector.h"
#include "proof/engine/Proof.h"
#include "proof/engine/Tracer.h"
#include "proof/operations/Operation.h"
#include "support/Descriptors.h"
#include "support/Files.h"

namespace qor::proof {
namespace {

constexpr int kEvery = 12;  // case of the short form

// The lines of a report.
constexpr char kOutcome[] = "outcome ";
constexpr char kViolation[] = "violation ";
constexpr char kAllocations[] = "allocations ";

// ---- a full disk -----------------------------------------------------------------------------

// Made small, for writes that really fail with ENOSPC. Both are file systems in memory of the
// proof's own; /etc and /tmp lie on another, which cannot be changed.
constexpr const char* kDisks[] = {"/opt", "/var/tmp"};

// tmpfs(5)
void Remount(const std::string& disk, const std::string& options)
{
    if (::mount(nullptr, disk.c_str(), nullptr, MS_REMOUNT | MS_NOSUID, options.c_str()) != 0)
        test::ThrowErrno("remount " + disk + " with " + options);
}

// From now on each takes so many pages of 4096 bytes more, or so many files, empty ones included.
void FillDisks(const Fault& fault)
{
    const auto room = static_cast<unsigned long>(fault.number);
    for (const std::string disk : kDisks) {
        test::WriteFile(disk + "/filler", "x");  // a size of no pages is no limit
        struct statfs state;
        if (::statfs(disk.c_str(), &state) != 0)
            test::ThrowErrno(disk);
        if (fault.call == "disk")
            Remount(disk, "size=" + std::to_string((state.f_blocks - state.f_bfree + room) * 4096));
        else
            Remount(disk, "nr_inodes=" + std::to_string(state.f_files - state.f_ffree + room));
    }
}

void GiveDisksBack()
{
    for (const char* const disk : kDisks)
        Remount(disk, "size=50%,nr_inodes=1m");
}

// ---- in the process of the operation -----------------------------------------------------

class Limits
{
public:
    explicit Limits(const Fault& fault)
    {
        isFullDisk_ = IsFullDisk(fault);
        if (isFullDisk_)
            FillDisks(fault);
        if (!IsLimit(fault) || isFullDisk_)
            return;
        which_ = fault.call == "descriptors" ? RLIMIT_NOFILE : RLIMIT_FSIZE;
        rlim_t limit = static_cast<rlim_t>(fault.number);
        if (which_ == RLIMIT_NOFILE)
            limit += static_cast<rlim_t>(test::OpenDescriptors().rbegin()->first) + 1;
        if (::getrlimit(*which_, &former_) != 0)
            test::ThrowErrno("getrlimit");
        (void)::signal(SIGXFSZ, SIG_IGN);  // write(2) reports it instead
        const rlimit now = {limit, former_.rlim_max};
        if (::setrlimit(*which_, &now) != 0)
            test::ThrowErrno("setrlimit");
    }
    Limits(const Limits&) = delete;
    Limits& operator=(const Limits&) = delete;
    ~Limits()
    {
        if (isFullDisk_)
            GiveDisksBack();
        if (which_)
            (void)::setrlimit(*which_, &former_);  // back to what it was: cannot fail
    }

private:
    bool isFullDisk_ = false;
    std::optional<__rlimit_resource> which_;
    rlimit former_ = {};
};

// The result is what the call gives its caller, or the exception that leaves it.
void Attempt(const Call& call, Result& result)
{
    const pid_t self = ::getpid();
    result.clear();
    try {
        call.run(result);
    } catch (const std::bad_alloc&) {
        result = "bad_alloc";
    } catch (...) {
        result = "an exception";
    }
    if (::getpid() != self)
        ::_exit(0);  // a child that came back into its caller's code
}

std::string Line(const char* kind, std::string text)
{
    std::replace(text.begin(), text.end(), '\n', '~');
    return text.empty() ? "" : kind + text + "\n";
}

// The same caller calls once more, without a fault. (A command that found no descriptor has printed
// nothing.)
std::string CheckAgain(const Operation& operation, const Fault& fault, Call& call, Result& result)
{
    if (!operation.IsAsked() || (operation.keepsCutFile && IsLimit(fault)))
        return "";
    LayAgain(operation, call);
    Attempt(call, result);
    (void)WaitForChildren();
    return Matches(operation.SecondResult(), result) ? ""
                                                     : "a second call gives \"" + result + "\"";
}

std::string RunCase(const Operation& operation, const Fault& fault, bool prints)
{
    if (!prints)
        DropMessages();
    Result result;
    result.reserve(4096);
    const test::DescriptorMap before = test::OpenDescriptors();
    operation.lay();
    Call call = operation.make();
    int allocations = 0;
    {
        const Limits limits(fault);
        const bool memory = fault.call == "allocation";
        Enter();
        WatchMemory(memory ? fault.number : 0, fault.lasts, prints);
        Attempt(call, result);
        allocations = UnwatchMemory();
        Leave();
    }

    const int children = WaitForChildren();
    std::string report = Line(kAllocations, std::to_string(allocations));
    report += Line(kOutcome, result + StateAfter(operation, call) + ".");
    if (children > 0 && !operation.leavesChildren && fault.call != "wait")
        report += Line(kViolation, "left a child");
    report += Line(kViolation, LogsOn(operation.component));
    report += Line(kViolation, CheckAgain(operation, fault, call, result));
    call = {};
    EndLogs(operation);
    if (operation.kept.descriptors > 0)
        return report;
    return report + Line(kViolation, test::DescriptorChanges(before, test::OpenDescriptors()));
}

// ---- beside it -----------------------------------------------------------------------------

void Add(std::vector<std::string>& allowed, const Row& row, const std::string& error)
{
    for (std::string outcome : row.outcomes) {
        for (auto place = outcome.find("%E"); place != std::string::npos;
             place = outcome.find("%E"))
            outcome.replace(place, 2, error);
        allowed.push_back(outcome);
    }
}

// One call failed: the first row that names it decides.
std::vector<std::string> AllowedOnce(const Operation& operation, const Fault& fault,
                                     const std::string& path)
{
    std::vector<std::string> allowed;
    // An open that a signal interrupts is made again where it reads or replaces a file.
    if (fault.call == "open" && fault.effect == "EINTR")
        allowed.push_back(operation.outcome);
    for (const Row& row : operation.rows) {
        if (HasWord(row.calls, fault.call) && Matches("*" + std::string(row.path) + "*", path) &&
            (row.effects[0] == '\0' || HasWord(row.effects, fault.effect))) {
            const int error = ErrnoOf(fault.effect);
            Add(allowed, row, error == 0 ? "*" : std::strerror(error));
            return allowed;
        }
    }
    return {operation.outcome};
}

// Whether a row is about one of the calls that a lasting fault makes fail, and about how it does.
bool IsAbout(const Row& row, const Fault& fault)
{
    const auto among = [](const std::vector<std::string>& names, const char* words) {
        return std::any_of(names.begin(), names.end(),
                           [&](const std::string& name) { return HasWord(words, name); });
    };
    return (HasWord(row.calls, "lasting") && fault.call != "allocation") ||
           (IsLimit(fault) && HasWord(row.calls, fault.call)) ||
           (among(CallsThatMeet(fault), row.calls) &&
            (row.effects[0] == '\0' || among(EffectsOfMeeting(fault), row.effects)));
}

// Many calls failed, on whatever path: each row that is about them counts.
std::vector<std::string> AllowedLasting(const Operation& operation, const Fault& fault)
{
    std::vector<std::string> allowed = {operation.outcome};
    for (const Row& row : operation.rows) {
        if (IsAbout(row, fault))
            Add(allowed, row, "*");
    }
    return allowed;
}

struct Verdict {
    TracedRun run;
    std::string outcome;
    int allocations = 0;
    std::vector<std::string> allowed;
    std::vector<std::string> violations;
};

void Parse(const std::string& report, Verdict& verdict)
{
    std::istringstream in(report);
    for (std::string line; std::getline(in, line);) {
        const auto after = [&line](const char* kind) { return line.substr(std::strlen(kind)); };
        if (line.rfind(kOutcome, 0) == 0)
            verdict.outcome = after(kOutcome);
        else if (line.rfind(kAllocations, 0) == 0)
            verdict.allocations = std::stoi(after(kAllocations));
        else
            verdict.violations.push_back(line.rfind(kViolation, 0) == 0 ? after(kViolation) : line);
    }
}

// What stays open in commands; the pipes of a stream are its command's.
void CheckCloseOnExec(const Operation& operation, Verdict& verdict)
{
    for (const SystemCall& call : verdict.run.calls) {
        const bool isCommands =
            operation.leavesChildren && (call.name == "pipe" || KindOf(call.name) == "dup");
        if (call.staysOpen && !isCommands && call.name.rfind(kOfChild, 0) != 0)
            verdict.violations.push_back("open in commands: " + call.name + " " + call.path);
    }
}

Verdict Examine(const Operation& operation, const Fault& fault, bool prints)
{
    EmptyDisk();
    Verdict verdict;
    verdict.run = RunWithFault(fault, [&] { return RunCase(operation, fault, prints); });
    if (IsFullDisk(fault))
        GiveDisksBack();  // its process may have ended before
    const std::string& ending = verdict.run.end.ending;
    Parse(verdict.run.end.text, verdict);
    if (verdict.outcome.empty())
        verdict.outcome = ending;
    else if (verdict.outcome.pop_back(); !ending.empty())  // a sanitizer's report, for example
        verdict.violations.push_back("ends with " + ending + " after its outcome");

    const bool once = !fault.lasts && !IsLimit(fault);
    verdict.allowed =
        once ? AllowedOnce(operation, fault, verdict.run.path) : AllowedLasting(operation, fault);
    if (std::none_of(verdict.allowed.begin(), verdict.allowed.end(),
                     [&](const std::string& pattern) { return Matches(pattern, verdict.outcome); }))
        verdict.violations.push_back("the outcome is not in the table: " + verdict.outcome);
    const bool ofTheKernel = fault.call != "allocation" && !IsLimit(fault);
    // A command that has ended by then is not killed: how fast it is differs from run to run.
    const bool ofAChild =
        operation.leavesChildren && (fault.call == "kill" || fault.call == "wait");
    if (ofTheKernel && !fault.call.empty() && !verdict.run.met && !ofAChild)
        verdict.violations.push_back("the call was not made");
    for (const std::string& name : ScratchFiles()) {
        if (fault.call != "unlink")
            verdict.violations.push_back("a scratch file is left: " + name);
    }
    if (fault.call.empty())
        CheckCloseOnExec(operation, verdict);
    return verdict;
}

// What a call's faults are, from the operation's run without one.
std::vector<Fault> FaultsOf(const Verdict& quiet)
{
    std::vector<Fault> faults;
    std::map<std::string, int> seen;
    for (const SystemCall& call : quiet.run.calls) {
        const int number = ++seen[call.name];
        for (const std::string& effect : EffectsOn(call))
            faults.push_back({call.name, number, false, effect});
        for (const std::string& effect : LastingEffectsOn(call.name))
            faults.push_back({call.name, number, true, effect});
    }
    for (int number = 1; number <= quiet.allocations; ++number) {
        faults.push_back({"allocation", number, false, "ENOMEM"});
        faults.push_back({"allocation", number, true, "ENOMEM"});
    }
    for (const Fault& limit : AllLimits()) {
        if (std::any_of(quiet.run.calls.begin(), quiet.run.calls.end(),
                        [&](const SystemCall& call) { return CanMeet(limit, call); }))
            faults.push_back(limit);
    }
    return faults;
}

std::string Describe(const Verdict& verdict)
{
    std::string text;
    for (const std::string& violation : verdict.violations)
        text += (text.empty() ? "" : "; ") + violation;
    text += "\n  path     " + verdict.run.path + "\n  outcome  " + verdict.outcome;
    for (const std::string& allowed : verdict.allowed)
        text += "\n  allowed  " + allowed;
    return text;
}

class Judge
{
public:
    explicit Judge(const Options& options) : tally_(options.isVerbose), isLong_(options.isLong) {}

    void Add(const Operation& operation)
    {
        ++operations_;
        const Verdict quiet = Look(operation, Fault());
        if (!quiet.violations.empty())
            return;  // its faults say nothing
        for (const Fault& fault : FaultsOf(quiet)) {
            if (isLong_ || next_++ % kEvery == 0)
                (void)Look(operation, fault);
        }
    }

    // Without the fault, if there is one, the operation must pass; with it, have this violation and
    // no other.
    void Find(const Operation& operation, const Fault& fault, const char* violation)
    {
        ++faultsMade_;
        const Verdict quiet = fault.call.empty() ? Verdict() : Examine(operation, Fault(), false);
        const Verdict verdict = Examine(operation, fault, false);
        if (quiet.violations.empty() && verdict.violations.size() == 1 &&
            Matches(violation, verdict.violations[0]))
            return;
        tally_.Add(operation.name, "not found: " + Describe(quiet) + Describe(verdict));
    }

    int Finish() const
    {
        std::cout << operations_ << " operations:";
        for (const auto& [call, count] : byCall_)
            std::cout << " " << call << " " << count;
        std::cout << "\n" << unnoticed_ << " did not show" << std::endl;
        return tally_.Finish("; " + std::to_string(faultsMade_) + " deliberate faults made");
    }

private:
    Verdict Look(const Operation& operation, const Fault& fault)
    {
        Verdict verdict = Examine(operation, fault, false);
        ++byCall_[fault.call.empty() ? "none" : fault.call];
        unnoticed_ += verdict.outcome == operation.outcome ? 1 : 0;
        tally_.Add(operation.name + "/" + NameOf(fault),
                   verdict.violations.empty() ? "" : Describe(verdict), verdict.outcome);
        return verdict;
    }

    Tally tally_;
    bool isLong_;
    int next_ = 0;
    int operations_ = 0;
    int unnoticed_ = 0;  // as without the fault
    std::map<std::string, int> byCall_;
    int faultsMade_ = 0;
};

// ---- faulty on purpose, each in what it does when a call of its own fails --------------------

constexpr char kFile[] = "/opt/d/file";

// step: called with the file, which is open for reading. Nothing to read from: false.
template <typename Step>
Operation Faulty(const char* name, Step step)
{
    return Plain(name, "true | file",
                 [step] {
                     const int file = ::open(kFile, O_RDONLY | O_CLOEXEC);
                     return step(file);
                 })
        .Lay([] { test::WriteFile(kFile, "content"); })
        .State([] { return Names("/opt/d"); })
        .Faults({{"open read write wait", "", "", {"false | file"}}});
}

bool HasByte(int file)
{
    char byte;
    return ::read(file, &byte, 1) == 1;
}

void FindFaulty(Judge& judge)
{
    const auto leaveDescriptor = [](int file) {
        if (!HasByte(file))
            return false;
        return ::close(file) == 0;
    };
    const auto leaveScratchFile = [](int file) {
        (void)::close(file);
        const int scratch = ::open("/var/tmp/qortmp0", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        const bool written = ::write(scratch, "text", 4) == 4;
        (void)::close(scratch);
        return written && ::unlink("/var/tmp/qortmp0") == 0;
    };
    const auto leaveChild = [](int file) {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(0);
        if (!HasByte(file)) {
            (void)::close(file);
            return false;
        }
        (void)::close(file);
        return ::waitpid(child, nullptr, 0) == child;
    };
    const auto mutex = std::make_shared<CMutexUtil>();
    (void)mutex->Create();
    const auto keepLock = [mutex](int file) {  // the second call waits for ever
        (void)mutex->Lock(-1);
        const bool read = HasByte(file);
        (void)::close(file);
        if (read)
            mutex->Unlock();
        return read;
    };
    const auto takeForGood = [](int file) {  // a failed read
        (void)HasByte(file);
        return ::close(file) == 0;
    };
    const auto openInCommands = [](int file) {
        const bool isCleared = ::fcntl(file, F_SETFD, 0) == 0;
        return ::close(file) == 0 && isCleared;
    };
    judge.Find(Faulty("faulty: descriptor", leaveDescriptor), {"read", 1, false, "EIO"},
               "opened * -> /opt/d/file~");
    judge.Find(Faulty("faulty: scratch", leaveScratchFile).Again(kNotAsked),
               {"write", 1, false, "ENOSPC"}, "a scratch file is left: qortmp0");
    judge.Find(Faulty("faulty: child", leaveChild), {"read", 1, false, "EIO"}, "left a child");
    judge.Find(Faulty("faulty: lock", keepLock), {"read", 1, false, "EIO"},
               "the outcome is not in the table: hangs");
    judge.Find(Faulty("faulty: result", takeForGood), {"read", 1, false, "EIO"},
               "the outcome is not in the table: true | file");
    judge.Find(Faulty("faulty: open in commands", openInCommands), {},
               "open in commands: control /opt/d/file");
}

// ---- one case ---------------------------------------------------------------------------------

std::optional<Fault> ParseFault(const std::string& text)
{
    if (text == "none")
        return Fault();
    const auto hash = text.find('#');
    const auto equals = text.find('=');
    if (hash == std::string::npos || equals == std::string::npos || equals < hash)
        return {};
    Fault fault;
    fault.call = text.substr(0, hash);
    fault.number = std::atoi(text.c_str() + hash + 1);
    fault.lasts = text[equals - 1] == '+';
    fault.effect = text.substr(equals + 1);
    return fault;
}

int Replay(const Operation& operation, const std::string& what)
{
    const auto fault = ParseFault(what);
    if (!fault)
        throw std::runtime_error("no such fault: " + what);
    const Verdict verdict = Examine(operation, *fault, true);
    std::map<std::string, int> seen;
    for (const SystemCall& call : verdict.run.calls)
        std::cout << call.name << "#" << ++seen[call.name] << " " << call.path << "\n";
    std::cout << verdict.allocations << " allocations\n";
    Tally tally(true);
    tally.Add(operation.name + "/" + what, verdict.violations.empty() ? "" : Describe(verdict),
              verdict.outcome);
    return tally.Finish();
}

}  // namespace

int Prove(const Options& options)
{
    Judge judge(options);
    return ProveOperations(options, {Replay, [&](const Operation& each) { judge.Add(each); },
                                     [&] { FindFaulty(judge); }, [&] { return judge.Finish(); }});
}

}  // namespace qor::proof

// An operation that the tracer holds up makes the same calls each time. The second stays: at a new
// one, the time zone's file is looked at.
extern "C" time_t time(time_t* result) noexcept
{
    static const time_t second = [] {
        timespec now = {};
        (void)::clock_gettime(CLOCK_REALTIME, &now);
        return now.tv_sec;
    }();
    if (result != nullptr)
        *result = second;
    return second;
}

// The clock of messages and scratch files goes on by a microsecond at each look.
extern "C" int gettimeofday(timeval* now, void*) noexcept
{
    static timeval next = {::time(nullptr), 0};
    if (++next.tv_usec == 1000000)
        next = {next.tv_sec + 1, 0};
    *now = next;
    return 0;
}
