// Every operation of the library where a program's threads and signals meet it:
//
//     stack       on a thread with a stack of 64 KiB
//     signals     while a signal comes each millisecond and ends the system calls that it meets
//     restarts    the same, with system calls that go on (SA_RESTART)
//     cancel#N    on a thread that is cancelled at the N-th cancellation point that it reaches
//
// The result is that of an undisturbed call; a cancelled thread ends alone: the process, its logs,
// its descriptors and its next call of the same operation are as before, and no child or scratch
// file is left.
//
// A case is NAME/SWEEP. Without --long all but what sleeps for half a minute. Operations that are
// faulty on purpose must be found.
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <string>

#include "proof/engine/Proof.h"
#include "proof/operations/Operation.h"
#include "proof/sweeps/Cancellation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

constexpr std::size_t kStackSize = 64 * 1024;
constexpr long kSignalPause = 1000000;  // nanoseconds
constexpr int kPollPoints = 20;
constexpr unsigned kLongest = 120;  // seconds of one case
constexpr char kPoints[] = "points ";

// ---- in the process of a case ------------------------------------------------------------------

void Attempt(const Call& call, Result& result)
{
    const pid_t self = ::getpid();
    result.clear();
    call.run(result);
    if (::getpid() != self)
        ::_exit(0);  // a child that came back into its caller's code
}

struct ThreadCall {
    const Call& call;
    Result& result;
    int point;   // to be cancelled at; 0: none
    int points;  // that there were
};

void* RunOnThread(void* argument)
{
    auto& that = *static_cast<ThreadCall*>(argument);
    WatchPoints(that.point);
    Attempt(that.call, that.result);
    that.points = UnwatchPoints();
    ::pthread_testcancel();  // of an operation that let its cancellation wait
    return nullptr;
}

// Runs the call on a thread of its own. Returns whether it was cancelled.
bool OnThread(ThreadCall& that, std::size_t stackSize)
{
    pthread_attr_t attributes;
    pthread_t thread;
    void* result = nullptr;
    Require(::pthread_attr_init(&attributes) == 0, "pthread_attr_init");
    if (stackSize != 0)
        Require(::pthread_attr_setstacksize(&attributes, stackSize) == 0, "stack size");
    Require(::pthread_create(&thread, &attributes, RunOnThread, &that) == 0, "pthread_create");
    (void)::pthread_attr_destroy(&attributes);
    Require(::pthread_join(thread, &result) == 0, "pthread_join");
    return result == PTHREAD_CANCELED;
}

void Ignore(int) {}

// A signal comes at each millisecond as long as this lives.
class SignalStorm
{
public:
    explicit SignalStorm(int flags)
    {
        struct sigaction action = {};
        action.sa_handler = Ignore;
        action.sa_flags = flags;
        Require(::sigaction(SIGUSR1, &action, nullptr) == 0, "sigaction");
        struct sigevent event = {};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGUSR1;
        Require(::timer_create(CLOCK_MONOTONIC, &event, &timer_) == 0, "timer_create");
        const itimerspec each = {{0, kSignalPause}, {0, kSignalPause}};
        Require(::timer_settime(timer_, 0, &each, nullptr) == 0, "timer_settime");
    }
    SignalStorm(const SignalStorm&) = delete;
    SignalStorm& operator=(const SignalStorm&) = delete;
    ~SignalStorm() { (void)::timer_delete(timer_); }

private:
    timer_t timer_;
};

void RequireResult(const std::string& expected, const std::string& result, const char* who)
{
    Require(Matches(expected, result), std::string(who) + " was given \"" + result + "\"");
}

// An operation with its objects, as the table lays them out.
class Subject
{
public:
    explicit Subject(const Operation& operation) : operation_(operation)
    {
        result.reserve(4096);
        operation.lay();
        call = operation.make();
    }

    void RequireUndisturbed() const
    {
        RequireResult(operation_.outcome, result + StateAfter(operation_, call), "the caller");
    }

    // The same caller calls again.
    void Repeat()
    {
        LayAgain(operation_, call);
        Attempt(call, result);
    }

    void End()
    {
        call = {};
        EndLogs(operation_);
    }

    Call call;
    Result result;

private:
    const Operation& operation_;
};

std::string RunOnSmallStack(const Operation& operation)
{
    Subject subject(operation);
    ThreadCall that = {subject.call, subject.result, 0, 0};
    (void)OnThread(that, kStackSize);
    (void)WaitForChildren();
    subject.RequireUndisturbed();
    return kPoints + std::to_string(that.points);
}

std::string RunInStorm(const Operation& operation, int flags)
{
    Subject subject(operation);
    {
        const SignalStorm storm(flags);
        Attempt(subject.call, subject.result);
    }
    (void)WaitForChildren();
    subject.RequireUndisturbed();
    return "";
}

std::string RunCancelled(const Operation& operation, int point)
{
    const test::DescriptorMap before = test::OpenDescriptors();
    Subject subject(operation);
    ThreadCall that = {subject.call, subject.result, point, 0};
    const bool cancelled = OnThread(that, 0);
    if (!cancelled && that.points < point)
        return "";  // a pipe had it in fewer pieces this time
    Require(cancelled, "the thread was not cancelled");
    Require(
        WaitForChildren() == 0 || operation.leavesChildren || operation.leavesChildWhenCancelled,
        "a child is left");
    for (const std::string& name : ScratchFiles())
        throw Violation("a scratch file is left: " + name);
    const std::string silent = LogsOn(operation.component);
    Require(silent.empty(), silent);
    if (operation.IsAsked()) {
        subject.Repeat();
        (void)WaitForChildren();
        RequireResult(operation.SecondResult(), subject.result, "a second caller");
    }
    subject.End();
    if (operation.kept.descriptors == 0) {
        const std::string changes = test::DescriptorChanges(before, test::OpenDescriptors());
        Require(changes.empty(), changes);
    }
    return "";
}

// ---- beside it ---------------------------------------------------------------------------------

constexpr char kStack[] = "stack";
constexpr char kSignals[] = "signals";
constexpr char kRestarts[] = "restarts";
constexpr char kCancel[] = "cancel#";

std::string RunCase(const Operation& operation, const std::string& sweep)
{
    DropMessages();
    if (sweep == kStack)
        return RunOnSmallStack(operation);
    if (sweep == kSignals)
        return RunInStorm(operation, 0);
    if (sweep == kRestarts)
        return RunInStorm(operation, SA_RESTART);
    Require(sweep.rfind(kCancel, 0) == 0, "no such sweep: " + sweep);
    return RunCancelled(operation, std::stoi(sweep.substr(std::strlen(kCancel))));
}

struct Verdict {
    std::string violation;
    int points = 0;
};

Verdict Examine(const Operation& operation, const std::string& sweep)
{
    EmptyDisk();
    Worker worker([&] { return RunCase(operation, sweep); }, kLongest);
    const Worker::End end = worker.Wait();
    const bool toldPoints = end.ending.empty() && end.text.rfind(kPoints, 0) == 0;
    if (toldPoints)
        return {"", std::stoi(end.text.substr(std::strlen(kPoints)))};
    return {end.Failure(), 0};
}

class Judge
{
public:
    explicit Judge(const Options& options) : options_(options), tally_(options.isVerbose) {}

    void Add(const Operation& operation)
    {
        if (operation.sleepsLong && !options_.isLong)
            return;
        ++operations_;
        const int points = Look(operation, kStack);
        (void)Look(operation, kSignals);
        (void)Look(operation, kRestarts);
        // A wait of half a minute has a point for each poll, one like the other.
        const int last = operation.sleepsLong ? std::min(points, kPollPoints) : points;
        for (int point = 1; point <= last; ++point)
            (void)Look(operation, kCancel + std::to_string(point));
    }

    // The operation passes the stack's sweep but for `sweep`, where it is violated.
    void Find(const Operation& operation, const std::string& sweep)
    {
        ++faults_;
        if (sweep != kStack && !Examine(operation, kStack).violation.empty())
            tally_.Add(operation.name, "is not sound without a fault");
        if (Examine(operation, sweep).violation.empty())
            tally_.Add(operation.name, "its fault was not found");
    }

    int Look(const Operation& operation, const std::string& sweep)
    {
        const Verdict verdict = Examine(operation, sweep);
        tally_.Add(operation.name + "/" + sweep, verdict.violation);
        return verdict.points;
    }

    int Finish() const
    {
        return tally_.Finish("; " + std::to_string(operations_) + " operations, " +
                             std::to_string(faults_) + " deliberate faults made");
    }

private:
    const Options& options_;
    Tally tally_;
    int operations_ = 0;
    int faults_ = 0;
};

// ---- faulty on purpose -------------------------------------------------------------------------

constexpr char kFile[] = "/opt/d/file";

template <typename Step>
Operation Faulty(const char* name, Step step)
{
    return Plain(name, "done",
                 [step](Result& result) {
                     step();
                     result += "done";
                 })
        .Lay([] {
            test::MakeLogDirectory();
            test::WriteFile(kFile, "content");
        });
}

void ReadOnce(int file)
{
    char byte;
    const ssize_t count = ::read(file, &byte, 1);
    (void)count;
}

// Ends the process when the thread is cancelled in its destructor.
struct ClosesInDestructor {
    int file;
    ~ClosesInDestructor() { (void)::close(file); }
};

void FindFaulty(Judge& judge)
{
    judge.Find(Faulty("faulty: stack",
                      [] {
                          volatile char block[2 * kStackSize];
                          for (std::size_t i = 0; i < sizeof block; i += 1024)
                              block[i] = 1;
                      }),
               kStack);
    judge.Find(Faulty("faulty: sleep",
                      [] {
                          const timespec time = {0, 50 * kSignalPause};
                          Require(::nanosleep(&time, nullptr) == 0, "slept too short");
                      }),
               kSignals);
    judge.Find(Faulty("faulty: descriptor",
                      [] {
                          const int file = ::open(kFile, O_RDONLY | O_CLOEXEC);
                          ReadOnce(file);
                          (void)::close(file);
                      }),
               "cancel#2");
    judge.Find(Faulty("faulty: destructor",
                      [] {
                          const ClosesInDestructor file{::open(kFile, O_RDONLY | O_CLOEXEC)};
                          ReadOnce(file.file);
                      }),
               "cancel#3");
}

}  // namespace

int Prove(const Options& options)
{
    Judge judge(options);
    const auto replay = [&](const Operation& operation, const std::string& sweep) {
        (void)judge.Look(operation, sweep);
        return judge.Finish();
    };
    return ProveOperations(options, {replay, [&](const Operation& each) { judge.Add(each); },
                                     [&] { FindFaulty(judge); }, [&] { return judge.Finish(); }});
}

}  // namespace qor::proof
