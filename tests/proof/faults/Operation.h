// Operation.h - the table: each operation, what lies on the disk before it, and what may come of
// it.
//
// An outcome is "RESULT | STATE": what the caller is told, and how the files are afterwards. What
// an operation says without a fault stands first. A row then tells what a fault of a call on a
// path may make of it; a fault without a row must not show at all.
#ifndef QOR_PROOF_OPERATION_H
#define QOR_PROOF_OPERATION_H

#include <functional>
#include <string>
#include <vector>

#include "proof/faults/Fault.h"
#include "support/LogFiles.h"

namespace qor::proof {

// "*" stands for any text, "%E" for the text of the fault's errno.
struct Row {
    const char* calls;    // names, separated by spaces
    const char* path;     // a part of the path, "*" for any text in it; "" for any
    const char* effects;  // separated by spaces; "" for any
    std::vector<const char*> outcomes;
};

// An operation ready to be run. `run` alone is under the fault, and keeps what it got for `result`.
struct Prepared {
    std::function<void()> run;
    std::function<std::string()> result;
    std::function<void()> close = [] {};  // what callers close behind it
};

struct Operation {
    const char* name;
    const char* outcome;  // without a fault
    std::vector<Row> rows;
    std::function<void()> lay;  // the disk, which is empty before
    std::function<Prepared()> prepare;
    std::function<std::string()> state;
    // What the same caller is told by a second run, behind a fault; null: not asked, because the
    // first run used up what it worked on.
    const char* again = "=";        // "=": as without a fault
    const char* component = "som";  // logs, and must go on doing so
    bool leavesChildren = false;
    bool keepsCutFile = false;  // what limits or a full disk left is what a second run finds
};

using Operations = std::vector<Operation>;

Operations ConfigurationOperations();
Operations LogOperations();
Operations ChannelOperations();
Operations HostOperations();
Operations ObjectOperations();
Operations SystemOperations();
Operations ValueOperations();

// Faulty on purpose: the fault has to bring this violation ("*" stands for any text), and no other.
struct Faulty {
    Operation operation;
    Fault fault;
    const char* violation;
};
std::vector<Faulty> FaultyOperations();

// "absent", "empty", the name of the text that the file holds, "part of NAME", or what it holds.
struct Named {
    const char* name;
    std::string text;
};
std::string Holds(const std::string& path, const std::vector<Named>& texts);

// As test::DebugTexts. A log that begins with a part of a record is told as one record of level
// FAIL, "a torn record".
std::vector<test::DebugLine> DebugRecords(const std::string& component);

// The messages of a component's records of level FAIL, without the signature, separated by "; ".
std::string Failures(const std::string& component, const std::string& signature);

// As ListDir, separated by blanks, each run of six digits or more shown as "N".
std::string Names(const std::string& directory);

}  // namespace qor::proof

#endif  // QOR_PROOF_OPERATION_H
