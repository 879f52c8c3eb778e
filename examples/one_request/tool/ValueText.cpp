#include "tool/ValueText.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include <boost/shared_ptr.hpp>

namespace one_request {
namespace {

using StringArray = boost::shared_ptr<std::vector<std::string>>;

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string Printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text;
}

std::string Joined(const std::vector<std::string>& elements)
{
    std::string text;
    for (std::size_t i = 0; i < elements.size(); ++i)
        text += (i == 0 ? "" : ", ") + Printable(elements[i]);
    return text;
}

std::string SizeText(unsigned long bytes)
{
    static const char* const units[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    constexpr unsigned int kStep = 1024;
    if (bytes < kStep)
        return std::to_string(bytes);

    double size = static_cast<double>(bytes) / kStep;
    const char* const* unit = units;
    for (; size >= kStep; size /= kStep)
        ++unit;
    char text[64];
    (void)std::snprintf(text, sizeof text, "%.1f %s (%lu)", size, *unit, bytes);
    return text;
}

std::string SpanText(unsigned long seconds)
{
    constexpr unsigned long kMinute = 60;
    constexpr unsigned long kHour = 60 * kMinute;
    constexpr unsigned long kDay = 24 * kHour;
    char clock[16];
    (void)std::snprintf(clock, sizeof clock, "%02lu:%02lu:%02lu", seconds % kDay / kHour,
                        seconds % kHour / kMinute, seconds % kMinute);
    const unsigned long days = seconds / kDay;
    if (days == 0)
        return clock;
    return std::to_string(days) + (days == 1 ? " day " : " days ") + clock;
}

std::string CountText(const std::string& name, unsigned long value)
{
    if (EndsWith(name, "Bytes"))
        return SizeText(value);
    if (EndsWith(name, "Seconds"))
        return SpanText(value);
    return std::to_string(value);
}

}  // namespace

std::string ValueText(const std::string& name, const boost::any& value)
{
    if (const auto* const longCount = boost::any_cast<unsigned long>(&value))
        return CountText(name, *longCount);
    if (const auto* const count = boost::any_cast<unsigned int>(&value))
        return CountText(name, *count);
    if (const auto* const longNumber = boost::any_cast<long>(&value))
        return std::to_string(*longNumber);
    if (const auto* const number = boost::any_cast<int>(&value))
        return std::to_string(*number);
    if (const auto* const flag = boost::any_cast<bool>(&value))
        return *flag ? "yes" : "no";
    if (const auto* const text = boost::any_cast<std::string>(&value))
        return Printable(*text);
    const auto* const elements = boost::any_cast<StringArray>(&value);
    return elements != nullptr && *elements ? Joined(**elements) : std::string();
}

std::size_t DisplayWidth(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](unsigned char c) { return (c & 0xC0U) != 0x80U; }));
}

}  // namespace one_request
