// TimeStamp.h - the 20-digit time stamp in the names of message and scratch files.
#ifndef QOR_BASE_TIMESTAMP_H
#define QOR_BASE_TIMESTAMP_H

#include <sys/time.h>

#include <string>

namespace qor {

constexpr std::size_t kTimeStampLength = 20;

// "%14.14lu%6.6lu" of seconds since the epoch and microseconds, on the stack. Text order is time
// order.
class TimeStamp
{
public:
    explicit TimeStamp(const timeval& time);
    TimeStamp(const TimeStamp&) = delete;
    TimeStamp& operator=(const TimeStamp&) = delete;

    const char* c_str() const { return begin_; }

private:
    char text_[2 * 20 + 1];  // two numbers of 64 bits
    const char* begin_;
};

// The same as a text of its own.
std::string FormatTimeStamp(const timeval& time);

// The wall clock, gettimeofday(2).
timeval Now();

}  // namespace qor

#endif  // QOR_BASE_TIMESTAMP_H
