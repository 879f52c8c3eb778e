// hostile.cpp - operations run as root with something of another account's in their way: links,
// FIFOs, directories and files at every name that the library uses. Nothing outside the library's
// own files changes and nothing waits for good, except what docs/running-as-root.md declares.
//
// Without --long, each name meets the operations that use it; with it, every operation.
// QOR_PROOF_FAULT=NAME shows that the check can fail:
//     stranger   each operation also changes a file of the system's: all cases must fail
//     write      each operation also writes to a file of root's: all must fail but those that are
//                declared to do so
//     declare    no declaration holds: the cases that have one must fail, and no other
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "proof/engine/Proof.h"
#include "proof/hostile/Cases.h"
#include "proof/hostile/HostileDisk.h"
#include "support/Files.h"
#include "support/ReplacedFile.h"
#include "support/TestPaths.h"
#include "support/WaitUntil.h"

namespace qor::proof {
namespace {

constexpr long kBusyTicks = 100;  // clock ticks of processor time (a second): busy for good
// The process and all below it.
std::vector<pid_t> Family(pid_t first)
{
    std::vector<pid_t> family{first};
    for (std::size_t i = 0; i < family.size(); ++i) {
        const std::string pid = std::to_string(family[i]);
        std::ifstream list("/proc/" + pid + "/task/" + pid + "/children");
        for (pid_t child = 0; list >> child;)
            family.push_back(child);
    }
    return family;
}

std::string FirstLine(const std::string& path)
{
    std::string line;
    std::getline(std::ifstream(path), line);
    return line;
}

bool IsOpen(long systemCall)
{
#ifdef SYS_open  // of older machines
    if (systemCall == SYS_open)
        return true;
#endif
    return systemCall == SYS_openat;
}

// Sleeps in open(2) or openat(2), as nothing but a FIFO makes it. proc(5): the number of the system
// call comes first; "running" of a process that is in none.
bool WaitsInOpen(pid_t pid)
{
    const std::string process = "/proc/" + std::to_string(pid);
    const std::string call = FirstLine(process + "/syscall");
    const std::string status = FirstLine(process + "/stat");
    const auto name = status.rfind(')');
    char* end = nullptr;
    const long number = std::strtol(call.c_str(), &end, 10);
    return name != std::string::npos && status.compare(name, 3, ") S") == 0 &&
           end != call.c_str() && IsOpen(number);
}

// In clock ticks.
long ProcessorTime(pid_t pid)
{
    const std::string status = FirstLine("/proc/" + std::to_string(pid) + "/stat");
    const auto name = status.rfind(')');
    if (name == std::string::npos)
        return 0;
    std::istringstream fields(status.substr(name + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return user + system;
}

unsigned WatchedEffects(pid_t first)
{
    for (const pid_t pid : Family(first)) {
        if (WaitsInOpen(pid))
            return kWaits;
        if (ProcessorTime(pid) >= kBusyTicks)
            return kSpins;
    }
    return kNothing;
}

struct Outcome {
    unsigned effects = kNothing;
    std::string handedOut;
    std::string failure;  // of the run itself
};

// A change beside the operation's own, as an operation would make it.
void CommitFault()
{
    if (DeliberateFault() == "write")
        test::AppendFile("/opt/outside/victim", "fault");
    else if (DeliberateFault() == "stranger")
        test::AppendFile("/etc/passwd", "fault");
}

// In a process of its own, which is the first of its group.
std::string RunAlone(const HostileOperation& operation)
{
    (void)::setpgid(0, 0);
    DropMessages();
    CommitFault();  // first: an operation that waits for good does nothing afterwards
    try {
        return operation.run();
    } catch (const std::out_of_range&) {
        return "";  // of a forged cache or log, as the headers say
    }
}

// Runs the operation and watches it until it ends, or waits or spins for good.
Outcome Run(const HostileOperation& operation)
{
    constexpr unsigned kNoLimit = 0;
    Worker worker([&operation] { return RunAlone(operation); }, kNoLimit);
    const pid_t child = worker.Pid();
    Outcome outcome;
    int status = 0;
    bool ended = false;
    const bool decided = test::WaitUntil([&] {
        ended = ::waitpid(child, &status, WNOHANG) == child;
        if (!ended)
            outcome.effects = WatchedEffects(child);
        return ended || outcome.effects != kNothing;
    });
    (void)::kill(-child, SIGKILL);  // commands that are left, too
    if (!ended)
        (void)::waitpid(child, nullptr, 0);
    else
        outcome.effects = kNothing;
    const Worker::End end = worker.Ended(status);
    if (!decided)
        outcome.failure = "neither ended nor waited in open(2)";
    else if (ended && status != 0)
        outcome.failure = end.ending + " " + end.text;
    if (ended)
        outcome.handedOut = end.text;
    return outcome;
}

struct Case {
    const Name* name;
    Kind kind;
    const HostileOperation* operation;
    bool isUser;  // the operation uses the name

    std::string Id() const { return operation->id + " @ " + name->path + " @ " + KindName(kind); }
};

template <typename List, typename Item>
bool Holds(const List& list, const Item& item)
{
    return std::find(list.begin(), list.end(), item) != list.end();
}

const Declaration* FindDeclaration(const Case& c)
{
    if (DeliberateFault() == "declare")
        return nullptr;
    for (const Declaration& declaration : Declarations()) {
        if (declaration.path == c.name->path && (declaration.kinds & c.kind) != 0 &&
            Holds(declaration.operations, c.operation->id))
            return &declaration;
    }
    return nullptr;
}

std::vector<Case> AllCases(bool isLong)
{
    std::vector<Case> cases;
    for (const Name& name : Names()) {
        for (const Kind kind : KindsOf(name.kinds)) {
            for (const HostileOperation& operation : HostileOperations()) {
                const bool isUser = Holds(name.users, operation.id);
                // A name with two rows meets the others once.
                if (isUser || (isLong && !name.untouched))
                    cases.push_back({&name, kind, &operation, isUser});
            }
        }
    }
    return cases;
}

struct Verdict {
    unsigned expected = kNothing;
    unsigned actual = kNothing;
    std::string violation;  // "": held
};

Verdict Judge(const Case& c)
{
    MakeInstallation();
    Plant(c.name->path, c.kind);
    c.operation->prepare(c.name->path);
    const Snapshot before;
    const Outcome outcome = Run(*c.operation);
    const Snapshot after;

    Verdict verdict;
    const Declaration* const declaration = FindDeclaration(c);
    verdict.expected = declaration == nullptr ? kNothing : declaration->effects;
    std::string notes;
    verdict.actual = outcome.effects | Snapshot::Compare(before, after, c.name->path, notes);
    if (outcome.handedOut.find(kSecret) != std::string::npos)
        verdict.actual |= kSecretShown;

    if (verdict.actual != verdict.expected)
        verdict.violation = "expected " + EffectNames(verdict.expected) +
                            "; it did: " + EffectNames(verdict.actual) + " (" + notes + ")";
    else if (!outcome.failure.empty())
        verdict.violation = outcome.failure;
    else if (c.name->untouched && c.isUser && Snapshot::DifferAt(before, after, c.name->path))
        verdict.violation = "what was planted is not as it was";
    return verdict;
}

// Declarations whose mark the page does not hold.
void CheckMarks(Tally& tally)
{
    const std::string page = test::ReadFile(test::SourcePath("docs/running-as-root.md"));
    for (const Declaration& declaration : Declarations()) {
        if (page.find(declaration.mark) == std::string::npos)
            tally.Add("docs/running-as-root.md", "does not have the mark " + declaration.mark);
    }
}

// The constants of src/base/Paths.h at which something is planted.
std::vector<std::string> PlantedConstants()
{
    std::vector<std::string> constants;
    for (const Name& name : Names()) {
        if (!name.constant.empty())
            constants.push_back(name.constant);
    }
    return constants;
}

}  // namespace

int Prove(const Options& options)
{
    if (options.listsNames)
        return PrintNames(PlantedConstants(), LeftOutConstants());
    (void)::setenv("TZ", "UTC0", 1);
    MountUnprotectedDirectories();
    MountOwnSettings();
    const test::StubCommand dmidecode("/usr/sbin/dmidecode",
                                      "printf 'System Information\\n\\tUUID: u\\n'");
    const test::ReplacedFile banner("/etc/motd");
    const test::ReplacedFile bystander("/etc/bystander");

    Tally tally(options.isVerbose);
    CheckMarks(tally);
    std::map<unsigned, long> outcomes;
    for (const Case& c : AllCases(options.isLong || !options.id.empty())) {
        if (!options.Want(c.Id()))
            continue;
        const Verdict verdict = Judge(c);
        ++outcomes[verdict.actual];
        tally.Add(c.Id(), verdict.violation, EffectNames(verdict.actual));
    }
    for (const auto& [effects, times] : outcomes)
        std::cout << times << " cases: " << EffectNames(effects) << '\n';
    return tally.Finish();
}

}  // namespace qor::proof
