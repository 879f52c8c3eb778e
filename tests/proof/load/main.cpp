// The proof under load: qor_proof_load [--long] [--case NAME]. See docs/reliability.md.
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <vector>

#include "proof/engine/Proof.h"
#include "proof/load/Load.h"

namespace qor::proof {

namespace {

struct Case {
    std::string name;
    std::function<std::string()> run;
    bool longOnly = false;
    std::string fault = {};  // not empty: the one violation must end so
};

std::vector<Case> Cases(bool isLong)
{
    const unsigned messages = isLong ? 5000 : 40;
    const unsigned records = isLong ? 25000 : 600;
    const std::size_t longest = isLong ? 260 : 3900;
    const unsigned lines = isLong ? 10000 : 1000;
    return {
        {"channel", [=] { return ChannelUnderLoad(messages, Fault::None); }},
        {"channel-swapped", [] { return ChannelUnderLoad(20, Fault::SwapAnswers); }, false,
         kAnotherAnswer},
        {"channel-torn", [] { return ChannelUnderLoad(20, Fault::DropByte); }, false, kTornAnswer},
        {"channel-one-tag", [=] { return ChannelWithOneTag(messages); }, true},
        {"channel-one-microsecond", ChannelWithinOneMicrosecond},
        {"log-threads-debug", [=] { return ThreadsOnOneLog(Log::Debug, records, longest); }},
        {"log-threads-operation",
         [=] { return ThreadsOnOneLog(Log::Operation, records, longest); }},
        {"log-processes", [=] { return ProcessesOnOneLog(lines); }},
        {"log-faults", FaultyLogsAreFound},
        {"clock-stands", LogsWhileTheClockStands},
        {"clock-forward", LogsAfterAStepForward},
        {"clock-back", LogsAfterAStepBack},
        {"clock-channel", ChannelWhileTheClockSteps},
    };
}

// Each in a process of its own: settings and writers of the library last as long as the process.
void Run(const Case& one, Tally& tally)
{
    constexpr unsigned kSeconds = 900;
    const Worker::End end = Worker(one.run, kSeconds).Wait();
    if (one.fault.empty())
        tally.Add(one.name, end.ending.empty() ? "" : end.Failure(), end.text);
    else
        tally.Add(one.name,
                  EndsWith(end.text, one.fault) ? "" : "deliberate fault not found: " + end.text,
                  "deliberate fault found: " + end.text);
}

}  // namespace

int Prove(const Options& options)
{
    if (::setenv("TZ", "UTC", 1) != 0)
        throw std::runtime_error("setenv");
    Tally tally(true);
    for (const Case& one : Cases(options.isLong)) {
        const bool isShort = options.isLong || !options.id.empty() || !one.longOnly;
        if (isShort && options.Want(one.name))
            Run(one, tally);
    }
    return tally.Finish();
}

}  // namespace qor::proof
