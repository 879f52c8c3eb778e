#include "base/Format.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "support/Memcheck.h"
#include "support/Processes.h"

namespace qor::test {
namespace {

constexpr char kUntouched = '#';

// A buffer whose bytes after `size` must not change.
struct Cut {
    std::size_t length;
    std::string bytes;  // the text, its end, and what follows
};

__attribute__((format(printf, 2, 3))) Cut FormatCut(std::size_t size, const char* format, ...)
{
    char buffer[32];
    std::memset(buffer, kUntouched, sizeof buffer);
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = FormatInto(buffer, size, format, arguments);
    va_end(arguments);

    EXPECT_EQ('\0', buffer[length]);
    EXPECT_EQ(std::string(sizeof buffer - size, kUntouched),
              std::string(buffer + size, sizeof buffer - size));
    return {length, std::string(buffer, length)};
}

std::size_t FormatUnchecked(char* buffer, std::size_t size, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = FormatInto(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}

TEST(FormatTest, FormatsIntoABuffer)
{
    const Cut cut = FormatCut(32, "%s-%04d", "abc", 7);

    EXPECT_EQ("abc-0007", cut.bytes);
    EXPECT_EQ(8U, cut.length);
}

TEST(FormatTest, CutsATextAtTheBuffersCapacity)
{
    static const struct {
        std::size_t size;
        const char* text;
    } cases[] = {
        {1, ""}, {2, "a"}, {4, "abc"}, {5, "abcd"}, {6, "abcde"}, {7, "abcde"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        const Cut cut = FormatCut(c.size, "%s", "abcde");
        EXPECT_EQ(c.text, cut.bytes);
        EXPECT_EQ(std::strlen(c.text), cut.length);
    }
}

TEST(FormatTest, FormatsPlainConversions)
{
    const char* const volatile none = nullptr;  // unknown to the compiler
    EXPECT_EQ("-2147483648 4294967295 0", FormatCut(32, "%d %u %x", std::numeric_limits<int>::min(),
                                                    std::numeric_limits<unsigned>::max(), 0U)
                                              .bytes);
    EXPECT_EQ("ffffffff%a%", FormatCut(32, "%x%%%s%%", ~0U, "a").bytes);
    EXPECT_EQ("(null)(nul", FormatCut(11, "%s%s", none, none).bytes);
    EXPECT_EQ("a%b", FormatCut(32, "%s%%%s", "a", "b").bytes);
    EXPECT_EQ("", FormatCut(32, "%s", "").bytes);
}

TEST(FormatTest, FormatsOtherConversionsAfterPlainOnes)
{
    EXPECT_EQ("a 1 00002 3b", FormatCut(32, "%s %d %05d %x%c", "a", 1, 2, 3U, 'b').bytes);
    EXPECT_EQ("a 5000000000", FormatCut(32, "%s %ld", "a", 5000000000L).bytes);
    EXPECT_EQ("ab   c", FormatCut(32, "%s%-4s%s", "a", "b", "c").bytes);
}

// Of up to four conversions, in rooms of up to 32 bytes.
TEST(FormatTest, FormatsRandomTextsAsTheCLibrary)
{
    constexpr unsigned seed = 20261122;
    static const char* const pieces[] = {"%d", "%u", "%x", "%%", " ", "text ", "%08x", "%+d"};
    std::mt19937 random(seed);
    for (int i = 0; i < 5000; ++i) {
        std::string format;
        for (unsigned piece = random() % 8; piece > 0; --piece)
            format += pieces[random() % 8];
        const std::size_t size = 1 + random() % 32;
        const auto number = [&random] { return static_cast<int>(random() >> random() % 32); };
        const int numbers[] = {number(), number(), number(), number(),
                               number(), number(), number(), number()};
        const auto print = [&](auto call, char* buffer) {
            return call(buffer, size, format.c_str(), numbers[0], numbers[1], numbers[2],
                        numbers[3], numbers[4], numbers[5], numbers[6], numbers[7]);
        };
        char expected[32];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        (void)print([](auto... all) { return std::snprintf(all...); }, expected);
#pragma GCC diagnostic pop
        char made[32];
        const std::size_t length = print(FormatUnchecked, made);
        ASSERT_STREQ(expected, made) << format << ", seed " << seed << ", case " << i;
        ASSERT_EQ(std::strlen(expected), length);
    }
}

TEST(FormatTest, KeepsWhatWasMadeBeforeAConversionFailed)
{
    static const struct {
        std::size_t size;
        const char* text;
    } cases[] = {{1, ""}, {3, "ab"}, {4, "abc"}, {5, "abc"}, {32, "abc"}};
    static const wchar_t noCharacter[] = {0x7fffffff, 0};  // has no multibyte form
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        EXPECT_EQ(c.text, FormatCut(c.size, "abc%lsdef", noCharacter).bytes);
    }
}

TEST(FormatTest, MakesTextsOfAnyLength)
{
    for (const std::size_t length : {0U, 1U, 254U, 255U, 256U, 257U, 100000U}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        EXPECT_EQ(text, Format("%s", text.c_str()));
        EXPECT_EQ("<" + text + "42>", Format("<%s%d>", text.c_str(), 42));
    }
}

TEST(FormatTest, MakesAnEmptyTextOfAFailedConversion)
{
    static const wchar_t noCharacter[] = {0x7fffffff, 0};

    EXPECT_EQ("", Format("abc%ls", noCharacter));
}

std::string Expand(const char* text, std::size_t limit = 4095)
{
    return ExpandWithoutArguments(text, limit);
}

TEST(ExpandWithoutArgumentsTest, KeepsPlainText)
{
    for (const char* const text : {"", "a", "line\nnext \\n \x01\xff", "$1 & ; *"})
        EXPECT_EQ(text, Expand(text));
}

TEST(ExpandWithoutArgumentsTest, ShowsZeroForEachMissingArgument)
{
    static const struct {
        const char* text;
        const char* expanded;
    } cases[] = {
        {"100%%", "100%"},
        {"%%%%d", "%%d"},
        {"%5%|", "%|"},
        {"%d %i %u %o %x %X", "0 0 0 0 0 0"},
        {"%f %e %g", "0.000000 0.000000e+00 0"},
        {"%.3g|%#.3g|%.0f|%#.0F", "0|0.00|0|0."},
        {"%F %E %G %a", "0.000000 0.000000E+00 0 0x0p+0"},
        {"%hhd %hd %ld %lld %qd %jd %zd %td", "0 0 0 0 0 0 0 0"},
        {"%Lf %lu", "0.000000 0"},
        {"%s|%ls|%S", "(null)|(null)|(null)"},
        {"%p", "(nil)"},
        {"%5d|%-5d|%05d|%+d|% d", "    0|0    |00000|+0| 0"},
        {"%.3d|%5.2d|%.d|%.0d", "000|   00||"},
        {"%.2f|%8.3f", "0.00|   0.000"},
        {"%8s|%-8s|%.2s", "  (null)|(null)  |"},
        {"%#x %#o", "0 0"},
        {"%'d %Id", "0 0"},
        {"%*d|%-*d|%.*f", "0|0|0"},
        {"%1$d %2$05d", "0 00000"},
        {"%1$*2$d|%1$-*2$d|%1$.*2$f", "0|0|0"},
        {"100% done", "100 0one"},
        {"a%db", "a0b"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.expanded, Expand(c.text));
    }
}

TEST(ExpandWithoutArgumentsTest, StoresNothingAndShowsNoNulByte)
{
    EXPECT_EQ("ab", Expand("a%nb"));
    EXPECT_EQ("ab", Expand("a%hhn%lnb"));
    EXPECT_EQ("ab", Expand("a%cb"));
}

TEST(ExpandWithoutArgumentsTest, ShowsTheTextOfErrno)
{
    errno = ENOENT;
    EXPECT_EQ("open: No such file or directory", Expand("open: %m"));
    errno = EACCES;
    EXPECT_EQ("[Permission denied] [  Permission denied] [Per]", Expand("[%m] [%19m] [%.3m]"));
}

TEST(ExpandWithoutArgumentsTest, KeepsWhatIsNoConversion)
{
    for (const char* const text : {"50%!x", "a%yb", "%5yb", "%-5.3yb", "%\n", "%\xc3\xa9"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(text, Expand(text));
    }
}

TEST(ExpandWithoutArgumentsTest, KeepsAConversionThatTheEndCutsOff)
{
    for (const char* const text : {"disk 100%", "tail %5", "tail %-", "tail %.", "tail %.3",
                                   "tail %ll", "tail %1$", "tail %*"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(text, Expand(text));
    }
}

TEST(ExpandWithoutArgumentsTest, EndsAConversionWhereTheCLibraryDoes)
{
    static const struct {
        const char* text;
        const char* expanded;
    } cases[] = {
        {"%ql%d", "%ql0"}, {"%hhhd", "%hhhd"}, {"%*5d", "%*5d"},   {"%**d", "%**d"},
        {"%0$d", "%0$d"},  {"%01$d", "0"},     {"% 1$d", "% 1$d"}, {"%.-5d", "%.-5d"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.expanded, Expand(c.text)) << c.text;
}

// Seconds of processor time are plenty; work for the whole text at each conversion takes minutes.
TEST(ExpandWithoutArgumentsTest, TakesTimeInProportionToTheText)
{
    EXPECT_EQ(0, InChild([] {
                  const rlimit plenty{10, 10};
                  (void)::setrlimit(RLIMIT_CPU, &plenty);
                  const std::string plain(10 << 20, 'x');
                  std::string text = plain;
                  std::string expanded = plain;
                  for (int i = 0; i < 30000; ++i) {
                      text += "%d%5y";
                      expanded += "0%5y";
                  }
                  return Expand(text.c_str(), text.size() + 8191) == expanded ? 0 : 1;
              }));
}

TEST(ExpandWithoutArgumentsTest, CutsAtTheLimit)
{
    static const struct {
        const char* text;
        std::size_t limit;
        const char* expanded;
    } cases[] = {
        {"abcdef", 0, ""},       {"abcdef", 5, "abcde"}, {"abcdef", 6, "abcdef"},
        {"abcdef", 7, "abcdef"}, {"ab%d%d", 3, "ab0"},   {"abc%s", 5, "abc(n"},
        {"%9d", 4, "    "},      {"%-9d|", 4, "0   "},   {"%.9d", 4, "0000"},
        {"%d", 0, ""},           {"%%%%%%", 2, "%%"},    {"%2147483648s", 4, "    "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.expanded, Expand(c.text, c.limit));
    }
}

TEST(ExpandWithoutArgumentsTest, CutsEndlessWidthsAtTheLimit)
{
    const std::string zeros(100, '0');
    for (const char* const width :
         {"100", "101", "2147483647", "2147483648", "99999999999999999999999999999999"}) {
        SCOPED_TRACE(width);
        EXPECT_EQ(zeros, Expand((std::string("%0") + width + "d").c_str(), 100));
        EXPECT_EQ(zeros, Expand((std::string("%.") + width + "d").c_str(), 100));
    }
}

TEST(MayStoreThroughArgumentTest, FindsEveryFormOfTheStore)
{
    for (const char* const text :
         {"%n", "50% new", "%5hhn", "%1$n", "%-3.2ln", "a%db%*.*jn", "%%%n", "%1$*2$n", "%2$.*1$n",
          "a%3$*1$.*2$hhn", "%ql%n", "%w32n", "%wf8n", "%w32%n", "%y%n", "%.1.n", "%*$n", "%5$5$n"})
        EXPECT_TRUE(MayStoreThroughArgument(text)) << text;
    for (const char* const text :
         {"", "n", "%", "%%n", "%dn", "%yn", "50 %\nn", "100%% new", "%5%n", "%w32d and n"})
        EXPECT_FALSE(MayStoreThroughArgument(text)) << text;
}

std::string RandomOf(std::mt19937& random, const std::string& bytes, std::size_t length)
{
    std::uniform_int_distribution<std::size_t> position(0, bytes.size() - 1);
    std::string text;
    while (text.size() < length)
        text += bytes[position(random)];
    return text;
}

std::string RandomFormat(std::mt19937& random)
{
    static const char* const parts[] = {"%", "%", "%",   "n", "n", "d", "s", "y", "1$", "2$", "$",
                                        "*", ".", "*1$", "5", "0", "-", "+", " ", "#",  "'",  "I",
                                        "h", "l", "L",   "q", "j", "z", "t", "Z", "w",  "w32"};
    std::string format = "%";
    for (std::size_t i = 1 + random() % 9; i > 0; --i)
        format += parts[random() % std::size(parts)];
    return format;
}

// Whether an argument of the format can be one that the test does not pass: "%51$d".
bool ReachesFar(const std::string& format)
{
    const auto dollar = [&](std::size_t i) { return i < format.size() && format[i] == '$'; };
    for (std::size_t i = 1; i < format.size(); ++i) {
        if (dollar(i + 1) && ::isdigit(format[i]) != 0 && ::isdigit(format[i - 1]) != 0)
            return true;
    }
    return false;
}

// The arguments are pointers to `place`, whose lower half, 64, is a width or a number.
void FormatWithPointers(const char* format, char* place)
{
    const auto call = [](const char* text, ...) {
        std::va_list arguments;
        va_start(arguments, text);
        char buffer[512];
        (void)FormatInto(buffer, sizeof buffer, text, arguments);
        va_end(arguments);
    };
    call(format, place, place, place, place, place, place, place, place, place, place, place,
         place);
}

// These look into formats themselves, and end the process for some that are not well formed.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QOR_SANITIZER_READS_FORMATS
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QOR_SANITIZER_READS_FORMATS
#endif

TEST(MayStoreThroughArgumentTest, LetsNoRandomFormatStore)
{
#ifdef QOR_SANITIZER_READS_FORMATS
    GTEST_SKIP() << "the sanitizer would end the process";
#endif
#ifdef __s390x__
    GTEST_SKIP()
        << "a long double comes by its address, which another argument in its place is not";
#endif
    QOR_SKIP_UNDER_MEMCHECK("the formats read what they are given as something else");
    // A page whose address is a multiple of 4 GiB: the first that is free.
    constexpr std::size_t kSize = 4096;
    constexpr std::uintptr_t kUnit = std::uintptr_t{1} << 32;
    void* page = MAP_FAILED;
    for (std::uintptr_t i = 16; page == MAP_FAILED && i < 4096; ++i)
        page = ::mmap(reinterpret_cast<void*>(i * kUnit), kSize, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    ASSERT_EQ(0U, reinterpret_cast<std::uintptr_t>(page) % kUnit);
    char* const place = static_cast<char*>(page) + 64;
    std::mt19937 random(1);
    int formatted = 0;
    for (int i = 0; i < 50000; ++i) {
        const std::string format = RandomFormat(random);
        if (MayStoreThroughArgument(format.c_str()) || ReachesFar(format))
            continue;
        std::memset(page, 0, kSize);
        std::memset(place, 'x', 8);
        FormatWithPointers(format.c_str(), place);
        ASSERT_EQ("xxxxxxxx", std::string(place)) << format;
        ++formatted;
    }
    EXPECT_LT(10000, formatted);
    (void)::munmap(page, kSize);
}

// Text and conversions of integers that take one argument each.
std::string RandomIntegerFormat(std::mt19937& random)
{
    static const char* const lengths[] = {"", "", "hh", "h", "l", "ll", "q", "j", "z", "t"};
    std::string format;
    for (std::size_t i = random() % 5; i > 0; --i) {
        format += RandomOf(random, "ab c", random() % 4) + "%";
        format += RandomOf(random, "#0- +'I", random() % 3);
        format += random() % 2 == 0 ? std::to_string(1 + random() % 30) : "";
        format += random() % 2 == 0 ? "." + RandomOf(random, "0123", random() % 3) : "";
        format += lengths[random() % 10];
        format += RandomOf(random, "diouxX", 1);
    }
    return format + (random() % 2 == 0 ? "%%" : "");
}

TEST(ExpandWithoutArgumentsTest, ShowsRandomIntegersAsTheCLibraryShowsZeros)
{
    std::mt19937 random(2);
    for (int i = 0; i < 5000; ++i) {
        const std::string format = RandomIntegerFormat(random);
        SCOPED_TRACE(format);
        char expected[512];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
        (void)std::snprintf(expected, sizeof expected, format.c_str(), 0LL, 0LL, 0LL, 0LL);
#pragma GCC diagnostic pop
        ASSERT_EQ(expected, Expand(format.c_str()));
    }
}

}  // namespace
}  // namespace qor::test
