// Errors, threads, time, memory and numbers with Windows names.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/Processes.h"
#include "support/ScopedEnv.h"
#include "winapi.h"

namespace {

// clock_nanosleep of this test program, recorded instead of slept.
class RecordedSleep
{
public:
    struct Call {
        clockid_t clock;
        int flags;
        std::time_t seconds;
        long nanoseconds;
    };

    // interruptions: what is left each time when a signal ends the sleep early.
    explicit RecordedSleep(std::vector<timespec> interruptions = {})
        : interruptions_(std::move(interruptions))
    {
        current_ = this;
    }
    RecordedSleep(const RecordedSleep&) = delete;
    RecordedSleep& operator=(const RecordedSleep&) = delete;
    ~RecordedSleep() { current_ = nullptr; }

    static RecordedSleep* Current() { return current_; }
    const std::vector<Call>& Calls() const { return calls_; }

    int Sleep(clockid_t clock, int flags, const timespec& span, timespec* left)
    {
        calls_.push_back({clock, flags, span.tv_sec, span.tv_nsec});
        if (calls_.size() > interruptions_.size())
            return 0;
        *left = interruptions_[calls_.size() - 1];
        return EINTR;
    }

private:
    inline static RecordedSleep* current_ = nullptr;
    std::vector<timespec> interruptions_;
    std::vector<Call> calls_;
};

}  // namespace

// In place of the C library's. It returns the error number and leaves errno alone.
extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* span, timespec* left)
{
    if (RecordedSleep* const recorded = RecordedSleep::Current())
        return recorded->Sleep(clock, flags, *span, left);
    const int kept = errno;
    const long result = ::syscall(SYS_clock_nanosleep, clock, flags, span, left);
    const int error = errno;
    errno = kept;
    return result == 0 ? 0 : error;
}

namespace qor::test {
namespace {

// 2024-03-05 07:08:09 UTC, a Tuesday.
constexpr long kMoment = 1709622489;

static_assert(offsetof(WSADATA, wVersion) == 0, "");
static_assert(sizeof(WSADATA::wVersion) == 2, "");
static_assert(std::is_same<decltype(GetLastError()), long>::value, "");
static_assert(std::is_same<decltype(GetCurrentThreadId()), unsigned long>::value, "");

TEST(winapiSocketsTest, StoreTheVersionAloneAndRefuseANullRecord)
{
    WSADATA data;
    std::memset(&data, 0x5A, sizeof data);
    WSADATA expected = data;
    expected.wVersion = 0x0202;

    EXPECT_EQ(0, WSAStartup(0x0202, &data));

    EXPECT_EQ(0, std::memcmp(&expected, &data, sizeof data));
    EXPECT_EQ(-1, WSAStartup(0x0202, nullptr));
}

TEST(winapiSocketsTest, CleanUpNothing)
{
    errno = EPERM;
    EXPECT_EQ(0, WSACleanup());
    EXPECT_EQ(EPERM, errno);
}

TEST(winapiErrorsTest, AreTheCallersErrno)
{
    errno = ENOENT;
    EXPECT_EQ(ENOENT, WSAGetLastError());
    EXPECT_EQ(ENOENT, GetLastError());

    WSASetLastError(EPERM);
    EXPECT_EQ(EPERM, errno);
    EXPECT_EQ(EPERM, WSAGetLastError());

    WSASetLastError(-5);
    EXPECT_EQ(-5L, GetLastError());
    errno = 0;
}

TEST(winapiErrorsTest, BelongToTheThread)
{
    WSASetLastError(EPERM);
    std::thread([] {
        WSASetLastError(ENOENT);
        EXPECT_EQ(ENOENT, GetLastError());
    }).join();
    EXPECT_EQ(EPERM, GetLastError());
}

TEST(winapiThreadsTest, HaveTheirKernelIds)
{
    EXPECT_EQ(static_cast<unsigned long>(::getpid()), GetCurrentThreadId());

    unsigned long other = 0;
    std::thread([&other] {
        other = GetCurrentThreadId();
        EXPECT_EQ(static_cast<unsigned long>(::syscall(SYS_gettid)), other);
    }).join();
    EXPECT_NE(other, GetCurrentThreadId());
}

TEST(winapiThreadsTest, HaveNewIdsInAForkedChild)
{
    const unsigned long parent = GetCurrentThreadId();
    EXPECT_EQ(0, InChild([parent] {
                  EXPECT_NE(parent, GetCurrentThreadId());
                  EXPECT_EQ(static_cast<unsigned long>(::getpid()), GetCurrentThreadId());
                  return 0;
              }));
}

TEST(winapiSleepTest, TakesMilliseconds)
{
    static const struct {
        unsigned long ms;
        std::time_t seconds;
        long nanoseconds;
    } cases[] = {
        {0, 0, 0},
        {1, 0, 1000000},
        {999, 0, 999000000},
        {1000, 1, 0},
        {1500, 1, 500000000},
        {4294967295UL, 4294967, 295000000},
        {ULONG_MAX, 18446744073709551, 615000000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ms);
        const RecordedSleep sleep;
        Sleep(c.ms);
        ASSERT_EQ(1U, sleep.Calls().size());
        EXPECT_EQ(c.seconds, sleep.Calls()[0].seconds);
        EXPECT_EQ(c.nanoseconds, sleep.Calls()[0].nanoseconds);
        EXPECT_EQ(0, sleep.Calls()[0].flags);  // relative
    }
}

TEST(winapiSleepTest, GoesOnAfterASignal)
{
    const RecordedSleep sleep({{1, 400000000}, {0, 7}});

    Sleep(1500);

    ASSERT_EQ(3U, sleep.Calls().size());
    EXPECT_EQ(1, sleep.Calls()[1].seconds);
    EXPECT_EQ(400000000, sleep.Calls()[1].nanoseconds);
    EXPECT_EQ(0, sleep.Calls()[2].seconds);
    EXPECT_EQ(7, sleep.Calls()[2].nanoseconds);
}

TEST(winapiLocalTimeTest, FillsEveryField)
{
    const ScopedTimeZone zone("UTC0");
    std::tm local = {};

    EXPECT_EQ(0, localtime_s(&local, &kMoment));

    EXPECT_EQ(2024 - 1900, local.tm_year);
    EXPECT_EQ(2, local.tm_mon);
    EXPECT_EQ(5, local.tm_mday);
    EXPECT_EQ(7, local.tm_hour);
    EXPECT_EQ(8, local.tm_min);
    EXPECT_EQ(9, local.tm_sec);
    EXPECT_EQ(2, local.tm_wday);
    EXPECT_EQ(31 + 29 + 5 - 1, local.tm_yday);
    EXPECT_EQ(0, local.tm_isdst);
}

TEST(winapiLocalTimeTest, FollowsTheTimeZone)
{
    static const struct {
        const char* zone;
        long time;
        int day;
        int hour;
        int dst;
    } cases[] = {
        {"UTC0", kMoment, 5, 7, 0},
        {"JST-9", kMoment, 5, 16, 0},
        {"PST8", kMoment, 4, 23, 0},
        {"CET-1CEST,M3.5.0,M10.5.0/3", kMoment, 5, 8, 0},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1720163289, 5, 9, 1},  // 2024-07-05 07:08:09 UTC
        {"UTC0", 0, 1, 0, 0},
        {"UTC0", -1, 31, 23, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.zone) + " " + std::to_string(c.time));
        const ScopedEnv zone("TZ", c.zone);
        std::tm local = {};
        EXPECT_EQ(0, localtime_s(&local, &c.time));
        EXPECT_EQ(c.day, local.tm_mday);
        EXPECT_EQ(c.hour, local.tm_hour);
        EXPECT_EQ(c.dst, local.tm_isdst);
    }
}

TEST(winapiLocalTimeTest, RefusesNullAndAYearThatDoesNotFit)
{
    const long never = LONG_MAX;
    std::tm local = {};
    local.tm_year = 7;
    EXPECT_EQ(-1, localtime_s(nullptr, &kMoment));
    EXPECT_EQ(-1, localtime_s(&local, nullptr));
    EXPECT_EQ(-1, localtime_s(&local, &never));
    EXPECT_EQ(7, local.tm_year);
}

// Calls _wctime_s on a buffer of "#"; its bytes.
std::string WideTimeText(int size, long time, std::size_t room = 40)
{
    std::vector<wchar_t> buffer(room / sizeof(wchar_t));
    std::memset(buffer.data(), '#', room);
    EXPECT_EQ(0, _wctime_s(buffer.data(), size, &time));
    return std::string(reinterpret_cast<const char*>(buffer.data()), room);
}

TEST(winapiTimeTextTest, IsThatOfTheCLibrary)
{
    static const struct {
        const char* zone;
        long time;
        const char* text;
    } cases[] = {
        {"UTC0", kMoment, "Tue Mar  5 07:08:09 2024\n"},
        {"JST-9", kMoment, "Tue Mar  5 16:08:09 2024\n"},
        {"UTC0", 0, "Thu Jan  1 00:00:00 1970\n"},
        {"UTC0", -1, "Wed Dec 31 23:59:59 1969\n"},
        {"UTC0", 253402300799, "Fri Dec 31 23:59:59 9999\n"},
        {"UTC0", 253402300800, "Sat Jan  1 00:00:00 10000\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const ScopedTimeZone zone(c.zone);
        EXPECT_STREQ(c.text, WideTimeText(40, c.time).c_str());
    }
}

TEST(winapiTimeTextTest, IsBoundedByItsSizeInBytesAndLeavesABufferWithoutRoomAlone)
{
    const ScopedTimeZone zone("UTC0");
    const std::string text("Tue Mar  5 07:08:09 2024\n\0", 26);
    for (const int size : {26, 25, 10, 2, 1}) {
        SCOPED_TRACE(size);
        const auto length = static_cast<std::size_t>(size);
        EXPECT_EQ(text.substr(0, length - 1) + '\0' + std::string(40 - length, '#'),
                  WideTimeText(size, kMoment));
    }
    for (const int size : {0, -1, INT_MIN})
        EXPECT_EQ(std::string(40, '#'), WideTimeText(size, kMoment)) << size;
}

TEST(winapiTimeTextTest, RefusesNullAndAYearThatDoesNotFit)
{
    wchar_t buffer[10] = L"kept";
    long time = kMoment;
    long never = LONG_MAX;
    EXPECT_EQ(-1, _wctime_s(nullptr, 40, &time));
    EXPECT_EQ(-1, _wctime_s(buffer, 40, nullptr));
    EXPECT_EQ(-1, _wctime_s(buffer, 40, &never));
    EXPECT_STREQ(L"kept", buffer);
}

TEST(winapiMemoryTest, DeletesNoObject)
{
    int object = 42;
    EXPECT_EQ(1, DeleteObject(&object));
    EXPECT_EQ(1, DeleteObject(nullptr));
    EXPECT_EQ(42, object);
}

TEST(winapiMemoryTest, AllocatesNoString)
{
    char text[] = "text";
    EXPECT_EQ(text, SysAllocString(text));
    EXPECT_EQ(nullptr, SysAllocString(nullptr));

    SysFreeString(text);
    SysFreeString(nullptr);
    EXPECT_STREQ("text", text);
}

TEST(winapiMessagesTest, AreNotShown)
{
    errno = EPERM;
    const std::string shown = CaptureStderr([] {
        testing::internal::CaptureStdout();
        ShowMessage("text %s%n");
        ShowMessage("text", "title");
        ShowMessage("text", "title", 1);
        ShowMessage(nullptr);
        ShowMessage(nullptr, nullptr);
        ShowMessage(nullptr, nullptr, 0);
        EXPECT_EQ("", testing::internal::GetCapturedStdout());
    });
    EXPECT_EQ("", shown);
}

// Narrow text as a wchar_t* argument.
int WideAtoi(const char* narrow)
{
    std::vector<wchar_t> text(std::strlen(narrow) / sizeof(wchar_t) + 1);
    std::memcpy(text.data(), narrow, std::strlen(narrow) + 1);
    return atoi(text.data());
}

TEST(winapiNumbersTest, AreReadFromNarrowTextAndMinusOneForNull)
{
    static const struct {
        const char* text;
        int number;
    } cases[] = {
        {"42", 42},
        {"  \t-7", -7},
        {"+9x", 9},
        {"12abc", 12},
        {"0x10", 0},
        {"010", 10},
        {"", 0},
        {"abc", 0},
        {"2147483647", INT_MAX},
        {"-2147483648", INT_MIN},
        {"4294967297", 1},             // cut to int
        {"99999999999999999999", -1},  // LONG_MAX, cut to int
        {"-99999999999999999999", 0},  // LONG_MIN, cut to int
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.number, WideAtoi(c.text));
    }
    EXPECT_EQ(-1, atoi(static_cast<const wchar_t*>(nullptr)));
}

TEST(winapiEndianTest, SwapsTwoBytes)
{
    static const struct {
        unsigned short value;
        unsigned short swapped;
    } cases[] = {{0x1122, 0x2211}, {0, 0}, {0x00FF, 0xFF00}, {0xFF00, 0x00FF}, {0x8001, 0x0180}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        unsigned short value = c.value;
        swap_endian16(value);
        EXPECT_EQ(c.swapped, value);
    }
}

TEST(winapiEndianTest, ReversesFourBytesAndClearsTheRest)
{
    static const struct {
        unsigned long value;
        unsigned long swapped;
    } cases[] = {
        {0x11223344, 0x44332211}, {0, 0},
        {0xFF, 0xFF000000},       {0xFF000000, 0xFF},
        {0x80, 0x80000000},       {0xAABBCCDD11223344, 0x44332211},
        {0xFFFFFFFF00000000, 0},  {0xFFFFFFFFFFFFFFFF, 0xFFFFFFFF},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        unsigned long value = c.value;
        swap_endian32(value);
        EXPECT_EQ(c.swapped, value);
    }
}

}  // namespace
}  // namespace qor::test
