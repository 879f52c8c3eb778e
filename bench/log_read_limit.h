// log_read_limit.h - reading an operation log back with the least work.
#ifndef QOR_BENCH_LOG_READ_LIMIT_H
#define QOR_BENCH_LOG_READ_LIMIT_H

#include <list>
#include <string>

namespace qor::bench {

// A stored record: time stamp, space, read code of ten characters, space, body.
inline constexpr std::size_t kStampLength = 19;
inline constexpr std::size_t kBodyOffset = 31;

struct LogQuery {
    const char* operation;
    unsigned int type;
    unsigned int count;
    bool fromDate;  // reads from a date on
};

// The path of the newest operation log.
std::string NewestLog();

// Appends the records of the newest operation log to `out`.
void ReadLogByLimit(const LogQuery& query, const std::string& from, std::list<std::string>& out);

}  // namespace qor::bench

#endif  // QOR_BENCH_LOG_READ_LIMIT_H
