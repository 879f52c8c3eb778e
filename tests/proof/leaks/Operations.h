// Operations.h - the table of all public operations: how each is called over and over, and what it
// keeps by contract.
#ifndef QOR_PROOF_OPERATIONS_H
#define QOR_PROOF_OPERATIONS_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "leaks/HeapCount.h"

namespace qor::proof {

enum class Cost {
    kCheap,    // 100,000 calls in the long form
    kCommand,  // runs a command: 2,000 calls
    kKeeps,    // keeps something by contract, or costs a millisecond: 2,000 calls
};

// One call, cleaned up by the rules of the header. What is made once for all calls belongs to the
// closure.
using Body = std::function<void()>;

// What the headers say that calls keep. Nothing: the default.
struct Kept {
    std::string what;
    // Of that many calls. Asked before the first one, and at each measurement.
    std::function<Heap(long calls)> heap = [](long) { return Heap{}; };
    long descriptors = 0;  // of each call
    long children = 0;     // of each call
};

struct Operation {
    std::string id;
    std::vector<std::string> names;  // exported ones that the body calls
    Cost cost = Cost::kCheap;
    std::function<Body()> prepare;
    Kept kept;
    std::vector<std::string> files;  // that stay behind by contract
};

using Operations = std::vector<Operation>;

// Named by its operation.
inline void Add(Operations& table, const std::string& name, std::function<Body()> prepare)
{
    table.push_back({name, {name}, Cost::kCheap, std::move(prepare), {}, {}});
}

// The same, for calls that need nothing made before.
inline void AddPlain(Operations& table, const std::string& name, Body body)
{
    Add(table, name, [body = std::move(body)] { return body; });
}

// Runs a command.
inline void AddCommand(Operations& table, const std::string& name, std::function<Body()> prepare,
                       std::vector<std::string> files = {})
{
    table.push_back({name, {name}, Cost::kCommand, std::move(prepare), {}, std::move(files)});
}

// Keeps something by contract. names: as in Operation.
inline void AddKeeping(Operations& table, const std::string& id, std::vector<std::string> names,
                       std::function<Body()> prepare, Kept kept)
{
    table.push_back({id, std::move(names), Cost::kKeeps, std::move(prepare), std::move(kept), {}});
}

void AddObjectOperations(Operations& table);
void AddTextOperations(Operations& table);
void AddFileOperations(Operations& table);
void AddTraceOperations(Operations& table);
void AddHostOperations(Operations& table);

// An exported name that no body calls, and why.
struct Excluded {
    std::string name;
    std::string reason;
};

std::vector<Excluded> ExcludedNames();

}  // namespace qor::proof

#endif  // QOR_PROOF_OPERATIONS_H
