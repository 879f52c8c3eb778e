// Cases.h - the tables: names that are planted, operations that meet them, and what
// docs/running-as-root.md declares. Everything else may do nothing beyond the library's own files.
#ifndef QOR_PROOF_CASES_H
#define QOR_PROOF_CASES_H

#include <functional>
#include <string>
#include <vector>

#include "proof/engine/Proof.h"
#include "proof/hostile/HostileDisk.h"

namespace qor::proof {

// A name of the library's.
struct Name {
    std::string path;
    std::vector<std::string> users;  // operations that use the name
    std::string constant = {};       // of src/base/Paths.h; "" when it lies below another one
    unsigned kinds = kCommonKinds;   // planted there
    bool untouched = false;          // what is planted must stay as it is
};

struct HostileOperation {
    std::string id;
    std::function<void(const std::string& planted)> prepare;  // own files, but for the planted one
    std::function<std::string()> run;  // in a process of its own; returns what it handed out
};

// What is declared: these operations with these things at this name have exactly these effects.
struct Declaration {
    std::string path;
    unsigned kinds;
    std::vector<std::string> operations;
    unsigned effects;
    std::string mark;  // in docs/running-as-root.md
};

const std::vector<Name>& Names();
const std::vector<HostileOperation>& HostileOperations();
const std::vector<Declaration>& Declarations();
const std::vector<LeftOut>& LeftOutConstants();  // of src/base/Paths.h

}  // namespace qor::proof

#endif  // QOR_PROOF_CASES_H
