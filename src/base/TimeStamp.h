// TimeStamp.h - the 20-digit time stamp in the names of message and scratch files.
#ifndef QOR_BASE_TIMESTAMP_H
#define QOR_BASE_TIMESTAMP_H

#include <sys/time.h>

#include <string>

namespace qor {

constexpr std::size_t kTimeStampLength = 20;

// "%14.14lu%6.6lu" of seconds since the epoch and microseconds. Text order is time order.
std::string FormatTimeStamp(const timeval& time);

// The wall clock, gettimeofday(2).
timeval Now();

}  // namespace qor

#endif  // QOR_BASE_TIMESTAMP_H
