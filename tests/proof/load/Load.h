// Load.h - the cases of the load proof. Each throws a Violation at the first thing that is not as
// it has to be, and otherwise returns its figures in a line.
#ifndef QOR_PROOF_LOAD_H
#define QOR_PROOF_LOAD_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <string_view>

namespace qor::proof {

// Repeatable: the numbers that belong to a seed.
class Numbers
{
public:
    explicit Numbers(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t Next() { return engine_(); }
    std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(Next() % limit); }

private:
    std::mt19937_64 engine_;
};

// The same in all processes of a program. A byte that is changed, lost or moved gives another sum.
inline std::uint64_t Checksum(const char* text, std::size_t length)
{
    return std::hash<std::string_view>()({text, length});
}

// ---- the channel

enum class Fault { None, SwapAnswers, DropByte };

// What is found of the faults: the end of the violation.
inline constexpr char kAnotherAnswer[] = ": another answer";
inline constexpr char kTornAnswer[] = ": a torn answer";

// 8 clients with tags of their own, one service.
std::string ChannelUnderLoad(unsigned messages, Fault fault);

// 8 clients with one tag: those answers alone are lost or mixed up whose requests had one name.
std::string ChannelWithOneTag(unsigned messages);

// The case that docs/channel.md names: one microsecond, and the first request is taken already.
std::string ChannelWithinOneMicrosecond();

// ---- the logs

enum class Log { Debug, Operation };

// 16 threads, one component, rotations.
std::string ThreadsOnOneLog(Log log, unsigned records, std::size_t longest);

// 8 processes, one file, no rotation.
std::string ProcessesOnOneLog(unsigned records);

// Whether the reader of the logs finds a record that is torn, one that is missing and one that is
// out of order.
std::string FaultyLogsAreFound();

// ---- the clock

std::string LogsWhileTheClockStands();
std::string LogsAfterAStepForward();
std::string LogsAfterAStepBack();
std::string ChannelWhileTheClockSteps();

}  // namespace qor::proof

#endif  // QOR_PROOF_LOAD_H
