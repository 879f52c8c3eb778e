// channel_peers.h - what answers requests in the channel's place: a Unix socket, a message bus.
#ifndef QOR_BENCH_CHANNEL_PEERS_H
#define QOR_BENCH_CHANNEL_PEERS_H

#include <memory>
#include <string>
#include <vector>

namespace qor::bench {

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

// A stream socket between two processes; each message behind its length.
std::unique_ptr<Client> MakeUnixSocket();

// A message bus of the client's own, with one service on it.
std::unique_ptr<Client> MakeBus();

}  // namespace qor::bench

#endif  // QOR_BENCH_CHANNEL_PEERS_H
