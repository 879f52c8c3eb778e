// The proof under load: qor_proof_load [--long] [--case NAME]. See docs/reliability.md.
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <vector>

#include "proof/load/Load.h"
#include "proof/support/Proof.h"
#include "support/PrivateMounts.h"

namespace qor::proof {

std::uint64_t Numbers::Next()
{
    // xorshift64*; the state is never 0 for the seeds used here.
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 0x2545F4914F6CDD1D;
}

std::uint64_t Checksum(const char* text, std::size_t length)
{
    std::uint64_t sum = 0xCBF29CE484222325 ^ length;
    for (std::size_t at = 0; at < length; at += sizeof sum) {
        std::uint64_t word = 0;
        __builtin_memcpy(&word, text + at, length - at < sizeof word ? length - at : sizeof word);
        sum = (sum ^ word) * 0x100000001B3;
        sum ^= sum >> 29;
    }
    return sum;
}

namespace {

struct Case {
    std::string name;
    std::function<std::string()> run;
    bool longOnly = false;
    std::string fault = {};  // not empty: a violation that ends so is to be found, and no other
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
         ": another answer"},
        {"channel-torn", [] { return ChannelUnderLoad(20, Fault::DropByte); }, false,
         ": a torn answer"},
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

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Each in a process of its own: settings and writers of the library last as long as the process.
bool Run(const Case& one)
{
    std::string figures;
    const std::string failure = FailureInNewProcess(
        [&one] {
            const std::string text = one.run();
            std::cout << one.name << ": " << text << std::endl;
        },
        900);
    if (!one.fault.empty()) {
        const bool isFound = EndsWith(failure, one.fault);
        std::cout << one.name << ": deliberate fault " << (isFound ? "found: " : "NOT FOUND: ")
                  << failure << std::endl;
        return isFound;
    }
    if (!failure.empty())
        std::cout << "VIOLATION " << one.name << ": " << failure << std::endl;
    return failure.empty();
}

bool Prove(bool isLong, const std::string& name)
{
    unsigned count = 0;
    unsigned failed = 0;
    for (const Case& one : Cases(isLong)) {
        if (name.empty() ? one.longOnly && !isLong : one.name != name)
            continue;
        ++count;
        failed += Run(one) ? 0 : 1;
    }
    std::cout << count << " cases, " << failed << " violations" << std::endl;
    return count > 0 && failed == 0;
}

}  // namespace
}  // namespace qor::proof

int main(int argc, char** argv)
{
    try {
        bool isLong = false;
        std::string name;
        for (int i = 1; i < argc; ++i) {
            const std::string option = argv[i];
            if (option == "--long")
                isLong = true;
            else if (option == "--case" && i + 1 < argc)
                name = argv[++i];
            else
                throw std::runtime_error("unknown option: " + option);
        }
        qor::test::EnterPrivateMounts();
        qor::proof::CloseStandardInput();
        if (::setenv("TZ", "UTC", 1) != 0)
            return EXIT_FAILURE;
        return qor::proof::Prove(isLong, name) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& failure) {
        std::cerr << "qor_proof_load: " << failure.what() << std::endl;
        return EXIT_FAILURE;
    }
}
