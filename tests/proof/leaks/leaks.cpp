// leaks.cpp - every public operation called over and over: descriptors, children, files, mappings
// and heap as before, the resident memory flat; what is kept by contract is exactly that.
//
//     qor_proof_leaks [--long] [--verbose] [--case ID]    measures, each case in a process of its
//     own
//     qor_proof_leaks --names      the names covered, and those excluded
//     qor_proof_leaks --touches    the calls of the kernel and the allocations of each name
//
// Exits with 1 on any violation. QOR_PROOF_LEAKS_FAULT=heap, memory, mapping, descriptor, child,
// file or log makes each call keep one such thing. All cases must then fail, except
//     memory    commands in the short form: their six calls keep 24 KiB, less than may be touched
//               late; and a forgotten scan, whose documented blocks are hardly touched
//     child     pipe streams whose body waits for whatever child there is
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "leaks/HeapCount.h"
#include "leaks/Operations.h"
#include "leaks/Touch.h"
#include "proof/support/Options.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/PrivateMounts.h"
#include "support/ReplacedFile.h"

namespace qor::proof {
namespace {

using test::WriteFile;

// KiB. The heap is counted to the byte beside it, so that this guards what is no heap: stacks and
// mappings. Those come by pages of 4 KiB, and sixteen of them may be touched late, by a path that
// the first calls did not take (a rotation, a time zone read anew). A page lost by one call in
// six thousand would still show in the long form.
constexpr long kTolerance = 64;

// Bytes that a block takes beside those asked for, at the most: what HeapCount.cpp puts in front,
// its alignment, the allocator's own head and rounding.
constexpr long kBlockOverhead = 64;

constexpr unsigned kLongestCase = 900;  // seconds; ends a case that hangs

struct Calls {
    long warm;  // before the first measurement
    long all;
};

Calls CallsOf(Cost cost, bool isLong)
{
    if (isLong)
        return {1000, cost == Cost::kCheap ? 100000 : 2000};
    return cost == Cost::kCheap
               ? Calls{500, 1000}
               : Calls{cost == Cost::kCommand ? 3 : 10, cost == Cost::kCommand ? 9 : 60};
}

// A deliberate fault, to show that the measurement can fail.
class Fault
{
public:
    Fault()
    {
        const char* const name = std::getenv("QOR_PROOF_LEAKS_FAULT");
        name_ = name == nullptr ? "" : name;
    }

    void Commit() const
    {
        if (name_ == "heap")
            lost_ = std::malloc(1);
        else if (name_ == "memory")
            KeepPage();
        else if (name_ == "mapping")
            KeepMapping();
        else if (name_ == "descriptor")
            (void)::dup(0);
        else if (name_ == "child")
            KeepChild();
        else if (name_ == "file")
            WriteFile("/var/tmp/qortmp" + std::to_string(++number_), "");
        else if (name_ == "log")
            WriteFile(std::string(test::kLogDirectory) + "/QOR_fault_dbg_" +
                          std::to_string(++number_) + ".log",
                      "");
        else if (!name_.empty())
            throw std::runtime_error("QOR_PROOF_LEAKS_FAULT: no such fault: " + name_);
    }

private:
    // On the heap's side invisible: pages of one large mapping, touched one after the other.
    void KeepPage() const
    {
        static char* const pages =
            static_cast<char*>(::mmap(nullptr, kPages * kPageSize, PROT_READ | PROT_WRITE,
                                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        pages[number_++ % kPages * kPageSize] = 1;
    }
    // Shared ones: the kernel joins private neighbours to one mapping.
    static void KeepMapping()
    {
        (void)::mmap(nullptr, kPageSize, PROT_READ, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    }
    static void KeepChild()
    {
        if (::fork() == 0)
            ::_exit(0);
    }

    static constexpr std::size_t kPages = 100000;
    static constexpr std::size_t kPageSize = 4096;

    std::string name_;
    mutable std::size_t number_ = 0;
    mutable void* volatile lost_ = nullptr;
};

// KiB of the pages that belong to this process: its heap, stacks and data. Those of files come and
// go with what is executed. Without allocation.
long ResidentMemory()
{
    std::array<char, 4096> text{};
    const test::OwnedFd file(::open("/proc/self/smaps_rollup", O_RDONLY | O_CLOEXEC));
    const ssize_t count = ::read(file.get(), text.data(), text.size() - 1);
    const char* const line = count > 0 ? std::strstr(text.data(), "\nAnonymous:") : nullptr;
    if (line == nullptr)
        throw std::runtime_error("/proc/self/smaps_rollup tells no anonymous memory");
    return std::strtol(line + std::strlen("\nAnonymous:"), nullptr, 10);
}

long Mappings()
{
    std::ifstream file("/proc/self/maps");
    return std::count(std::istreambuf_iterator<char>(file), {}, '\n');
}

long Children()
{
    long count = 0;
    std::ifstream list("/proc/self/task/" + std::to_string(::getpid()) + "/children");
    for (pid_t pid = 0; list >> pid;)
        ++count;
    return count;
}

bool IsLog(const std::string& path)
{
    return path.compare(0, std::strlen(test::kLogDirectory), test::kLogDirectory) == 0 &&
           path.find("QOR_") != std::string::npos;
}

// Without its stamp, and whether it has been removed: logs are rotated.
std::string KindOfLog(const std::string& path)
{
    return path.substr(0, path.rfind('_'));
}

// Everything below the directories that the library writes to.
std::set<std::string> Files()
{
    std::set<std::string> paths;
    for (const char* root : {"/opt", "/var/tmp", "/tmp"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
            paths.insert(entry.path().string());
    }
    return paths;
}

// Files that are there now and are not documented, one a line: logs are, five of each kind.
std::string NewFiles(const std::set<std::string>& before, const Operation& operation)
{
    std::string lines;
    std::map<std::string, int> logs;
    for (const std::string& path : Files()) {
        if (IsLog(path)) {
            if (++logs[KindOfLog(path)] == 6)
                lines += "a sixth log: " + path + "; ";
        } else if (before.count(path) == 0 &&
                   std::find(operation.files.begin(), operation.files.end(), path) ==
                       operation.files.end()) {
            lines += path + "; ";
        }
    }
    return lines;
}

// An installation with every debug level on and no compression.
void MakeInstallation()
{
    for (const char* directory : {"/opt", "/var/tmp", "/tmp"})
        test::EmptyDirectory(directory);
    test::MakeLogDirectory();
    const std::string root = "/opt/velmora/qor/";
    for (const char* component : {"um", "som", "cli", "provider"})
        WriteFile(root + component + "/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=BF\n");
    WriteFile(root + "etc/qorversion.ver",
              "[CLI]\nTargetNum=1\nTargetName1=libqorp_raid.so\nVersion1=1.2.3\n");
    WriteFile(root + "etc/qorinfo.ini", "[common]\nIsDomesticModel=true\n");
    WriteFile(root + "etc/lspcimn.sh", "#!/bin/sh\necho 00:1f.2 8086 2922\n");
    WriteFile(root + "etc/motd.dat", "-qor\nA message of the suite\nqor-\n");
    std::filesystem::permissions(root + "etc/lspcimn.sh", std::filesystem::perms(0755));
    WriteFile("/opt/work/a", "");
}

struct State {
    long calls = 0;
    Heap heap;
    Heap documented;
    long memory = 0;  // KiB
    long mappings = 0;
    long children = 0;
    test::DescriptorMap descriptors;
};

void CountRest(const Operation& operation, long calls, State& state)
{
    state.calls = calls;
    state.mappings = Mappings();
    state.children = Children();
    state.documented = operation.kept.heap(calls);
    state.descriptors = test::OpenDescriptors();
    for (auto& descriptor : state.descriptors) {
        if (IsLog(descriptor.second))
            descriptor.second = KindOfLog(descriptor.second);
    }
}

// The heap last, behind what the other figures allocate to be kept.
State MeasureBefore(const Operation& operation, long calls)
{
    State state;
    CountRest(operation, calls, state);
    state.memory = ResidentMemory();
    state.heap = HeapNow();
    return state;
}

// The heap first.
State MeasureAfter(const Operation& operation, long calls)
{
    State state;
    state.heap = HeapNow();
    state.memory = ResidentMemory();
    CountRest(operation, calls, state);
    return state;
}

class Verdict
{
public:
    template <typename Value>
    void Expect(const char* what, Value expected, Value actual)
    {
        if (expected == actual)
            return;
        text_ << "  " << what << ": expected " << expected << ", was " << actual << '\n';
    }
    void Note(const std::string& line) { text_ << "  " << line << '\n'; }
    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
};

// KiB that the resident memory may grow by, with what is documented.
long AllowedGrowth(Heap documented)
{
    return kTolerance + (documented.bytes + documented.blocks * kBlockOverhead) / 1024;
}

struct Result {
    State before;
    State after;
    std::string violations;
};

Result Judge(const Operation& operation, const std::set<std::string>& files, State before,
             State after)
{
    Verdict verdict;
    const long calls = after.calls - before.calls;
    const Heap kept = after.heap - before.heap;
    const Heap documented = after.documented - before.documented;
    verdict.Expect("heap blocks kept", documented.blocks, kept.blocks);
    verdict.Expect("heap bytes kept", documented.bytes, kept.bytes);
    verdict.Expect("children kept", operation.kept.children * calls,
                   after.children - before.children);
    verdict.Expect(
        "descriptors kept", operation.kept.descriptors * calls,
        static_cast<long>(after.descriptors.size()) - static_cast<long>(before.descriptors.size()));
    if (operation.kept.descriptors == 0) {
        const std::string changes = test::DescriptorChanges(before.descriptors, after.descriptors);
        if (!changes.empty())
            verdict.Note("descriptors: " + changes);
    }
    if (!HasForeignAllocator()) {
        verdict.Expect("mappings", before.mappings, after.mappings);
        if (after.memory > before.memory + AllowedGrowth(documented))
            verdict.Expect("resident memory, KiB", before.memory, after.memory);
    }
    const std::string made = NewFiles(files, operation);
    if (!made.empty())
        verdict.Note("files left: " + made);
    return {std::move(before), std::move(after), verdict.text()};
}

Result RunCase(const Operation& operation, bool isLong)
{
    MakeInstallation();
    const Calls calls = CallsOf(operation.cost, isLong);
    const Fault fault;
    const Body body = operation.prepare();
    const std::set<std::string> files = Files();
    const auto call = [&](long times) {
        for (long i = 0; i < times; ++i) {
            body();
            fault.Commit();
        }
    };

    (void)operation.kept.heap(0);
    call(calls.warm);
    State before = MeasureBefore(operation, calls.warm);
    call(calls.all - calls.warm);
    State after = MeasureAfter(operation, calls.all);
    return Judge(operation, files, std::move(before), std::move(after));
}

// The child's side: one line of figures, then the violations.
void Report(const Operation& operation, bool isLong, int out)
{
    const int silent = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        (void)::dup2(silent, standard);

    std::ostringstream text;
    try {
        const Result result = RunCase(operation, isLong);
        const Heap kept = result.after.heap - result.before.heap;
        text << result.after.calls << " calls, after " << result.before.calls << ": heap "
             << kept.blocks << " blocks " << kept.bytes << " bytes, memory "
             << result.after.memory - result.before.memory << " KiB, descriptors "
             << static_cast<long>(result.after.descriptors.size()) -
                    static_cast<long>(result.before.descriptors.size())
             << ", children " << result.after.children - result.before.children << '\n'
             << result.violations;
    } catch (const std::exception& failure) {
        text << "stopped\n  " << failure.what() << '\n';
    }
    const std::string report = text.str();
    if (::write(out, report.data(), report.size()) != static_cast<ssize_t>(report.size()))
        ::_exit(EXIT_FAILURE);
    ::_exit(EXIT_SUCCESS);
}

// Figures and violations of one case, measured in a process of its own.
std::string RunInChild(const Operation& operation, bool isLong)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        test::ThrowErrno("pipe2");
    test::OwnedFd in(ends[0]);
    test::OwnedFd out(ends[1]);
    const pid_t child = ::fork();
    if (child < 0)
        test::ThrowErrno("fork");
    if (child == 0) {
        (void)::alarm(kLongestCase);
        Report(operation, isLong, out.get());
    }
    out.Reset();
    std::string report = test::ReadToEnd(in.get());
    int status = 0;
    (void)::waitpid(child, &status, 0);
    if (status != 0 || report.empty())
        report += "stopped\n  ended with wait status " + std::to_string(status) + "\n";
    return report;
}

// Directories of the host that the library writes to and that the private mounts leave visible, and
// commands that must not reach the host's users or ask its firmware.
class Surroundings
{
public:
    Surroundings()
    {
        if (::mount("tmpfs", "/tmp", "tmpfs", MS_NOSUID, "mode=1777") != 0)
            test::ThrowErrno("mount(tmpfs on /tmp)");
        rlimit limit{};
        (void)::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max;
        (void)::setrlimit(RLIMIT_NOFILE, &limit);  // as many as there may be
    }

private:
    test::StubCommand dmidecode_{"/usr/sbin/dmidecode",
                                 "printf 'System Information\\n\\tProduct Name: p\\n'"};
    test::StubCommand wall_{"/usr/bin/wall", "exit 0"};
    test::ReplacedFile banner_{"/etc/motd", "welcome\n"};
};

Operations Table()
{
    Operations table;
    AddObjectOperations(table);
    AddTextOperations(table);
    AddFileOperations(table);
    AddTraceOperations(table);
    AddHostOperations(table);
    return table;
}

int PrintNames(const Operations& table)
{
    for (const Operation& operation : table) {
        for (const std::string& name : operation.names)
            std::cout << "covered\t" << name << '\n';
    }
    for (const Excluded& excluded : ExcludedNames())
        std::cout << "excluded\t" << excluded.name << '\t' << excluded.reason << '\n';
    return EXIT_SUCCESS;
}

int PrintTouches(const Operations& table)
{
    test::EnterPrivateMounts();
    const Surroundings surroundings;
    for (const Operation& operation : table) {
        MakeInstallation();
        const Touch touch = TouchOf(operation.prepare);
        for (const std::string& name : operation.names)
            std::cout << "touches\t" << name << '\t' << touch.calls << '\t' << touch.allocations
                      << '\n';
    }
    return EXIT_SUCCESS;
}

int Run(const Operations& table, const Options& options)
{
    test::EnterPrivateMounts();
    const Surroundings surroundings;

    long cases = 0;
    long failures = 0;
    long keeping = 0;
    for (const Operation& operation : table) {
        if (!options.id.empty() && operation.id != options.id)
            continue;
        ++cases;
        keeping += operation.kept.what.empty() ? 0 : 1;
        const std::string report = RunInChild(operation, options.isLong);
        const bool failed = report.find('\n') + 1 < report.size();
        failures += failed ? 1 : 0;
        if (failed || options.isVerbose) {
            std::cout << (failed ? "VIOLATED " : "held ") << operation.id << ": " << report;
            if (!operation.kept.what.empty())
                std::cout << "  keeps by contract: " << operation.kept.what << '\n';
        }
    }
    if (cases == 0)
        throw std::runtime_error("no such case: " + options.id);
    std::cout << cases << " cases, " << keeping << " of them keep something by contract; "
              << failures << " violations\n";
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace
}  // namespace qor::proof

int main(int argc, char** argv)
{
    using namespace qor::proof;
    try {
        const Operations table = Table();
        if (argc == 2 && std::strcmp(argv[1], "--touches") == 0)
            return PrintTouches(table);
        const Options options = ParseOptions(argc, argv);
        return options.namesOnly ? PrintNames(table) : Run(table, options);
    } catch (const std::exception& failure) {
        std::cerr << "qor_proof_leaks: " << failure.what() << '\n';
        return EXIT_FAILURE;
    }
}
