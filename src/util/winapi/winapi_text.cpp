// Text functions with Windows names. The destinations are the caller's.
#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "winapi.h"

namespace {

// snprintf(3) into the caller's buffer of `size` bytes; -1 for null, unless its size is 0.
int PrintBounded(char* buf, unsigned long size, unsigned long limit, const char* fmt,
                 std::va_list arguments)
{
    if ((buf == nullptr && size != 0) || fmt == nullptr)
        return -1;
    return std::vsnprintf(buf, std::min(size, limit), fmt, arguments);
}

}  // namespace

int strcpy_s(char* dst, unsigned long size, const char* src)
{
    if (dst == nullptr || src == nullptr)
        return -1;
    dst[0] = '\0';
    std::strncpy(dst, src, size);
    return 0;
}

int strncpy_s(char* dst, unsigned long size, const char* src, unsigned long count)
{
    if (dst == nullptr || src == nullptr)
        return -1;
    std::strncpy(dst, src, std::max(size, count));  // Intended: see the header.
    return 0;
}

int strncpy_s(char* dst, const char* src, unsigned long n)
{
    return strcpy_s(dst, n, src);
}

int _mbsnbcat_s(char* dst, unsigned long, const char* src, unsigned long count)
{
    if (dst == nullptr || src == nullptr)
        return -1;
    std::strncat(dst, src, count);
    return 0;
}

int wcsncat_s(wchar_t* dst, unsigned long size, const wchar_t* src, unsigned long count)
{
    if (dst == nullptr || src == nullptr)
        return -1;
    std::strncat(reinterpret_cast<char*>(dst), reinterpret_cast<const char*>(src),
                 std::min(size, count));
    return 0;
}

int _snprintf_s(char* buf, unsigned long size, unsigned long count, const char* fmt, ...)
{
    std::va_list arguments;
    va_start(arguments, fmt);
    const int length = PrintBounded(buf, size, count, fmt, arguments);
    va_end(arguments);
    return length;
}

int _sprintf_s(char* buf, unsigned long size, const char* fmt, ...)
{
    std::va_list arguments;
    va_start(arguments, fmt);
    const int length = PrintBounded(buf, size, size, fmt, arguments);
    va_end(arguments);
    return length;
}

int _snwprintf_s(char* buf, unsigned long size, unsigned long count, const char* fmt, ...)
{
    std::va_list arguments;
    va_start(arguments, fmt);
    const int length = PrintBounded(buf, size, count, fmt, arguments);
    va_end(arguments);
    return length;
}

int swprintf_s(char* buf, unsigned long size, const char* fmt, ...)
{
    std::va_list arguments;
    va_start(arguments, fmt);
    const int length = PrintBounded(buf, size, size, fmt, arguments);
    va_end(arguments);
    return length;
}

int wsprintfA(char* buf, const char* fmt, ...)
{
    if (buf == nullptr || fmt == nullptr)
        return -1;
    std::va_list arguments;
    va_start(arguments, fmt);
    (void)std::vsprintf(buf, fmt, arguments);
    va_end(arguments);
    return 0;  // Intended: see the header.
}

int lstrcmpW(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr)
        return -1;
    return std::strcmp(a, b);
}

int _mbsnbcmp(const unsigned char* a, const unsigned char* b, unsigned long n)
{
    return wcsncmp(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b), n);
}

int wcsncmp(const char* a, const char* b, unsigned long n)
{
    if (a == nullptr || b == nullptr)
        return -1;
    return std::strncmp(a, b, n);
}

int _mbsicmp(const unsigned char* a, const unsigned char* b)
{
    if (a == nullptr || b == nullptr)
        return -1;

    std::size_t matched = 0;
    while (a[matched] != '\0' && b[matched] != '\0' &&
           std::tolower(a[matched]) == std::tolower(b[matched]))
        ++matched;

    const std::size_t lengthA = std::strlen(reinterpret_cast<const char*>(a));
    const std::size_t lengthB = std::strlen(reinterpret_cast<const char*>(b));
    if (lengthA == lengthB)
        return matched == lengthA ? 0 : -1;  // Intended: see the header.
    return lengthA > lengthB ? 1 : -1;
}
