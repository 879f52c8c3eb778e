// log_peers.h - the same log line by the libraries one would use instead, each flushing every line.
#ifndef QOR_BENCH_LOG_PEERS_H
#define QOR_BENCH_LOG_PEERS_H

#include <string>

namespace qor::bench {

// What each line tells, behind its time stamp, thread and level.
struct LogFact {
    const char* name;
    int number;
    int count;
};

// A thread-safe log in a file of its own that rotates at 10 MiB. Made once per process.
struct Peer {
    const char* name;
    std::string path;
    void (*write)(const LogFact& fact);  // "... Update of NAME: package NUMBER of COUNT\n"
    void (*writeRejected)(const LogFact& fact);
};

// Opens its file below `directory`.
Peer OpenSpdlog(const std::string& directory);
Peer OpenGlog(const std::string& directory);
Peer OpenLog4cplus(const std::string& directory);

// One line by spdlog, the file opened and closed for it.
void WriteOnceBySpdlog(const std::string& path, const LogFact& fact);

}  // namespace qor::bench

#endif  // QOR_BENCH_LOG_PEERS_H
