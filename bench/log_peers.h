// log_peers.h - the same log line by the libraries one would use instead, each flushing every line.
#ifndef QOR_BENCH_LOG_PEERS_H
#define QOR_BENCH_LOG_PEERS_H

#include <string>
#include <vector>

namespace qor::bench {

// What each line says after its time stamp, thread and level:
// "Update of NAME: package NUMBER of COUNT\n".
struct LogFact {
    const char* name;
    int number;
    int count;
};

// A thread-safe log in a file of its own that rotates at 10 MiB.
struct LogPeer {
    const char* name;
    void (*open)(const std::string& path);  // once in a process
    void (*write)(const LogFact& fact);
    void (*writeRejected)(const LogFact& fact);
};

// Both are null in a program without log_peers.cpp.

// spdlog, glog, log4cplus.
__attribute__((weak)) std::vector<LogPeer> LogPeers();

// One line by spdlog, the file opened and closed for it.
__attribute__((weak)) void WriteOnceBySpdlog(const std::string& path, const LogFact& fact);

}  // namespace qor::bench

#endif  // QOR_BENCH_LOG_PEERS_H
