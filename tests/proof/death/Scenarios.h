// Scenarios.h - the operations that are killed, each in a state of the disk, and what may be found
// afterwards.
#ifndef QOR_PROOF_SCENARIOS_H
#define QOR_PROOF_SCENARIOS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "proof/death/Death.h"

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

    std::vector<Manner> manners;  // each has a call to die at

    // What `judge` has to have named when every call was taken: the death that would leave such a
    // state was there.
    std::vector<std::string> states;

    unsigned stride = 1;  // every so many calls in the short form; all in the long one
    bool longOnly = false;

    // Not empty: made to break the rules. The one violation must begin so.
    std::string fault;
};

inline const std::vector<Manner> kWithoutWrites = {Manner::Tree};
inline const std::vector<Manner> kCommandsWithoutWrites = {Manner::Tree, Manner::Caller};
inline const std::vector<Manner> kAlone = {Manner::Tree, Manner::TornFirst, Manner::TornHalf,
                                           Manner::TornLast};
inline const std::vector<Manner> kWithCommands = {Manner::Tree, Manner::Caller, Manner::TornFirst,
                                                  Manner::TornHalf, Manner::TornLast};

void AddChannelScenarios(std::vector<Scenario>& scenarios);
void AddIniScenarios(std::vector<Scenario>& scenarios);
void AddLogScenarios(std::vector<Scenario>& scenarios);
void AddHostScenarios(std::vector<Scenario>& scenarios);

// What a file holds; nothing: there is no file.
using Content = std::optional<std::string>;
Content ContentOf(const std::string& path);

// Sets the trace level of a component: its directory below /opt/velmora/qor, hexadecimal digits.
void SetTraceLevel(const std::string& directory, const std::string& level);

// `states` and `more`.
std::vector<std::string> With(std::vector<std::string> states,
                              const std::vector<std::string>& more);

// Letters without a line feed, the same for each size.
std::string Filler(std::size_t size);

}  // namespace qor::proof

#endif  // QOR_PROOF_SCENARIOS_H
