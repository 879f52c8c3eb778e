// log_limit.h - the least work that writes the same log records: bare system calls, nothing looked
// up, every fixed part known beforehand.
#ifndef QOR_BENCH_LOG_LIMIT_H
#define QOR_BENCH_LOG_LIMIT_H

#include <cstdarg>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

namespace qor::bench {

// One open log. Each record: clock, text formatted into a buffer on the stack, then under a lock
// the file's position asked for and one write(2). The time stamp's text is kept for the second and
// the thread's id for the thread. A full file is emptied, which is too rare to count.
class BareLog
{
public:
    explicit BareLog(const std::string& path);
    BareLog(const BareLog&) = delete;
    BareLog& operator=(const BareLog&) = delete;
    ~BareLog();

    // "STAMP ThId:0xTHREAD --INFO-- TEXT\n"
    void WriteDebug(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // The same with a level of eight characters, the text being `head` and `tail` together.
    void Write(std::string_view level, std::string_view head, std::string_view tail = {});

    // "STAMP 0x00000001 info    TEXT\n"
    void WriteOperation(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    void Append(const char* line, std::size_t length);

    std::mutex mutex_;
    int fd_;
};

// A level that is loaded, tested and not wanted.
void WriteRejected(unsigned int level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// A debug line of a component without an open log: the directory made and listed, the oldest
// uncompressed file whose name begins with `mark` opened, its end asked for, one write, all closed.
void WriteWithoutLog(const char* mark, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace qor::bench

#endif  // QOR_BENCH_LOG_LIMIT_H
