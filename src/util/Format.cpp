#include "util/Format.h"

#include <cstdio>
#include <cstring>

namespace qor {

std::size_t FormatInto(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    buffer[0] = '\0';
    const int length = std::vsnprintf(buffer, size, format, arguments);
    if (length < 0)
        return ::strnlen(buffer, size);
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
        std::vsnprintf(&text[0], text.size() + 1, format, again);

    va_end(again);
    va_end(arguments);
    return text;
}

namespace {

// One conversion: "%", flags, width, precision, length, type; "*" counts as no width.
struct Conversion {
    std::string spec;  // without length modifiers and "*", for an argument of the widest type
    char type = '\0';  // '\0': the text ended inside the conversion
    const char* end = nullptr;
};

Conversion ParseConversion(const char* percent)
{
    Conversion conversion;
    const char* p = percent + 1;
    conversion.spec = "%";
    for (; *p != '\0' && std::strchr("#0- +'I123456789.*hlLqjzt", *p) != nullptr; ++p) {
        if (std::strchr("#0- +'123456789.", *p) != nullptr)
            conversion.spec += *p;
    }
    conversion.type = *p;
    conversion.end = *p == '\0' ? p : p + 1;
    return conversion;
}

std::string Render(const Conversion& conversion, std::size_t limit)
{
    std::string text(limit + 1, '\0');
    const auto print = [&](const char* length, auto zero) {
        const std::string format = conversion.spec + length + conversion.type;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        std::snprintf(&text[0], text.size(), format.c_str(), zero);
#pragma GCC diagnostic pop
    };

    if (std::strchr("diouxX", conversion.type) != nullptr)
        print("ll", 0LL);
    else if (std::strchr("aAeEfFgG", conversion.type) != nullptr)
        print("", 0.0);
    else if (conversion.type == 's')
        print("", static_cast<const char*>(nullptr));
    else if (conversion.type == 'p')
        print("", static_cast<void*>(nullptr));
    text.resize(std::strlen(text.c_str()));
    return text;
}

}  // namespace

std::string ExpandWithoutArguments(const char* text, std::size_t limit)
{
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
            expanded += Render(conversion, limit);
        p = conversion.end;
    }
    if (expanded.size() > limit)
        expanded.resize(limit);
    return expanded;
}

}  // namespace qor
