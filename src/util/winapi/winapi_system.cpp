// Errors, threads, time, memory and numbers with Windows names.
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/LocalTime.h"
#include "base/Numbers.h"
#include "base/Sleep.h"
#include "winapi.h"

namespace {

constexpr char kDays[][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr char kMonths[][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

int WSAStartup(unsigned short version, WSADATA* data)
{
    if (data == nullptr)
        return -1;
    data->wVersion = version;
    return 0;
}

int WSACleanup()
{
    return 0;
}

int WSAGetLastError()
{
    return errno;
}

void WSASetLastError(int error)
{
    errno = error;
}

long GetLastError()
{
    return errno;
}

unsigned long GetCurrentThreadId()
{
    return static_cast<unsigned long>(::syscall(SYS_gettid));
}

void Sleep(unsigned long ms)
{
    qor::SleepFor(
        {static_cast<std::time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000 * 1000});
}

int localtime_s(std::tm* out, const long* time)
{
    if (out == nullptr || time == nullptr)
        return -1;
    return qor::BreakDownLocalTime(*time, *out) ? 0 : -1;
}

int _wctime_s(wchar_t* buf, int size, long* time)
{
    if (buf == nullptr || time == nullptr)
        return -1;

    std::tm local{};
    if (!qor::BreakDownLocalTime(*time, local))
        return -1;
    // The format of asctime(3); asctime_r(3) has no room for years of five digits.
    if (size > 0)
        (void)std::snprintf(reinterpret_cast<char*>(buf), static_cast<std::size_t>(size),
                            "%s %s%3d %.2d:%.2d:%.2d %ld\n", kDays[local.tm_wday],
                            kMonths[local.tm_mon], local.tm_mday, local.tm_hour, local.tm_min,
                            local.tm_sec, 1900L + local.tm_year);
    return 0;
}

int DeleteObject(void*)
{
    return 1;
}

char* SysAllocString(const char* text)
{
    return const_cast<char*>(text);  // Intended: see the header.
}

void SysFreeString(char*) {}

void ShowMessage(const char*) {}

void ShowMessage(const char*, const char*) {}

void ShowMessage(const char*, const char*, unsigned int) {}

int atoi(const wchar_t* text)
{
    if (text == nullptr)
        return -1;
    return qor::ToInt(reinterpret_cast<const char*>(text));
}

void swap_endian16(unsigned short& value)
{
    value = __builtin_bswap16(value);
}

void swap_endian32(unsigned long& value)
{
    value = __builtin_bswap32(static_cast<unsigned int>(value));
}
