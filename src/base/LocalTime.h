// LocalTime.h - broken-down local time that is safe on any thread, and its fixed text.
#ifndef QOR_BASE_LOCALTIME_H
#define QOR_BASE_LOCALTIME_H

#include <cstddef>
#include <ctime>
#include <string>

namespace qor {

// localtime(3) without the shared record; the time zone is looked up at each call, as localtime
// does. False when the year does not fit; `local` is kept then.
bool BreakDownLocalTime(std::time_t time, std::tm& local);

// The same; a time whose year does not fit gives the epoch.
std::tm BreakDownLocalTime(std::time_t time);

// The longest text below: six numbers of at most 11 characters and what is between them.
constexpr std::size_t kMaxLocalTime = 6 * 11 + 5;

// "%04d/%02d/%02d %02d:%02d:%02d", for example "2024/03/05 07:08:09".
std::string FormatLocalTime(const std::tm& local);

// The current time in that form. The text belongs to the calling thread and is valid until its next
// call, also while the thread's other objects are destroyed. It is made once per second and thread:
// a changed TZ shows from the next second on.
const char* LocalTimeOfThisSecond();

}  // namespace qor

#endif  // QOR_BASE_LOCALTIME_H
