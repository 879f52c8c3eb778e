#include "base/LocalTime.h"

#include <cstdio>

namespace qor {

namespace {

constexpr char kFormat[] = "%04d/%02d/%02d %02d:%02d:%02d";

// Needs no destructor: destructors of other objects of the thread may still ask for the time.
struct SecondText {
    std::time_t second = -1;
    char text[kMaxLocalTime + 1] = "";
};

void FormatInto(SecondText& out, const std::tm& local)
{
    (void)std::snprintf(out.text, sizeof out.text, kFormat, local.tm_year + 1900, local.tm_mon + 1,
                        local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

}  // namespace

bool BreakDownLocalTime(std::time_t time, std::tm& local)
{
    ::tzset();  // localtime_r(3) need not do it
    std::tm result{};
    if (::localtime_r(&time, &result) == nullptr)
        return false;  // a part of the result may be written
    local = result;
    return true;
}

std::tm BreakDownLocalTime(std::time_t time)
{
    std::tm local{};
    if (!BreakDownLocalTime(time, local))
        (void)BreakDownLocalTime(0, local);  // the epoch fits
    return local;
}

std::string FormatLocalTime(const std::tm& local)
{
    SecondText out;
    FormatInto(out, local);
    return out.text;
}

const char* LocalTimeOfThisSecond()
{
    thread_local SecondText cache;

    const std::time_t now = std::time(nullptr);
    if (now != cache.second) {
        FormatInto(cache, BreakDownLocalTime(now));
        cache.second = now;
    }
    return cache.text;
}

}  // namespace qor
