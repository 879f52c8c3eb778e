// Operation.h - the one table of all public operations: how each is set up and called, what it
// gives its caller, how the disk is afterwards, and what a fault may make of that. The proofs of
// faults and leaks and the sweeps go through it.
//
// A row is as short as what is special about it:
//
//     table.Plain("CStringUtil::StringToTstring(string)", "a text",
//                 [] { return CStringUtil::StringToTstring("a text"); });
//
// An outcome is "RESULT" or "RESULT | STATE": what the caller gets, and how the objects or the disk
// are. A fault row says what a fault of a call on a path may make of the outcome; a fault without a
// row must not show at all, but for missing memory, whose result is "bad_alloc" and which changes
// nothing.
#ifndef QOR_PROOF_OPERATION_H
#define QOR_PROOF_OPERATION_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "proof/engine/Heap.h"
#include "proof/engine/Proof.h"

namespace qor::proof {

// What the caller gets, as text. Has room: appending allocates nothing.
using Result = std::string;

template <typename Value>
void Append(Result& result, const Value& value)
{
    if constexpr (std::is_same_v<Value, bool>)
        result += value ? "true" : "false";
    else if constexpr (std::is_arithmetic_v<Value>)
        result += std::to_string(value);
    else if constexpr (std::is_convertible_v<Value, std::string>)
        result += value;
    else if constexpr (std::is_pointer_v<Value>)
        result += value == nullptr ? "null" : "one";
    else
        for (const auto& element : value) {  // of a list
            Append(result, element);
            result += ';';
        }
}

// "*" stands for any text, "%E" for the text of the fault's errno.
struct Row {
    const char* calls;    // names, separated by blanks; "lasting", "allocation" and the limits too
    const char* path;     // a part of the path, "*" for any text in it; "" for any
    const char* effects;  // separated by blanks; "" for any
    std::vector<std::string> outcomes;

    Row(const char* some, std::vector<std::string> allowed) : Row(some, "", std::move(allowed)) {}
    Row(const char* some, const char* part, std::vector<std::string> allowed)
        : Row(some, part, "", std::move(allowed))
    {
    }
    Row(const char* some, const char* part, const char* ways, std::vector<std::string> allowed)
        : calls(some), path(part), effects(ways), outcomes(std::move(allowed))
    {
    }
};

// An operation with the objects that it needs. `run` alone is under a fault, and may be called
// again and again. The objects end with it.
struct Call {
    std::function<void(Result&)> run;
    std::function<std::string()> look;  // at the objects afterwards
};

inline constexpr char kNotAsked[] = "not asked";

// How long the operation takes, and so how often it is called.
enum class Cost {
    kCheap,
    kCommand,  // runs a command
    kKeeps     // keeps something by contract, or takes a millisecond
};

// What the headers say that each call keeps. Nothing: the default.
struct Kept {
    std::string what;
    // Of that many calls. Asked before the first one, and at each measurement.
    std::function<Heap(long calls)> heap = [](long) { return Heap{}; };
    long descriptors = 0;
    long children = 0;
};

struct Operation {
    // The exported name that it calls, as tables.sh spells it; ": " and what is special about this
    // row may follow.
    std::string name;
    std::string outcome;  // without a fault
    std::function<Call()> make;

    std::vector<Row> rows = {};
    std::function<void()> lay = [] {};  // puts on the disk what the operation finds there
    std::function<std::string()> state = {};
    bool isUsedUp = false;  // each call uses up what was laid and made
    Cost cost = Cost::kCheap;
    Kept kept = {};
    // That stay by contract, beyond what was laid; "/" at the end: whatever lies there.
    std::vector<std::string> files = {};
    // What the same caller gets by a second call, after a fault; empty: what the first call would
    // have given; kNotAsked.
    std::string again = {};
    bool isOnlyRepeated = false;    // not traced: its command outlives it
    bool sleepsLong = false;        // half a minute: not repeated
    std::string component = "som";  // logs, and must go on doing so
    bool leavesChildren = false;
    bool leavesChildWhenCancelled = false;  // which it waits for
    bool keepsCutFile = false;  // what limits or a full disk left is what a second call finds

    // Each sets what its name says, and returns the operation.
    Operation& Faults(std::vector<Row> some) { return Set(rows, std::move(some)); }
    Operation& Lay(std::function<void()> some) { return Set(lay, std::move(some)); }
    Operation& State(std::function<std::string()> some) { return Set(state, std::move(some)); }
    Operation& UsedUp() { return Set(isUsedUp, true); }
    Operation& Command() { return Set(cost, Cost::kCommand); }
    Operation& Files(std::vector<std::string> some) { return Set(files, std::move(some)); }
    Operation& Again(std::string some) { return Set(again, std::move(some)); }
    Operation& OnlyRepeated() { return Set(isOnlyRepeated, true); }
    Operation& SleepsLong() { return Set(sleepsLong, true); }
    Operation& Component(std::string some) { return Set(component, std::move(some)); }
    Operation& LeavesChildren() { return Set(leavesChildren, true); }
    Operation& LeavesChildWhenCancelled() { return Set(leavesChildWhenCancelled, true); }
    Operation& KeepsCutFile() { return Set(keepsCutFile, true); }
    Operation& Keeps(Kept some)
    {
        cost = Cost::kKeeps;
        return Set(kept, std::move(some));
    }

    // Of the first call: "RESULT" of the outcome.
    std::string FirstResult() const { return outcome.substr(0, outcome.find(" | ")); }

    // Of a second call of the same caller, unless that is not asked.
    std::string SecondResult() const { return again.empty() ? FirstResult() : again; }
    bool IsAsked() const { return again != kNotAsked && !sleepsLong; }

private:
    template <typename Member, typename Value>
    Operation& Set(Member& member, Value value)
    {
        member = std::move(value);
        return *this;
    }
};

using Operations = std::vector<Operation>;

// use: gets the objects, and the Result if it takes one. What it returns is appended, or "done" if
// it returns nothing.
template <typename Use, typename... Objects>
void AppendResultOf(Use& use, Result& result, Objects&... objects)
{
    if constexpr (std::is_invocable_v<Use, Objects&..., Result&>) {
        use(objects..., result);
    } else if constexpr (std::is_void_v<std::invoke_result_t<Use, Objects&...>>) {
        use(objects...);
        result += "done";
    } else {
        Append(result, use(objects...));
    }
}

// A function without a state as a pointer to it: those of one signature are then compiled once, and
// not each by itself.
template <typename Function>
auto Pointer(Function function)
{
    if constexpr (std::is_empty_v<Function>)
        return +function;
    else
        return function;
}

// The functions of a row without the types of its objects, so that rows compile quickly.
using AnyMake = std::function<std::shared_ptr<void>()>;
using AnyUse = std::function<void(void* object, Result& result)>;
using AnyLook = std::function<std::string(void* object)>;

// make: empty when no object is needed; look: empty when none is looked at.
std::function<Call()> CallMaker(AnyMake make, AnyUse use, AnyLook look = {});

template <typename Object, typename Use>
AnyUse UseOf(Use use)
{
    return [use](void* object, Result& result) mutable {
        AppendResultOf(use, result, *static_cast<Object*>(object));
    };
}

// Needs no object.
template <typename Use>
Operation Plain(const std::string& name, const std::string& outcome, Use use)
{
    const AnyUse any = [use](void*, Result& result) mutable { AppendResultOf(use, result); };
    return {name, outcome, CallMaker({}, any)};
}

// make: returns the object, by a shared pointer. look: see Call.
template <typename Make, typename Use>
Operation Of(const std::string& name, const std::string& outcome, Make make, Use use)
{
    using Object = typename decltype(make())::element_type;
    return {name, outcome, CallMaker(make, UseOf<Object>(use))};
}

template <typename Make, typename Use, typename Look>
Operation Of(const std::string& name, const std::string& outcome, Make make, Use use, Look look)
{
    using Object = typename decltype(make())::element_type;
    const AnyLook any = [look](void* object) { return look(*static_cast<Object*>(object)); };
    return {name, outcome, CallMaker(make, UseOf<Object>(use), any)};
}

template <typename Object>
std::shared_ptr<Object> New()
{
    return std::make_shared<Object>();
}

// The same of an object that is made without arguments.
template <typename Object, typename... Functions>
Operation On(const std::string& name, const std::string& outcome, Functions... functions)
{
    return Of(name, outcome, New<Object>, functions...);
}

// Takes rows. What some of them have in common is written once:
//
//     const Table um = table.In("CTraceBase::").With(Operation().Component("um"));
//     um.Plain("~CTraceBase()", "done", [] { delete new CTraceBase("um"); });
class Table
{
public:
    explicit Table(Operations& rows) : rows_(rows) {}

    // The same table for rows whose names begin so.
    Table In(const std::string& beginning) const { return {rows_, beginning, common_}; }

    // The same table for rows that begin as copies of `common`.
    Table With(const Operation& common) const { return {rows_, beginning_, common}; }

    // As the functions of these names. Each returns the row.
    template <typename Use>
    Operation& Plain(const std::string& name, const std::string& outcome, Use use) const
    {
        return Add(proof::Plain(name, outcome, Pointer(use)));
    }
    template <typename... Functions>
    Operation& Of(const std::string& name, const std::string& outcome, Functions... functions) const
    {
        return Add(proof::Of(name, outcome, Pointer(functions)...));
    }
    template <typename Object, typename... Functions>
    Operation& On(const std::string& name, const std::string& outcome, Functions... functions) const
    {
        return Add(proof::On<Object>(name, outcome, Pointer(functions)...));
    }

private:
    Table(Operations& rows, std::string beginning, Operation common)
        : rows_(rows), beginning_(std::move(beginning)), common_(std::move(common))
    {
    }

    Operation& Add(const Operation& row) const
    {
        Operation& added = rows_.emplace_back(common_);
        added.name = beginning_ + row.name;
        added.outcome = row.outcome;
        added.make = row.make;
        return added;
    }

    Operations& rows_;
    std::string beginning_;
    Operation common_;
};

Operations AllOperations();

// Those of each file.
void AddAliases(const Table& table);
void AddChannelOperations(const Table& table);
void AddConfigOperations(const Table& table);
void AddHostOperations(const Table& table);
void AddObjectOperations(const Table& table);
void AddSystemOperations(const Table& table);
void AddTextOperations(const Table& table);
void AddTraceOperations(const Table& table);

// The exported names that no operation of the table calls.
std::vector<LeftOut> LeftOutNames();

// ---- for proofs

// For PrintNames(): what the rows call.
std::vector<std::string> ExportedNames(const Operations& operations);

// What a proof does with the table.
struct TableProof {
    // One case, "OPERATION/WHAT". Returns the exit status.
    std::function<int(const Operation& operation, const std::string& what)> replay;
    std::function<void(const Operation& operation)> add;
    std::function<void()> findFaulty;  // operations that are faulty on purpose
    std::function<int()> finish;       // returns the exit status
};

// A proof's main function: lists the names, replays a case, or goes through the operations that the
// options ask for, and when that is all of them through the faulty ones.
int ProveOperations(const Options& options, const TableProof& proof);

// Lays out the disk and makes the objects for one more call.
void LayAgain(const Operation& operation, Call& call);

// " | STATE" after a call, as the outcome has it.
std::string StateAfter(const Operation& operation, const Call& call);

// Names that scratch files in /var/tmp have.
std::vector<std::string> ScratchFiles();

// Waits for all children. Returns how many nobody had waited for.
int WaitForChildren();

// A record to the component's log: a lock that is still held would hang here. Returns "" or what is
// wrong.
std::string LogsOn(const std::string& component);

// Ends logging as the operation's component, so that its descriptors are closed.
void EndLogs(const Operation& operation);

// Whether the word is one of those, which blanks separate.
bool HasWord(const std::string& words, const std::string& word);

// "*" in a pattern stands for any text.
bool Matches(std::string_view pattern, std::string_view text);

// ---- for rows

inline constexpr char kLong[] = "a text that is too long for a string to keep it inside itself";
inline constexpr char kIni[] = "/opt/demo.ini";
inline constexpr char kLog[] = "QOR_um_trc_1.log";  // a name that LogPath() takes

// A disk as an installation leaves it, with nothing on it; the host's commands that are asked
// answer the same on each machine.
void EmptyDisk();

class HostCommands
{
public:
    HostCommands();
    ~HostCommands();

private:
    struct Stubs;
    std::unique_ptr<Stubs> stubs_;
};

// "absent", "empty", the name of the text that the file holds, "part of NAME", or what it holds.
struct Named {
    const char* name;
    std::string text;
};
std::string Holds(const std::string& path, const std::vector<Named>& texts);

// The texts of a component's debug records, separated by "; ". A log that begins with a part of a
// record counts as one record, "a torn record".
std::string DebugRecords(const std::string& component);

// The messages of those of level FAIL, without the signature.
std::string Failures(const std::string& component, const std::string& signature);

// The names in a directory, separated by blanks, each run of six digits or more shown as "N".
std::string Names(const std::string& directory);

// What backtrace_symbols(3) allocates, kept by contract.
Kept OneSymbolText();

}  // namespace qor::proof

#endif  // QOR_PROOF_OPERATION_H
