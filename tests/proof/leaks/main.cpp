// Every operation called over and over: descriptors, children, files, mappings and heap as before,
// the resident memory flat; what is kept by contract is exactly that.
//
// Each case runs in a process of its own. QOR_PROOF_FAULT=heap, memory, mapping, descriptor, child,
// file or log makes each call keep one such thing. All cases must then fail, except
//     memory    commands in the short form: their few calls keep less than may be touched late; and
//               a forgotten scan, whose documented blocks are hardly touched
//     child     pipe streams whose call waits for whatever child there is
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "proof/engine/Heap.h"
#include "proof/engine/Proof.h"
#include "proof/operations/Operation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using test::WriteFile;

// KiB. The heap is counted to the byte beside it, so that this guards what is no heap: stacks and
// mappings. Those come by pages of 4 KiB, and sixteen of them may be touched late, by a path that
// the first calls did not take (a rotation, a time zone read again). A page lost by one call in
// six thousand would still show in the long form.
constexpr long kTolerance = 64;

// Bytes that a block takes beside those asked for, at the most: what Heap.cpp puts in front,
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
            throw std::runtime_error("QOR_PROOF_FAULT: no such fault: " + name_);
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

    const std::string name_ = DeliberateFault();
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
        throw std::runtime_error("/proc/self/smaps_rollup has no anonymous memory");
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
                   std::none_of(operation.files.begin(), operation.files.end(),
                                [&path](const std::string& file) {
                                    return file.back() == '/' ? path.rfind(file, 0) == 0
                                                              : path == file;
                                })) {
            lines += path + "; ";
        }
    }
    return lines;
}

// The disk of an installation, every debug level on and no compression.
void MakeInstallation()
{
    EmptyDisk();
    test::EmptyDirectory("/tmp");
    test::MakeLogDirectory();
    for (const char* component : {"um", "som", "cli", "provider"})
        WriteFile("/opt/velmora/qor/" + std::string(component) + "/TraceSetting.ini",
                  "[APP_SETTING]\nTraceLevel=BF\n");
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

// The heap last, after what the other figures allocate to be kept.
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

std::string Violations(const Operation& operation, const std::set<std::string>& files,
                       const State& before, const State& after)
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
    if (!kHasForeignAllocator) {
        verdict.Expect("mappings", before.mappings, after.mappings);
        if (after.memory > before.memory + AllowedGrowth(documented))
            verdict.Expect("resident memory, KiB", before.memory, after.memory);
    }
    const std::string made = NewFiles(files, operation);
    if (!made.empty())
        verdict.Note("files left: " + made);
    return verdict.text();
}

// Figures and violations of one case.
std::string RunCase(const Operation& operation, bool isLong)
{
    DropMessages();
    MakeInstallation();
    const Calls calls = CallsOf(operation.cost, isLong);
    const Fault fault;
    operation.lay();
    Call call = operation.make();
    const std::set<std::string> files = Files();
    Result result;
    result.reserve(4096);
    const auto repeat = [&](long times) {
        for (long i = 0; i < times; ++i) {
            if (operation.isUsedUp) {
                call = {};
                operation.lay();
                call = operation.make();
            }
            result.clear();
            call.run(result);
            fault.Commit();
        }
    };

    (void)operation.kept.heap(0);
    repeat(calls.warm);
    const State before = MeasureBefore(operation, calls.warm);
    repeat(calls.all - calls.warm);
    const State after = MeasureAfter(operation, calls.all);

    std::ostringstream text;
    const Heap kept = after.heap - before.heap;
    text << after.calls << " calls, after " << before.calls << ": heap " << kept.blocks
         << " blocks " << kept.bytes << " bytes, memory " << after.memory - before.memory
         << " KiB, descriptors "
         << static_cast<long>(after.descriptors.size()) -
                static_cast<long>(before.descriptors.size())
         << ", children " << after.children - before.children << '\n'
         << Violations(operation, files, before, after);
    if (result != operation.FirstResult())
        text << "  the last call gives \"" << result << "\"\n";
    return text.str();
}

}  // namespace

int Prove(const Options& options)
{
    const Operations table = AllOperations();
    if (options.listsNames)
        return PrintNames(ExportedNames(table), LeftOutNames());
    if (::mount("tmpfs", "/tmp", "tmpfs", MS_NOSUID, "mode=1777") != 0)
        test::ThrowErrno("mount(tmpfs on /tmp)");
    rlimit limit{};
    (void)::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)::setrlimit(RLIMIT_NOFILE, &limit);  // as many as there may be
    const HostCommands commands;

    Tally tally(options.isVerbose);
    long keeping = 0;
    for (const Operation& operation : table) {
        if (!options.Want(operation.name) || operation.sleepsLong)
            continue;
        keeping += operation.kept.what.empty() ? 0 : 1;
        const Worker::End end =
            Worker([&] { return RunCase(operation, options.isLong); }, kLongestCase).Wait();
        const std::string kept =
            operation.kept.what.empty() ? "" : "  keeps by contract: " + operation.kept.what + '\n';
        const bool isHeld = end.ending.empty() && end.text.find('\n') + 1 == end.text.size();
        tally.Add(operation.name, isHeld ? "" : end.text + end.ending + "\n" + kept,
                  end.text + kept);
    }
    return tally.Finish("; " + std::to_string(keeping) + " keep something by contract");
}

}  // namespace qor::proof
