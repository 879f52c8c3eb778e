// channel_spool.h - the directories that the channel's benchmarks work with, and what answers
// requests.
#ifndef QOR_BENCH_CHANNEL_SPOOL_H
#define QOR_BENCH_CHANNEL_SPOOL_H

#include <memory>
#include <string>
#include <vector>

namespace qor::bench {

inline constexpr char kClientDir[] = "/opt/velmora/qor/som/CS";
inline constexpr char kServerDir[] = "/opt/velmora/qor/som/SS";
inline constexpr int kInterval = 100;  // microseconds; the channel's default

// A client with a server process of its own, which sends each request back.
class Client
{
public:
    virtual ~Client() = default;

    // The answer's length, or -1.
    virtual int Ask(const std::string& request, std::vector<char>& answer) = 0;
};

// The longest request that the servers take, in bytes.
inline constexpr int kLongestRequest = 1 << 20;

// A stream socket between two processes; each message follows its length.
std::unique_ptr<Client> MakeUnixSocket();

// A message bus of the client's own, with one service on it.
std::unique_ptr<Client> MakeBus();

}  // namespace qor::bench

#endif  // QOR_BENCH_CHANNEL_SPOOL_H
