#include "base/Format.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

namespace qor {

std::size_t FormatInto(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    buffer[0] = '\0';
    const int length = std::vsnprintf(buffer, size, format, arguments);
    if (length < 0) {
        buffer[size - 1] = '\0';
        return std::strlen(buffer);
    }
    return static_cast<std::size_t>(length) < size ? static_cast<std::size_t>(length) : size - 1;
}

std::string Format(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);

    char small[256];
    const int length = std::vsnprintf(small, sizeof small, format, arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (text.size() < sizeof small)
        text.assign(small, text.size());
    else
        (void)std::vsnprintf(&text[0], text.size() + 1, format, again);

    va_end(again);
    va_end(arguments);
    return text;
}

namespace {

// One conversion: "%", position, flags, width, precision, length, type.
struct Conversion {
    std::string_view flags;
    std::string_view width;
    std::optional<std::string_view> precision;
    char type = '\0';  // '\0': the text ended inside the conversion
    const char* end = nullptr;
};

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Of a width or precision.
bool IsNumber(char c)
{
    return c == '*' || IsDigit(c);
}

bool IsFlag(char c)
{
    return c == '#' || c == '0' || c == '-' || c == ' ' || c == '+' || c == '\'' || c == 'I';
}

bool IsLength(char c)
{
    return c == 'h' || c == 'l' || c == 'L' || c == 'q' || c == 'j' || c == 'z' || c == 't' ||
           c == 'Z';
}

// Passes the bytes that belong and returns them.
template <bool (*kBelongs)(char)>
std::string_view Pass(const char*& p)
{
    const char* const begin = p;
    while (kBelongs(*p))
        ++p;
    return {begin, static_cast<std::size_t>(p - begin)};
}

// A width or precision: digits, "*", or "*" with the position of its argument, "*2$".
std::string_view PassNumber(const char*& p)
{
    const char* const begin = p;
    const bool hasDigits = Pass<IsNumber>(p).size() > 1;
    if (*begin == '*' && hasDigits && *p == '$')
        ++p;
    return {begin, static_cast<std::size_t>(p - begin)};
}

Conversion ParseConversion(const char* percent)
{
    const char* p = percent + 1;
    if (Pass<IsDigit>(p).empty() || *p != '$')
        p = percent;
    ++p;

    Conversion conversion;
    conversion.flags = Pass<IsFlag>(p);
    conversion.width = PassNumber(p);
    if (*p == '.')
        conversion.precision = PassNumber(++p);
    Pass<IsLength>(p);

    conversion.type = *p;
    conversion.end = *p == '\0' ? p : p + 1;
    return conversion;
}

// Far behind every limit asked for: a width beyond it would cost time and show nothing.
constexpr std::size_t kWidest = 100000;

// A width or precision. "*", which finds no argument, counts as none.
std::size_t NumberOf(std::string_view text)
{
    if (!text.empty() && text.back() == '$')
        return 0;
    std::size_t number = 0;
    for (const char digit : text) {
        if (digit != '*')
            number = std::min(kWidest, number * 10 + static_cast<std::size_t>(digit - '0'));
    }
    return number;
}

// "%", flags, width, precision, for an argument of the widest type.
std::string SpecOf(const Conversion& conversion)
{
    std::string spec = "%";
    for (const char flag : conversion.flags) {
        if (flag != '\'' && flag != 'I')  // a zero looks the same without these
            spec += flag;
    }
    if (const std::size_t width = NumberOf(conversion.width))
        spec += std::to_string(width);
    if (conversion.precision)
        spec += "." + std::to_string(NumberOf(*conversion.precision));
    return spec;
}

// Whether the argument that is not there would be of no visible text: a NUL byte, a place to
// store to.
bool IsInvisible(char type)
{
    return type == 'c' || type == 'C' || type == 'n';
}

// `error`: the errno that "%m" shows. An unknown conversion stands for itself.
std::string Render(const char* percent, const Conversion& conversion, int error, std::size_t limit)
{
    std::string text(limit + 1, '\0');
    const auto print = [&](const char* suffix, auto zero) {
        const std::string format = SpecOf(conversion) + suffix;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        (void)std::snprintf(&text[0], text.size(), format.c_str(), zero);
#pragma GCC diagnostic pop
    };

    const char type[] = {conversion.type, '\0'};
    if (std::strchr("diouxXbB", conversion.type) != nullptr)
        print((std::string("ll") + type).c_str(), 0LL);
    else if (std::strchr("aAeEfFgG", conversion.type) != nullptr)
        print(type, 0.0);
    else if (conversion.type == 's' || conversion.type == 'S')
        print("s", static_cast<const char*>(nullptr));
    else if (conversion.type == 'm')
        print("s", std::strerror(error));
    else if (conversion.type == 'p')
        print(type, static_cast<void*>(nullptr));
    else if (!IsInvisible(conversion.type))
        text.assign(percent, conversion.end);
    text.resize(std::strlen(text.c_str()));
    return text;
}

}  // namespace

bool StoresThroughArgument(const char* format)
{
    const char* p = std::strchr(format, '%');
    while (p != nullptr) {
        const Conversion conversion = ParseConversion(p);
        if (conversion.type == 'n')
            return true;
        p = std::strchr(conversion.end, '%');
    }
    return false;
}

std::string ExpandWithoutArguments(const char* text, std::size_t limit)
{
    const int error = errno;
    std::string expanded;
    for (const char* p = text; *p != '\0' && expanded.size() < limit;) {
        const std::size_t plain = std::strcspn(p, "%");
        expanded.append(p, plain);
        p += plain;
        if (*p == '\0')
            break;

        const Conversion conversion = ParseConversion(p);
        if (conversion.type == '%')
            expanded += '%';
        else if (conversion.type != '\0')
            expanded += Render(p, conversion, error, limit);
        p = conversion.end;
    }
    if (expanded.size() > limit)
        expanded.resize(limit);
    return expanded;
}

}  // namespace qor
