// Scenarios.h - the operations that are killed, each in a state of the disk, and what may be found
// afterwards.
#ifndef QOR_PROOF_SCENARIOS_H
#define QOR_PROOF_SCENARIOS_H

#include <functional>
#include <string>
#include <vector>

#include "proof/death/Tracer.h"

namespace qor::proof {

struct Scenario {
    std::string name;

    // Makes the disk's state; /opt and /var/tmp are empty before.
    std::function<void()> prepare;

    // The operation, in a process of its own.
    std::function<void()> operate;

    // Names the state that is found, in a word or two for the table. Throws a Violation when it is
    // none of those allowed.
    std::function<std::string(Manner)> judge;

    // In a new process: the work goes on. Throws a Violation when it does not.
    std::function<void()> goOn;

    std::vector<Manner> manners;
    unsigned stride = 1;      // every so many calls in the short form
    unsigned longStride = 1;  // and in the long form
    bool isFaulty = false;    // an operation made to break the rules: a violation is to be found
    bool longOnly = false;
};

inline const std::vector<Manner> kAlone = {Manner::Tree, Manner::TornFirst, Manner::TornHalf,
                                           Manner::TornLast};
inline const std::vector<Manner> kWithCommands = {Manner::Tree, Manner::Caller, Manner::TornFirst,
                                                  Manner::TornHalf, Manner::TornLast};

void AddChannelScenarios(std::vector<Scenario>& scenarios);
void AddIniScenarios(std::vector<Scenario>& scenarios);
void AddLogScenarios(std::vector<Scenario>& scenarios);
void AddHostScenarios(std::vector<Scenario>& scenarios);

// Sets the trace level of a component: its directory below /opt/velmora/qor, hexadecimal digits.
void SetTraceLevel(const std::string& directory, const std::string& level);

// Whether `text` begins with `start`.
bool StartsWith(const std::string& text, const std::string& start);

// Letters without a line feed, the same for each size.
std::string Filler(std::size_t size);

}  // namespace qor::proof

#endif  // QOR_PROOF_SCENARIOS_H
