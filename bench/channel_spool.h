// channel_spool.h - the directories and settings that the channel's benchmarks work with.
#ifndef QOR_BENCH_CHANNEL_SPOOL_H
#define QOR_BENCH_CHANNEL_SPOOL_H

#include <string>

namespace qor::bench {

inline constexpr char kClientDir[] = "/opt/velmora/qor/som/CS";
inline constexpr char kServerDir[] = "/opt/velmora/qor/som/SS";
inline constexpr char kConfig[] = "/opt/velmora/qor/som/socket.conf";
inline constexpr int kInterval = 100;  // microseconds; the channel's default

// Tags: the trace level of one rejects all records, that of the other none.
inline constexpr char kSilent[] = "som";
inline constexpr char kTraced[] = "cli";

// Empties spool directories and logs, and opens the logs of both tags anew.
void PrepareSpool();

// As long as asked for, and without a NUL.
std::string TypicalMessage(int size);

}  // namespace qor::bench

#endif  // QOR_BENCH_CHANNEL_SPOOL_H
