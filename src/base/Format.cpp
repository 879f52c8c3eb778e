#include "base/Format.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

namespace qor {

namespace {

// Appends texts, cut where the room ends.
class TextRoom
{
public:
    TextRoom(char* begin, char* end) : next_(begin), end_(end) {}

    char* next() const { return next_; }

    void Put(std::string_view text)
    {
        const std::size_t length = std::min(text.size(), static_cast<std::size_t>(end_ - next_));
        std::memcpy(next_, text.data(), length);
        next_ += length;
    }

    template <typename Number>
    void PutNumber(Number number, int base)
    {
        char digits[16];  // of 32 bits, with a sign
        const char* const end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
        Put({digits, static_cast<std::size_t>(end - digits)});
    }

private:
    char* next_;
    char* end_;
};

// As vsnprintf(3), in a third of the time, for formats that hold only the conversions "%s", "%d",
// "%u", "%x" and "%%", as most do. False at any other, with a part of the text written.
bool PutPlain(TextRoom& room, const char* format, std::va_list arguments)
{
    for (;;) {
        const char* const percent = ::strchrnul(format, '%');
        room.Put({format, static_cast<std::size_t>(percent - format)});
        if (*percent == '\0')
            return true;
        switch (percent[1]) {
            case 's': {
                const char* const text = va_arg(arguments, const char*);
                room.Put(text == nullptr ? "(null)" : text);
                break;
            }
            case 'd':
                room.PutNumber(va_arg(arguments, int), 10);
                break;
            case 'u':
                room.PutNumber(va_arg(arguments, unsigned), 10);
                break;
            case 'x':
                room.PutNumber(va_arg(arguments, unsigned), 16);
                break;
            case '%':
                room.Put("%");
                break;
            default:
                return false;
        }
        format = percent + 2;
    }
}

}  // namespace

std::size_t FormatInto(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    TextRoom room(buffer, buffer + size - 1);
    const bool isPlain = PutPlain(room, format, again);
    va_end(again);
    if (isPlain) {
        *room.next() = '\0';
        return static_cast<std::size_t>(room.next() - buffer);
    }

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

// One conversion as the C library parses it: "%", position, flags, width, precision, length, type.
struct Conversion {
    std::string_view flags;
    std::string_view width;
    std::optional<std::string_view> precision;
    char type = '\0';  // '\0': the text ends inside the conversion
    const char* end = nullptr;
};

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsFlag(char c)
{
    return c == '#' || c == '0' || c == '-' || c == ' ' || c == '+' || c == '\'' || c == 'I';
}

bool IsLength(char c)
{
    return c == 'h' || c == 'l' || c == 'L' || c == 'q' || c == 'j' || c == 'z' || c == 'Z' ||
           c == 't';
}

bool IsOneOf(char c, const char* characters)
{
    return c != '\0' && std::strchr(characters, c) != nullptr;
}

// Most conversions are "%" and one of these: nothing more to parse.
bool IsPlainConversion(char c)
{
    return c == 's' || c == 'd' || c == 'u' || c == 'x' || c == '%';
}

template <bool (*kBelongs)(char)>
std::string_view Pass(const char*& p)
{
    const char* const begin = p;
    while (kBelongs(*p))
        ++p;
    return {begin, static_cast<std::size_t>(p - begin)};
}

// Passes over an argument's position, a number of at least 1 and "$", if there is one.
void PassPosition(const char*& p)
{
    const char* end = p;
    const std::string_view number = Pass<IsDigit>(end);
    if (*end == '$' && number.find_first_not_of('0') != std::string_view::npos)
        p = end + 1;
}

// A width or precision: digits, "*", or "*" with the position of its argument, "*2$".
std::string_view PassNumber(const char*& p)
{
    if (*p != '*')
        return Pass<IsDigit>(p);
    const char* const begin = p++;
    PassPosition(p);
    return {begin, static_cast<std::size_t>(p - begin)};
}

void PassLength(const char*& p)
{
    const char length = *p;
    if (IsLength(length))
        p += (length == 'h' || length == 'l') && p[1] == length ? 2 : 1;
}

Conversion ParseConversion(const char* percent)
{
    const char* p = percent + 1;
    PassPosition(p);

    Conversion conversion;
    conversion.flags = Pass<IsFlag>(p);
    conversion.width = PassNumber(p);
    if (*p == '.')
        conversion.precision = PassNumber(++p);
    PassLength(p);

    conversion.type = *p;
    conversion.end = *p == '\0' ? p : p + 1;
    return conversion;
}

// Above any limit that callers pass: a larger width would cost time and show nothing more.
constexpr std::size_t kWidest = 100000;

// A width or precision. "*", which finds no argument, counts as none.
std::size_t NumberOf(std::string_view text)
{
    if (!text.empty() && text.front() == '*')
        return 0;
    std::size_t number = 0;
    for (const char digit : text)
        number = std::min(kWidest, number * 10 + static_cast<std::size_t>(digit - '0'));
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
    // Without "#", "%g" shows a zero as "0" whatever the precision, but a long one would take long.
    const bool showsDigits =
        !IsOneOf(conversion.type, "gG") || conversion.flags.find('#') != std::string_view::npos;
    if (conversion.precision && showsDigits)
        spec += "." + std::to_string(NumberOf(*conversion.precision));
    return spec;
}

// `error`: the errno that "%m" shows. What is no conversion, or cut off by the end of the text,
// stands for itself.
std::string Render(const char* percent, const Conversion& conversion, int error)
{
    const auto print = [&](const char* suffix, auto zero) {
        const std::string format = SpecOf(conversion) + suffix;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        return Format(format.c_str(), zero);
#pragma GCC diagnostic pop
    };

    const char type[] = {conversion.type, '\0'};
    if (IsOneOf(conversion.type, "diouxXbB"))
        return print((std::string("ll") + type).c_str(), 0LL);
    if (IsOneOf(conversion.type, "aAeEfFgG"))
        return print(type, 0.0);
    if (IsOneOf(conversion.type, "sS"))
        return print("s", static_cast<const char*>(nullptr));
    if (conversion.type == 'm')
        return print("s", std::strerror(error));
    if (conversion.type == 'p')
        return print(type, static_cast<void*>(nullptr));
    if (conversion.type == '%')
        return "%";
    if (IsOneOf(conversion.type, "cCn"))
        return {};  // a NUL byte, or a place to store to
    return {percent, conversion.end};
}

}  // namespace

bool MayStoreThroughArgument(const char* format)
{
    const char* p = std::strchr(format, '%');
    while (p != nullptr) {
        if (IsPlainConversion(p[1])) {
            p = std::strchr(p + 2, '%');
            continue;
        }
        const Conversion conversion = ParseConversion(p);
        if (conversion.type == 'n')
            return true;
        if (!IsOneOf(conversion.type, "sdiouxXbBaAeEfFgGcCSpm%"))
            break;
        p = std::strchr(conversion.end, '%');
    }

    // After something that is no conversion, C libraries differ in where the next one begins and in
    // the lengths that they know: any "%" counts, with all of those.
    for (; p != nullptr; p = std::strchr(p + 1, '%')) {
        if (p[1 + std::strspn(p + 1, "0123456789$*.#- +'IhlLqjzZtwf")] == 'n')
            return true;
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
        expanded += Render(p, conversion, error);
        p = conversion.end;
    }
    if (expanded.size() > limit)
        expanded.resize(limit);
    return expanded;
}

}  // namespace qor
