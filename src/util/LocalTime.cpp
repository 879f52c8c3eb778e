#include "util/LocalTime.h"

#include "util/Format.h"

namespace qor {

namespace {

struct SecondText {
    std::time_t second = -1;
    std::string text;
};

}  // namespace

std::tm BreakDownLocalTime(std::time_t time)
{
    std::tm local{};
    ::tzset();  // localtime_r(3) need not
    if (::localtime_r(&time, &local) == nullptr) {
        const std::time_t epoch = 0;
        (void)::localtime_r(&epoch, &local);  // the epoch fits
    }
    return local;
}

std::string FormatLocalTime(const std::tm& local)
{
    return Format("%04d/%02d/%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                  local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

const std::string& LocalTimeOfThisSecond()
{
    thread_local SecondText cache;

    const std::time_t now = std::time(nullptr);
    if (now != cache.second) {
        cache.text = FormatLocalTime(BreakDownLocalTime(now));
        cache.second = now;
    }
    return cache.text;
}

}  // namespace qor
