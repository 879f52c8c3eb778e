#include "CTraceException.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "support/LogFiles.h"
#include "support/Memcheck.h"
#include "support/Processes.h"

namespace {

// What backtrace and backtrace_symbols are to answer instead of the truth.
std::optional<int> fakeFrameCount;
bool symbolsFail = false;

template <typename Function>
Function NextOf(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// In place of the C library's. The first frame is the caller's, as if this function was not there.
extern "C" int backtrace(void** frames, int size)
{
    if (fakeFrameCount)
        return *fakeFrameCount;

    static const auto real = NextOf<int (*)(void**, int)>("backtrace");
    std::vector<void*> all(static_cast<std::size_t>(size) + 8);
    all.resize(static_cast<std::size_t>(real(all.data(), size + 8)));
    const auto first = std::find(all.begin(), all.end(), __builtin_return_address(0));
    const auto count = std::min(static_cast<int>(all.end() - first), size);
    std::copy_n(first, count, frames);
    return count;
}

extern "C" char** backtrace_symbols(void* const* frames, int size)
{
    static const auto real = NextOf<char** (*)(void* const*, int)>("backtrace_symbols");
    return symbolsFail ? nullptr : real(frames, size);
}

namespace qor::test {
namespace {

// The message and the stack, as the header shows.
struct Report : CTraceException {
    using CTraceException::CTraceException;
    explicit Report(const CTraceException& e) : CTraceException(e) {}

    const char* what() const noexcept override
    {
        ++asked;
        return CException::what();
    }

    mutable int asked = 0;
};

Strings PrintedLines(const CTraceException& exception)
{
    return Lines(CaptureStderr([&] { exception.printStackTrace(); }));
}

// "0xADDRESS | SYMBOL" for the frames of the caller of the caller and outwards.
Strings OuterFrames()
{
    void* frames[256];
    const int count = ::backtrace(frames, 256);
    char** const symbols = ::backtrace_symbols(frames, count);
    Strings lines;
    for (int i = 2; i < count; ++i) {
        std::ostringstream line;
        line << frames[i] << " | " << symbols[i];
        lines.push_back(line.str());
    }
    std::free(symbols);
    return lines;
}

class CTraceExceptionTest : public testing::Test
{
protected:
    ~CTraceExceptionTest() override
    {
        fakeFrameCount.reset();
        symbolsFail = false;
    }
};

TEST_F(CTraceExceptionTest, KeepsItsMessage)
{
    static_assert(std::is_base_of<CException, CTraceException>::value, "caught as CException");
    std::string message = "no such device";
    const CTraceException exception(message);

    message.assign(message.size(), 'x');

    EXPECT_STREQ("no such device", exception.CException::what());
}

TEST_F(CTraceExceptionTest, IsThrownByPointerAndDeletedByItsCatcher)
{
    try {
        throw new CTraceException("no such device");
    } catch (const CException* e) {
        EXPECT_STREQ("no such device", e->CException::what());
        delete e;
        return;
    }
    FAIL() << "not caught";
}

TEST_F(CTraceExceptionTest, DropsThePlaceByIntent)
{
    const CTraceException exception("message", "device.cpp", "Open", 42);

    EXPECT_STREQ("message", exception.CException::what());
    EXPECT_STREQ("unknown", exception.getFileName());
    EXPECT_STREQ("unknown", exception.getFunctionName());
    EXPECT_EQ(0, exception.getLineNumber());
}

TEST_F(CTraceExceptionTest, BeginsItsReportWithMessageAndPlace)
{
    for (const Report& report :
         {Report("no such device"), Report("no such device", "device.cpp", "Open", 42)}) {
        const Strings lines = PrintedLines(report);
        ASSERT_LE(2U, lines.size());
        EXPECT_EQ("Exception: no such device @ unknown::unknown(0)", lines[0]);
    }
}

TEST_F(CTraceExceptionTest, ReportsTheInnermostFrameFirst)
{
    const Strings lines = PrintedLines(Report("message"));

    ASSERT_LE(3U, lines.size());
    EXPECT_NE(std::string::npos, lines[1].find("_ZN15CTraceException4initEv")) << lines[1];
    EXPECT_NE(std::string::npos, lines[2].find("_ZN15CTraceExceptionC")) << lines[2];
}

TEST_F(CTraceExceptionTest, ReportsALinePerFrameWithAddressAndSymbol)
{
    const Strings lines = PrintedLines(Report("message"));
    const Strings outer = OuterFrames();

    ASSERT_FALSE(outer.empty());
    ASSERT_LT(outer.size(), lines.size());
    EXPECT_EQ(outer, Strings(lines.end() - static_cast<std::ptrdiff_t>(outer.size()), lines.end()));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        EXPECT_EQ(0U, lines[i].find("0x")) << lines[i];
        EXPECT_EQ(lines[i].find_first_not_of("0123456789abcdefx"), lines[i].find(" | "));
    }
}

// Not a call in tail position, and not one that can be flattened.
__attribute__((noinline)) int ThrowAtDepth(int depth)
{
    if (depth == 0)
        throw Report("deep");
    volatile int deeper = ThrowAtDepth(depth - 1);
    return deeper + 1;
}

TEST_F(CTraceExceptionTest, CapturesAtMost256Frames)
{
    try {
        (void)ThrowAtDepth(400);
    } catch (const Report& report) {
        EXPECT_EQ(1U + 256U, PrintedLines(report).size());
        return;
    }
    FAIL() << "not thrown";
}

TEST_F(CTraceExceptionTest, ReportsTheFirstLineAloneWithoutFrames)
{
    for (const int count : {0, -1}) {
        SCOPED_TRACE(count);
        fakeFrameCount = count;
        symbolsFail = true;
        EXPECT_EQ("Exception: message @ unknown::unknown(0)\n",
                  CaptureStderr([] { Report("message").printStackTrace(); }));
    }
}

TEST_F(CTraceExceptionTest, ReportsAllFramesWithoutSymbols)
{
    const std::size_t lines = PrintedLines(Report("message")).size();
    symbolsFail = true;

    const Strings bare = PrintedLines(Report("message"));

    ASSERT_EQ(lines, bare.size());
    for (std::size_t i = 1; i < bare.size(); ++i)
        EXPECT_EQ(bare[i].size() - 3, bare[i].find(" | ")) << bare[i];
}

TEST_F(CTraceExceptionTest, CapturesAgainByInit)
{
    Report report("message");

    report.init();

    const Strings lines = PrintedLines(report);
    ASSERT_LE(3U, lines.size());
    EXPECT_NE(std::string::npos, lines[1].find("_ZN15CTraceException4initEv")) << lines[1];
    EXPECT_EQ(std::string::npos, lines[2].find("_ZN15CTraceExceptionC")) << lines[2];
}

// Intended: the texts are not freed, so that copies can share them.
TEST_F(CTraceExceptionTest, KeepsItsSymbolsBeyondItsEnd)
{
    auto* const original = new CTraceException("message");
    const Report copy(*original);
    const Strings before = PrintedLines(copy);

    delete original;

    EXPECT_EQ(before, PrintedLines(copy));
}

TEST_F(CTraceExceptionTest, LeavesTheFormatOfTheStreamAsItWas)
{
    const std::ios::fmtflags before = std::cerr.flags();
    std::cerr.setf(std::ios::oct, std::ios::basefield);
    const std::ios::fmtflags set = std::cerr.flags();

    const Strings lines = PrintedLines(Report("message"));

    EXPECT_EQ(set, std::cerr.flags());
    std::cerr.flags(before);
    EXPECT_EQ("Exception: message @ unknown::unknown(0)", lines.at(0));
    EXPECT_EQ(0U, lines.at(1).find("0x"));
}

// Counts what a terminal would see at once.
class FlushCounter : public std::stringbuf
{
public:
    int flushes = 0;

protected:
    int sync() override
    {
        ++flushes;
        return std::stringbuf::sync();
    }
};

TEST_F(CTraceExceptionTest, FlushesEachLine)
{
    FlushCounter buffer;
    std::streambuf* const former = std::cerr.rdbuf(&buffer);
    std::cerr << std::nounitbuf;

    Report("message").printStackTrace();

    std::cerr << std::unitbuf;
    std::cerr.rdbuf(former);
    EXPECT_EQ(Lines(buffer.str()).size(), static_cast<std::size_t>(buffer.flushes));
}

TEST_F(CTraceExceptionTest, TakesTheMessageFromTheVirtualWhat)
{
    const Report report("message");

    (void)report.CTraceException::what();
    EXPECT_EQ(1, report.asked);

    (void)PrintedLines(report);
    EXPECT_EQ(2, report.asked);
}

// Ends with the signal that the system gives, not with a sanitizer's report, and leaves no core.
int OnASmallStack(const std::function<void()>& function)
{
    return InChild([&] {
        const rlimit stack = {512 * 1024, RLIM_INFINITY};
        const rlimit core = {0, 0};
        (void)::setrlimit(RLIMIT_STACK, &stack);  // otherwise it only takes longer
        (void)::setrlimit(RLIMIT_CORE, &core);
        (void)std::signal(SIGSEGV, SIG_DFL);
        function();
        return 0;
    });
}

TEST_F(CTraceExceptionTest, NeverReturnsFromItsOwnWhatByIntent)
{
    QOR_SKIP_UNDER_MEMCHECK("overflows the stack on purpose");
    EXPECT_EQ(0, OnASmallStack([] { (void)Report("message").CTraceException::what(); }));

    EXPECT_EQ(128 + SIGSEGV, OnASmallStack([] { (void)CTraceException("message").what(); }));
}

TEST_F(CTraceExceptionTest, NeverReturnsFromItsOwnStackTraceByIntent)
{
    QOR_SKIP_UNDER_MEMCHECK("overflows the stack on purpose");
    int status = 0;
    const std::string printed = CaptureStderr(
        [&] { status = OnASmallStack([] { CTraceException("message").printStackTrace(); }); });

    EXPECT_EQ(128 + SIGSEGV, status);
    EXPECT_EQ("Exception: ",
              printed.substr(0, printed.find("qemu: ")));  // which reports the signal
}

}  // namespace
}  // namespace qor::test
