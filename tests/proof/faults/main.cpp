// Every operation of the library that touches files, processes or memory, with every call that it
// makes failing once, in each way that the call can.
//
//     qor_proof_faults                     every 7th case
//     qor_proof_faults --every N           every Nth case: 1 for all
//     qor_proof_faults --list              the names of the operations
//     qor_proof_faults --only OPERATION    the cases of one operation
//     qor_proof_faults --case ID           one case, with the calls that it makes
//     qor_proof_faults --log FILE          a line per case into a file
//
// Exit status: 0 when every case is as the table allows and every operation that is faulty on
// purpose has been found, 1 otherwise.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <new>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "CTraceUtility.h"
#include "proof/faults/Disk.h"
#include "proof/faults/Fault.h"
#include "proof/faults/Injector.h"
#include "proof/faults/Memory.h"
#include "proof/faults/Operation.h"
#include "proof/support/Proof.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/PrivateMounts.h"
#include "support/ReplacedFile.h"

namespace qor::proof {
namespace {

using test::DescriptorMap;

constexpr char kMark[] = "the log goes on";

// The lines of a report.
constexpr char kOutcome[] = "outcome ";
constexpr char kViolation[] = "violation ";
constexpr char kAllocations[] = "allocations ";

// ---- in the process of the operation -----------------------------------------------------

class Limits
{
public:
    explicit Limits(const Fault& fault)
    {
        if (fault.call == "disk")
            LeavePages(static_cast<unsigned long>(fault.number));
        if (fault.call == "files")
            LeaveFiles(static_cast<unsigned long>(fault.number));
        isFullDisk_ = IsFullDisk(fault);
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
            GiveDiskBack();
        if (which_)
            (void)::setrlimit(*which_, &former_);  // back to what it was: cannot fail
    }

private:
    bool isFullDisk_ = false;
    std::optional<__rlimit_resource> which_;
    rlimit former_ = {};
};

enum class Thrown { Nothing, BadAlloc, Other };

Thrown Attempt(const Prepared& prepared)
{
    const pid_t self = ::getpid();
    Thrown thrown = Thrown::Nothing;
    try {
        prepared.run();
    } catch (const std::bad_alloc&) {
        thrown = Thrown::BadAlloc;
    } catch (...) {
        thrown = Thrown::Other;
    }
    if (::getpid() != self)
        ::_exit(0);  // a child that came back into its caller's code
    return thrown;
}

std::string Told(Thrown thrown, const Prepared& prepared)
{
    switch (thrown) {
        case Thrown::Nothing:
            return prepared.result();
        case Thrown::BadAlloc:
            return "bad_alloc";
        case Thrown::Other:
            break;
    }
    return "an exception";
}

// Children that nobody has waited for; waits for all of them.
int WaitForChildren()
{
    int left = 0;
    while (::waitpid(-1, nullptr, 0) > 0)
        ++left;
    return left;
}

// A record to each log: a lock that is still held would hang here.
std::string LogsOn(const std::string& component)
{
    CTraceUtility::WriteDebug(component.c_str(), CTraceUtility::TRACE_DBG_INFO, "%s", kMark);
    std::string logs;
    for (const std::string& name : test::LogFileNames(component, test::kDebugLog)) {
        if (name.find(".gz") == std::string::npos)
            logs += test::ReadFile(test::LogPath(name));
    }
    return logs.find(kMark) == std::string::npos ? "the log of " + component + " is silent" : "";
}

std::string Line(const char* kind, std::string text)
{
    std::replace(text.begin(), text.end(), '\n', '~');
    return kind + text + "\n";
}

bool Leaves(const Operation& operation, const Fault& fault)
{
    return operation.leavesChildren || fault.call == "wait";
}

// A command that found no descriptor prints nothing.
bool CutsFiles(const Fault& fault)
{
    return fault.call == "filesize" || fault.call == "descriptors" || IsFullDisk(fault);
}

std::string CheckAgain(const Operation& operation, const Fault& fault, const Prepared& prepared)
{
    if (operation.again == nullptr || (operation.keepsCutFile && CutsFiles(fault)))
        return "";
    const std::string_view outcome = operation.outcome;
    const std::string expected = std::strcmp(operation.again, "=") == 0
                                     ? std::string(outcome.substr(0, outcome.find(" | ")))
                                     : operation.again;
    const std::string told = Told(Attempt(prepared), prepared);
    (void)WaitForChildren();
    return told == expected ? "" : "a second run tells \"" + told + "\"";
}

// What the operation and its commands print.
void DropMessages()
{
    const test::OwnedFd nothing(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (nothing.get() < 0 || ::dup2(nothing.get(), STDERR_FILENO) != STDERR_FILENO)
        test::ThrowErrno("/dev/null");
}

std::string RunCase(const Operation& operation, const Fault& fault, bool tell)
{
    if (!tell)
        DropMessages();
    const DescriptorMap before = test::OpenDescriptors();
    const Prepared prepared = operation.prepare();
    Thrown thrown;
    int allocations = 0;
    {
        const Limits limits(fault);
        const bool memory = fault.call == "allocation";
        Enter();
        WatchMemory(memory ? fault.number : 0, fault.lasts, tell);
        thrown = Attempt(prepared);
        allocations = UnwatchMemory();
        Leave();
    }

    const int children = WaitForChildren();
    std::string report = Line(kAllocations, std::to_string(allocations));
    report += Line(kOutcome, Told(thrown, prepared) + " | " + operation.state());
    if (children > 0 && !Leaves(operation, fault))
        report += Line(kViolation, "left a child");

    for (const std::string& failure :
         {LogsOn(operation.component), CheckAgain(operation, fault, prepared)}) {
        if (!failure.empty())
            report += Line(kViolation, failure);
    }
    prepared.close();
    CTraceUtility::Terminate(operation.component);
    ::closelog();
    const std::string changes = test::DescriptorChanges(before, test::OpenDescriptors());
    if (!changes.empty())
        report += Line(kViolation, changes);
    return report;
}

// ---- beside it -----------------------------------------------------------------------------

std::vector<std::string> Words(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

bool HasWord(const char* words, const std::string& word)
{
    const std::vector<std::string> all = Words(words);
    return std::find(all.begin(), all.end(), word) != all.end();
}

// "*" matches any text.
bool Matches(std::string_view pattern, std::string_view text)
{
    if (pattern.empty())
        return text.empty();
    if (pattern[0] != '*')
        return !text.empty() && pattern[0] == text[0] && Matches(pattern.substr(1), text.substr(1));
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (Matches(pattern.substr(1), text.substr(i)))
            return true;
    }
    return false;
}

std::string WithErrno(std::string outcome, const std::string& text)
{
    for (auto place = outcome.find("%E"); place != std::string::npos; place = outcome.find("%E"))
        outcome.replace(place, 2, text);
    return outcome;
}

void Add(std::vector<std::string>& allowed, const Row& row, const std::string& error)
{
    for (const char* const outcome : row.outcomes)
        allowed.push_back(WithErrno(outcome, error));
}

// One call failed: the first row that names it decides.
std::vector<std::string> AllowedOnce(const Operation& operation, const Fault& fault,
                                     const std::string& path)
{
    std::vector<std::string> allowed;
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
bool TellsOf(const Row& row, const Fault& fault)
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

// Many calls failed, on whatever path: each row that tells of them counts.
std::vector<std::string> AllowedLasting(const Operation& operation, const Fault& fault)
{
    std::vector<std::string> allowed = {operation.outcome};
    for (const Row& row : operation.rows) {
        if (TellsOf(row, fault))
            Add(allowed, row, "*");
    }
    return allowed;
}

struct Case {
    const Operation* operation;
    Fault fault;
};

std::string IdOf(const Case& one)
{
    return std::string(one.operation->name) + "/" + NameOf(one.fault);
}

struct Verdict {
    Run run;
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
        else if (line.rfind(kViolation, 0) == 0)
            verdict.violations.push_back(after(kViolation));
        else if (line.rfind(kAllocations, 0) == 0)
            verdict.allocations = std::stoi(after(kAllocations));
    }
}

void EmptyDisk()
{
    test::EmptyDirectory("/opt");
    test::EmptyDirectory("/var/tmp");
    for (const char* const path : {"/etc/motd", "/tmp/motd", "/dev/log"})
        test::RemoveTree(path);
    test::MakeDirs("/opt/velmora/qor");  // which an installation brings
}

void CheckScratch(const Fault& fault, Verdict& verdict)
{
    for (const std::string& name : test::ListDir("/var/tmp")) {
        if (name.rfind("qortmp", 0) == 0 && fault.call != "unlink")
            verdict.violations.push_back("a scratch file is left: " + name);
    }
}

Verdict Examine(const Case& one, bool tell)
{
    EmptyDisk();
    one.operation->lay();
    Verdict verdict;
    verdict.run = RunWithFault(one.fault, [&] { return RunCase(*one.operation, one.fault, tell); });
    if (IsFullDisk(one.fault))
        GiveDiskBack();  // its process may have ended before
    Parse(verdict.run.report, verdict);
    if (verdict.outcome.empty())
        verdict.outcome = verdict.run.ending;
    else if (!verdict.run.ending.empty())  // a sanitizer's report is told by the status alone
        verdict.violations.push_back("ends with " + verdict.run.ending + " behind its outcome");

    const bool once = !one.fault.lasts && !IsLimit(one.fault);
    verdict.allowed = once ? AllowedOnce(*one.operation, one.fault, verdict.run.path)
                           : AllowedLasting(*one.operation, one.fault);
    if (std::none_of(verdict.allowed.begin(), verdict.allowed.end(),
                     [&](const std::string& pattern) { return Matches(pattern, verdict.outcome); }))
        verdict.violations.push_back("the outcome is not in the table: " + verdict.outcome);
    const bool ofTheKernel = one.fault.call != "allocation" && !IsLimit(one.fault);
    if (ofTheKernel && !one.fault.call.empty() && !verdict.run.met)
        verdict.violations.push_back("the call was not made");
    CheckScratch(one.fault, verdict);
    return verdict;
}

// What a call's faults are, from the operation's run without one.
std::vector<Fault> FaultsOf(const Verdict& quiet)
{
    std::vector<Fault> faults;
    std::map<std::string, int> seen;
    for (const Call& call : quiet.run.calls) {
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
                        [&](const Call& call) { return CanMeet(limit, call); }))
            faults.push_back(limit);
    }
    return faults;
}

Operations AllOperations()
{
    Operations all;
    for (const Operations& some :
         {ConfigurationOperations(), LogOperations(), ChannelOperations(), HostOperations(),
          ObjectOperations(), SystemOperations(), ValueOperations()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

struct Figures {
    int operations = 0;
    int cases = 0;
    int unnoticed = 0;  // as without the fault
    std::map<std::string, int> byCall;
    int violations = 0;
    int faultsMade = 0;
    int faultsFound = 0;
};

void Print(const Case& one, const Verdict& verdict)
{
    std::cout << "VIOLATION " << IdOf(one) << "\n  path     " << verdict.run.path << "\n  outcome  "
              << verdict.outcome << "\n";
    for (const std::string& allowed : verdict.allowed)
        std::cout << "  allowed  " << allowed << "\n";
    for (const std::string& violation : verdict.violations)
        std::cout << "  " << violation << "\n";
    std::cout << std::flush;
}

class Proof
{
public:
    Proof(std::FILE* log, int every) : log_(log), every_(every) {}

    void Add(const Operation& operation)
    {
        ++figures_.operations;
        const Verdict quiet = Judge({&operation, Fault()});
        if (!quiet.violations.empty())
            return;  // its faults say nothing
        for (const Fault& fault : FaultsOf(quiet)) {
            if (next_++ % every_ == 0)
                (void)Judge({&operation, fault});
        }
    }

    // Without its fault the operation must pass.
    void Find(const Faulty& faulty)
    {
        ++figures_.faultsMade;
        const Verdict quiet = Examine({&faulty.operation, Fault()}, false);
        const Verdict verdict = Examine({&faulty.operation, faulty.fault}, false);
        if (quiet.violations.empty() && verdict.violations.size() == 1 &&
            Matches(faulty.violation, verdict.violations[0])) {
            ++figures_.faultsFound;
            return;
        }
        std::cout << "NOT FOUND: " << faulty.violation << "\n";
        Print({&faulty.operation, Fault()}, quiet);
        Print({&faulty.operation, faulty.fault}, verdict);
    }

    const Figures& Result() const { return figures_; }

private:
    Verdict Judge(const Case& one)
    {
        Verdict verdict = Examine(one, false);
        ++figures_.cases;
        ++figures_.byCall[one.fault.call.empty() ? "none" : one.fault.call];
        figures_.unnoticed += verdict.outcome == one.operation->outcome;
        if (!verdict.violations.empty()) {
            ++figures_.violations;
            Print(one, verdict);
        }
        if (log_ != nullptr)
            (void)std::fprintf(log_, "%s %s -> %s\n", verdict.violations.empty() ? "ok" : "BAD",
                               IdOf(one).c_str(), verdict.outcome.c_str());
        return verdict;
    }

    std::FILE* log_;
    int every_;
    int next_ = 0;
    Figures figures_;
};

void Print(const Figures& figures)
{
    std::cout << figures.operations << " operations, " << figures.cases << " cases:";
    for (const auto& [call, count] : figures.byCall)
        std::cout << " " << call << " " << count;
    std::cout << "\n"
              << figures.cases - figures.unnoticed << " told the caller or changed what was left, "
              << figures.unnoticed << " did not show\n"
              << figures.violations << " violations; " << figures.faultsFound << " of "
              << figures.faultsMade << " deliberate faults found\n";
}

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

int Replay(const Operations& operations, const std::string& id)
{
    const auto slash = id.find('/');
    const auto operation = std::find_if(
        operations.begin(), operations.end(),
        [&](const Operation& candidate) { return id.compare(0, slash, candidate.name) == 0; });
    const auto fault = slash == std::string::npos ? std::nullopt : ParseFault(id.substr(slash + 1));
    if (operation == operations.end() || !fault) {
        std::cerr << "no such case: " << id << "\n";
        return 2;
    }
    const Case one = {&*operation, *fault};
    const Verdict verdict = Examine(one, true);
    std::map<std::string, int> seen;
    for (const Call& call : verdict.run.calls)
        std::cout << call.name << "#" << ++seen[call.name] << " " << call.path << "\n";
    std::cout << verdict.allocations << " allocations\n" << verdict.outcome << "\n";
    if (!verdict.violations.empty())
        Print(one, verdict);
    return verdict.violations.empty() ? 0 : 1;
}

struct Options {
    std::string only;
    std::string id;
    std::string log;
    int every = 7;
    bool list = false;
};

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name == "--list") {
            options.list = true;
        } else if (i + 1 == argc) {
            return {};
        } else if (name == "--only") {
            options.only = argv[++i];
        } else if (name == "--case") {
            options.id = argv[++i];
        } else if (name == "--log") {
            options.log = argv[++i];
        } else if (name == "--every") {
            options.every = std::max(1, std::atoi(argv[++i]));
        } else {
            return {};
        }
    }
    return options;
}

// Commands of the host that answer the same on each machine.
int RunAll(const Options& options, std::FILE* log)
{
    test::EnterPrivateMounts();
    (void)::umask(022);
    CloseStandardInput();
    const test::StubCommand uname("/usr/bin/uname", "echo is$1 and more");
    const test::StubCommand dmidecode("/usr/sbin/dmidecode",
                                      "printf 'System Information\\n\\tUUID: 42\\n'");
    const test::StubCommand wall("/usr/bin/wall", "echo \"$1\" > /opt/told");

    Operations operations = AllOperations();
    if (!options.id.empty()) {
        for (const Faulty& faulty : FaultyOperations())
            operations.push_back(faulty.operation);
        return Replay(operations, options.id);
    }
    Proof proof(log, options.every);
    for (const Operation& operation : operations) {
        if (options.only.empty() || options.only == operation.name)
            proof.Add(operation);
    }
    for (const Faulty& faulty : FaultyOperations()) {
        if (options.only.empty() || options.only == faulty.operation.name)
            proof.Find(faulty);
    }
    const Figures& figures = proof.Result();
    Print(figures);
    return figures.operations + figures.faultsMade > 0 && figures.violations == 0 &&
                   figures.faultsFound == figures.faultsMade
               ? 0
               : 1;
}

int Main(int argc, char** argv)
{
    const auto options = ParseOptions(argc, argv);
    if (!options) {
        std::cerr << "usage: qor_proof_faults [--every N] [--only OPERATION] [--log FILE]"
                     " | --case ID | --list\n";
        return 2;
    }
    if (options->list) {
        for (const Operation& operation : AllOperations())
            std::cout << operation.name << "\n";
        return 0;
    }
    // Opened before the mounts: it may lie where they hide it.
    std::FILE* const log = options->log.empty() ? nullptr : std::fopen(options->log.c_str(), "we");
    if (!options->log.empty() && log == nullptr)
        test::ThrowErrno("open " + options->log);
    const int status = RunAll(*options, log);
    if (log != nullptr && std::fclose(log) != 0)
        test::ThrowErrno("close " + options->log);
    return status;
}

}  // namespace
}  // namespace qor::proof

int main(int argc, char** argv)
{
    // The standard descriptors and no others: those that somebody has left open, or closed, would
    // make room for others when they are limited.
    for (int file = 0; file >= 0 && file <= STDERR_FILENO;)
        file = ::open("/dev/null", O_RDWR);
    (void)::close_range(STDERR_FILENO + 1, ~0U, 0);
    try {
        return qor::proof::Main(argc, argv);
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << "\n";
        return 2;
    }
}
