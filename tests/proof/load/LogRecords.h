// LogRecords.h - numbered records with checksums, and the log files that hold them.
#ifndef QOR_PROOF_LOGRECORDS_H
#define QOR_PROOF_LOGRECORDS_H

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "proof/load/Load.h"

namespace qor::proof {

inline constexpr char kLoadComponent[] = "um";
inline constexpr unsigned kThreads = 16;
inline constexpr std::size_t kMostSize = 0x9FFFFF;  // bytes of a log's file
inline constexpr std::time_t kStart = 1700000000;   // 2023/11/14 22:13:20

// An empty log directory; compression and all levels on, or compression off.
void PrepareLogs(bool compress);

// Opens the component's log, in the process's first use of it.
void InitializeLog(Log log);

// Writes record `number` of a writer; its length, up to `longest` bytes of text, belongs to both.
void WriteRecord(Log log, unsigned writer, unsigned number, std::size_t longest);

// `writers` threads, each writing the records from `first` on, `count` of them.
void WriteFromThreads(Log log, unsigned writers, unsigned first, unsigned count,
                      std::size_t longest);

struct LogFile {
    std::string name;
    std::string text;  // uncompressed
};

// By creation stamp; of one stamp the compressed file, which is older, first.
std::vector<LogFile> ReadLogs(Log log);

struct Position {
    unsigned writer;
    unsigned number;
};

// The records of a text, in their order. Throws a Violation when a line is no whole record.
std::vector<Position> RecordsOf(const LogFile& file);

// Each writer's records ascend by one; `complete`: from 0 on. The last is `count` - 1. Returns how
// many there are.
std::size_t RequireUnbroken(const std::vector<LogFile>& files, unsigned writers, unsigned count,
                            bool complete);

}  // namespace qor::proof

#endif  // QOR_PROOF_LOGRECORDS_H
