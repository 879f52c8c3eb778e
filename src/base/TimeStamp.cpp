#include "base/TimeStamp.h"

#include <charconv>
#include <limits>

namespace qor {

namespace {

// As "%W.Wlu" of printf(3), which takes several times as long.
void AppendPadded(std::string& text, unsigned long number, std::size_t width)
{
    char digits[std::numeric_limits<unsigned long>::digits10 + 1];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    const std::size_t count = static_cast<std::size_t>(end - digits);
    if (count < width)
        text.append(width - count, '0');
    text.append(digits, count);
}

}  // namespace

std::string FormatTimeStamp(const timeval& time)
{
    std::string text;
    text.reserve(kTimeStampLength);
    AppendPadded(text, static_cast<unsigned long>(time.tv_sec), 14);
    AppendPadded(text, static_cast<unsigned long>(time.tv_usec), 6);
    return text;
}

timeval Now()
{
    timeval now{};
    (void)::gettimeofday(&now, nullptr);  // fails for a bad pointer only
    return now;
}

}  // namespace qor
