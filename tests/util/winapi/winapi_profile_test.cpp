// The profile-string functions.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/Memcheck.h"
#include "support/PrivateDiskTest.h"
#include "support/WithoutPrivileges.h"
#include "winapi.h"

namespace qor::test {
namespace {

constexpr char kFile[] = "/opt/test.ini";
constexpr char kAbsent[] = "/opt/absent.ini";
constexpr char kUntouched = '#';
constexpr unsigned long kNullArgument = ULONG_MAX;

std::string Text(std::size_t length)
{
    return std::string(length, 'x');
}

// `size` bytes as GetPrivateProfileStringA leaves them, and one more after them.
class Buffer
{
public:
    explicit Buffer(std::size_t size) : bytes_(size + 1, kUntouched) {}

    char* Data() { return bytes_.data(); }
    std::string Bytes() const { return std::string(bytes_.begin(), bytes_.end() - 1); }
    bool EndUntouched() const { return bytes_.back() == kUntouched; }

private:
    std::vector<char> bytes_;
};

// The wide characters as GetPrivateProfileStringW leaves them, and whether it wrote beyond.
class WideBuffer
{
public:
    char* Data() { return reinterpret_cast<char*>(characters_.data()); }

    // The text up to its NUL; fails without one, or when anything after it was touched.
    std::wstring Written() const
    {
        const std::wstring text(characters_.data(),
                                ::wcsnlen(characters_.data(), characters_.size()));
        EXPECT_LT(text.size(), characters_.size());
        for (std::size_t i = text.size() + 1; i < characters_.size(); ++i)
            EXPECT_EQ(kMark, characters_[i]) << "at " << i;
        return text;
    }
    bool Untouched() const
    {
        return characters_ == std::vector<wchar_t>(characters_.size(), kMark);
    }

private:
    static constexpr wchar_t kMark = L'#';

    std::vector<wchar_t> characters_ = std::vector<wchar_t>(300, kMark);
};

class ScopedLocale
{
public:
    explicit ScopedLocale(const char* name) : former_(std::setlocale(LC_ALL, nullptr))
    {
        isSet_ = std::setlocale(LC_ALL, name) != nullptr;
    }
    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;
    ~ScopedLocale() { (void)std::setlocale(LC_ALL, former_.c_str()); }

    bool IsSet() const { return isSet_; }

private:
    std::string former_;
    bool isSet_ = false;
};

class winapiProfileTest : public PrivateDiskTest
{
protected:
    // All `size` bytes of the buffer.
    static std::string GetA(const char* section, const char* key, const char* defaultValue,
                            std::size_t size, const char* file = kFile)
    {
        Buffer buffer(size);
        EXPECT_EQ(0u,
                  GetPrivateProfileStringA(section, key, defaultValue, buffer.Data(), size, file));
        EXPECT_TRUE(buffer.EndUntouched());
        return buffer.Bytes();
    }

    static std::wstring GetW(const char* section, const char* key, const char* defaultValue,
                             unsigned long size = 300, const char* file = kFile)
    {
        WideBuffer buffer;
        EXPECT_EQ(0u,
                  GetPrivateProfileStringW(section, key, defaultValue, buffer.Data(), size, file));
        return buffer.Written();
    }
};

std::string Padded(std::string text, std::size_t size)
{
    text.resize(size, '\0');
    return text;
}

// GetPrivateProfileStringA

TEST_F(winapiProfileTest, StringAGivesTheValueAsTheReaderDoes)
{
    WriteFile(kFile, "[s]\nk =  a value \r\n;c=0\nempty=\nquoted=\"q\"\n[t]\nk=other\nlast=1");
    static const struct {
        const char* section;
        const char* key;
        const char* text;
    } cases[] = {
        {"s", "k", "a value \r"}, {"s", "quoted", "\"q\""}, {"t", "k", "other"},
        {"t", "last", "1"},       {"s", "empty", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(Padded(c.text, 100), GetA(c.section, c.key, "default", 100));
    }
}

TEST_F(winapiProfileTest, StringAGivesTheDefaultForWhatIsMissing)
{
    WriteFile(kFile, "[s]\nk=1\n;c=2\n");
    MakeDirs("/opt/directory");
    static const struct {
        const char* section;
        const char* key;
        const char* file;
    } cases[] = {
        {"s", "k", kAbsent}, {"s", "k", "/opt/directory"},
        {"s", "k", ""},      {"t", "k", kFile},
        {"s", "K", kFile},   {"S", "k", kFile},
        {"", "", kFile},     {"s", ";c", kFile},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " [" + c.section + "] " + c.key);
        EXPECT_EQ(Padded("default", 20), GetA(c.section, c.key, "default", 20, c.file));
    }
    EXPECT_FALSE(Exists(kAbsent));
}

TEST_F(winapiProfileTest, StringAGivesTheDefaultForAnUnreadableFile)
{
    WriteFile(kFile, "[s]\nk=1\n");
    ASSERT_EQ(0, ::chmod(kFile, 0200));
    const WithoutPrivileges ordinary;

    EXPECT_EQ(Padded("default", 20), GetA("s", "k", "default", 20));
}

TEST_F(winapiProfileTest, StringAPadsOrCutsAtTheSizeWithoutTerminator)
{
    WriteFile(kFile, "[s]\nk=abcdef\n");
    for (std::size_t size = 0; size <= 12; ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(Padded("abcdef", size), GetA("s", "k", "", size));
        EXPECT_EQ(Padded("default", size), GetA("s", "x", "default", size));
    }
    EXPECT_EQ("abcd", GetA("s", "k", "", 4));
}

TEST_F(winapiProfileTest, StringACutsValuesWithTheirLineButNotTheDefault)
{
    WriteFile(kFile, "[s]\nk=" + Text(400) + "\n");
    const std::string longDefault = Text(1000);

    EXPECT_EQ(Padded(Text(253), 600), GetA("s", "k", "", 600));
    EXPECT_EQ(Padded(longDefault, 1200), GetA("s", "x", longDefault.c_str(), 1200));
}

TEST_F(winapiProfileTest, StringRefusesNullsAndLeavesTheBuffer)
{
    WriteFile(kFile, "[s]\nk=1\n");
    WideBuffer b;
    char* const out = b.Data();

    for (const auto get : {GetPrivateProfileStringA, GetPrivateProfileStringW}) {
        EXPECT_EQ(kNullArgument, get(nullptr, "k", "d", out, 20, kFile));
        EXPECT_EQ(kNullArgument, get("s", nullptr, "d", out, 20, kFile));
        EXPECT_EQ(kNullArgument, get("s", "k", nullptr, out, 20, kFile));
        EXPECT_EQ(kNullArgument, get("s", "k", "d", nullptr, 20, kFile));
        EXPECT_EQ(kNullArgument, get("s", "k", "d", out, 20, nullptr));
        EXPECT_TRUE(b.Untouched());
    }
}

// GetPrivateProfileIntA

TEST_F(winapiProfileTest, IntAConvertsAsStrtolCutTo32Bits)
{
    static const struct {
        const char* value;
        int number;
    } cases[] = {
        {"42", 42},
        {"  42 ", 42},
        {"\t42", 42},
        {"\v\f\r42", 42},
        {"+42", 42},
        {"-42", -42},
        {"- 42", 0},
        {"0", 0},
        {"010", 10},
        {"0x10", 0},
        {"12abc", 12},
        {"1.9", 1},
        {"42\r", 42},
        {"x", 0},
        {"\r", 0},
        {"\t", 0},
        {"-", 0},
        {"2147483647", INT_MAX},
        {"2147483648", INT_MIN},
        {"-2147483648", INT_MIN},
        {"-2147483649", INT_MAX},
        {"4294967295", -1},
        {"4294967296", 0},
        {"4294967338", 42},
        {"9223372036854775807", -1},
        {"9223372036854775808", -1},
        {"99999999999999999999999", -1},
        {"-9223372036854775808", 0},
        {"-9223372036854775809", 0},
        {"-99999999999999999999999", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.value));
        WriteFile(kFile, "[s]\nk=" + std::string(c.value) + "\n");
        EXPECT_EQ(c.number, GetPrivateProfileIntA("s", "k", 7, kFile));
        EXPECT_EQ(c.number, GetPrivateProfileIntW("s", "k", 7, kFile));
    }
}

TEST_F(winapiProfileTest, IntGivesTheDefaultForWhatIsMissingOrEmpty)
{
    WriteFile(kFile, "[s]\nk=1\nempty=\nblank=   \n");
    static const struct {
        const char* section;
        const char* key;
        const char* file;
    } cases[] = {
        {"s", "x", kFile},     {"t", "k", kFile},   {"s", "empty", kFile},
        {"s", "blank", kFile}, {"s", "k", kAbsent}, {"s", "k", "/opt"},
    };
    for (const auto& c : cases) {
        for (const int number : {0, 7, -1, INT_MAX, INT_MIN}) {
            SCOPED_TRACE(testing::Message() << c.file << c.section << c.key << number);
            EXPECT_EQ(number, GetPrivateProfileIntA(c.section, c.key, number, c.file));
            EXPECT_EQ(number, GetPrivateProfileIntW(c.section, c.key, number, c.file));
        }
    }
}

TEST_F(winapiProfileTest, IntReadsTheLongestValue)
{
    WriteFile(kFile,
              "[s]\nk=" + std::string(300, '0') + "1\nlong=" + std::string(200, '0') + "12\n");

    EXPECT_EQ(0, GetPrivateProfileIntA("s", "k", 7, kFile));
    EXPECT_EQ(12, GetPrivateProfileIntA("s", "long", 7, kFile));
    EXPECT_EQ(12, GetPrivateProfileIntW("s", "long", 7, kFile));
}

TEST_F(winapiProfileTest, IntGivesTheDefaultForNulls)
{
    WriteFile(kFile, "[s]\nk=1\n");

    for (const auto get : {GetPrivateProfileIntA, GetPrivateProfileIntW}) {
        EXPECT_EQ(7, get(nullptr, "k", 7, kFile));
        EXPECT_EQ(7, get("s", nullptr, 7, kFile));
        EXPECT_EQ(7, get("s", "k", 7, nullptr));
    }
}

// GetPrivateProfileStringW

TEST_F(winapiProfileTest, StringWWritesTheWholeWideTextWhateverTheSize)
{
    QOR_SKIP_UNDER_MEMCHECK("the C library's wmemcmp(3) reads whole vectors, past a text's end");
    WriteFile(kFile, "[s]\nk=value\nempty=\n");
    for (const unsigned long size : {0ul, 1ul, 4ul, 300ul, ULONG_MAX}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(L"value", GetW("s", "k", "d", size));
        EXPECT_EQ(L"d", GetW("s", "x", "d", size));
        EXPECT_EQ(L"", GetW("s", "empty", "d", size));
    }
}

TEST_F(winapiProfileTest, StringWGivesTheValueOrDefaultAsTheAForm)
{
    WriteFile(kFile, "[s]\nk = a value \r\n");

    EXPECT_EQ(L"a value \r", GetW("s", "k", "d"));
    EXPECT_EQ(L"d", GetW("t", "k", "d"));
    EXPECT_EQ(L"d", GetW("s", "k", "d", 300, kAbsent));
    EXPECT_EQ(L"", GetW("s", "x", ""));
}

TEST_F(winapiProfileTest, StringWWritesTheLongestValue)
{
    WriteFile(kFile, "[s]\nk=" + Text(400) + "\n");

    EXPECT_EQ(std::wstring(253, L'x'), GetW("s", "k", "d"));
    EXPECT_EQ(std::wstring(255, L'x'), GetW("s", "x", Text(255).c_str()));
}

TEST_F(winapiProfileTest, StringWConvertsInTheCurrentLocale)
{
    const ScopedLocale utf8("C.UTF-8");
    if (!utf8.IsSet())
        GTEST_SKIP() << "there is no locale C.UTF-8 for this processor";
    WriteFile(kFile, "[s]\nk=\xC3\xBC\xE2\x82\xAC!\nbroken=a\xC3(\n");

    EXPECT_EQ(L"\u00FC\u20AC!", GetW("s", "k", "d"));
    EXPECT_EQ(L"a", GetW("s", "broken", "d"));
}

TEST_F(winapiProfileTest, StringWWritesToAnyAddress)
{
    WriteFile(kFile, "[s]\nk=value\n");
    std::vector<char> bytes(1 + 6 * sizeof(wchar_t) + 1, kUntouched);

    EXPECT_EQ(0u, GetPrivateProfileStringW("s", "k", "d", bytes.data() + 1, 0, kFile));
    EXPECT_EQ(0, std::memcmp(bytes.data() + 1, L"value", 6 * sizeof(wchar_t)));
    EXPECT_EQ(kUntouched, bytes.front());
    EXPECT_EQ(kUntouched, bytes.back());
}

TEST_F(winapiProfileTest, WFormsTakeTextsOfAnyLength)
{
    const std::string path = "/opt/" + Text(200) + "/" + Text(200);
    const std::string section = Text(240);  // a line of the file has 255 bytes
    const std::string key = Text(240);
    WriteFile(path, "[" + section + "]\n" + key + " = 42\n");
    const char* const longText = key.c_str();

    EXPECT_EQ(L"42", GetW(longText, longText, "d", 300, path.c_str()));
    EXPECT_EQ(42, GetPrivateProfileIntW(longText, longText, 7, path.c_str()));
    const std::string value = Text(100000);
    EXPECT_TRUE(
        WritePrivateProfileStringW(value.c_str(), value.c_str(), value.c_str(), path.c_str()));
    EXPECT_EQ("[" + section + "]\n" + key + " = 42\n[" + value + "]\n" + value + "=" + value + "\n",
              ReadFile(path));
    // What is looked for is no leading part of it either.
    EXPECT_EQ(L"d", GetW(value.c_str(), longText, "d", 300, path.c_str()));
    EXPECT_EQ(7, GetPrivateProfileIntW(longText, value.c_str(), 7, path.c_str()));
}

// 256 wide characters always suffice.
TEST_F(winapiProfileTest, StringWCutsTheDefaultAsLongAsTheLongestValue)
{
    EXPECT_EQ(std::wstring(255, L'x'), GetW("s", "k", Text(100000).c_str()));
}

TEST_F(winapiProfileTest, TakesADefaultThatLiesInTheBuffer)
{
    char buffer[] = "ab default";
    EXPECT_EQ(0u, GetPrivateProfileStringA("s", "k", buffer + 3, buffer, sizeof buffer, kFile));
    EXPECT_EQ(Padded("default", sizeof buffer), std::string(buffer, sizeof buffer));

    alignas(wchar_t) char wide[16] = "abc";
    EXPECT_EQ(0u, GetPrivateProfileStringW("s", "k", wide + 1, wide, 0, kFile));
    EXPECT_EQ(0, std::memcmp(wide, L"bc", 3 * sizeof(wchar_t)));
}

// WritePrivateProfileString

TEST_F(winapiProfileTest, WriteMakesAndUpdatesTheFile)
{
    for (const auto write : {WritePrivateProfileStringA, WritePrivateProfileStringW}) {
        RemoveTree(kFile);
        EXPECT_TRUE(write("s", "k", "1", kFile));
        EXPECT_EQ("[s]\nk=1\n", ReadFile(kFile));
        EXPECT_TRUE(write("t", "a", "2", kFile));
        EXPECT_TRUE(write("s", "b", "3", kFile));
        EXPECT_TRUE(write("s", "k", "4", kFile));
        EXPECT_TRUE(write("t", "a", "", kFile));
        EXPECT_EQ("[s]\nk=4\nb=3\n[t]\na=\n", ReadFile(kFile));
    }
}

TEST_F(winapiProfileTest, WriteRefusesNullsAndLeavesTheFile)
{
    WriteFile(kFile, "[s]\nk=1\n");

    for (const auto write : {WritePrivateProfileStringA, WritePrivateProfileStringW}) {
        EXPECT_FALSE(write(nullptr, "k", "2", kFile));
        EXPECT_FALSE(write("s", nullptr, "2", kFile));
        EXPECT_FALSE(write("s", "k", nullptr, kFile));
        EXPECT_FALSE(write("s", "k", "2", nullptr));
        EXPECT_EQ("[s]\nk=1\n", ReadFile(kFile));
    }
}

TEST_F(winapiProfileTest, WriteFailsWhereNoFileCanBe)
{
    for (const auto write : {WritePrivateProfileStringA, WritePrivateProfileStringW}) {
        EXPECT_FALSE(write("s", "k", "1", "/opt/absent/test.ini"));
        EXPECT_FALSE(write("s", "k", "1", "/opt"));
        EXPECT_FALSE(write("s", "k", "1", ""));
    }
    EXPECT_FALSE(Exists("/opt/absent"));
}

TEST_F(winapiProfileTest, WriteReplacesAnUnreadableFile)
{
    for (const auto write : {WritePrivateProfileStringA, WritePrivateProfileStringW}) {
        WriteFile(kFile, "[s]\na=1\n");
        ASSERT_EQ(0, ::chmod(kFile, 0200));
        {
            const WithoutPrivileges ordinary;
            EXPECT_TRUE(write("s", "k", "1", kFile));
        }
        EXPECT_EQ("[s]\nk=1\n", ReadFile(kFile));
    }
}

TEST_F(winapiProfileTest, WriteATakesValuesOfAnyLength)
{
    for (const std::size_t length : {255U, 256U, 511U, 512U, 1023U, 1024U, 5000U}) {
        SCOPED_TRACE(length);
        RemoveTree(kFile);
        EXPECT_TRUE(WritePrivateProfileStringA("s", "k", Text(length).c_str(), kFile));
        EXPECT_TRUE(WritePrivateProfileStringA("s", "b", Text(length).c_str(), kFile));
        EXPECT_EQ("[s]\nk=" + Text(length) + "\nb=" + Text(length) + "\n", ReadFile(kFile));
    }
}

TEST_F(winapiProfileTest, ComesToItsEndOnACancelledThread)
{
    ExpectCompleteWhenCancelled([] {
        EXPECT_TRUE(WritePrivateProfileStringW("s", "k", "1", kFile));
        EXPECT_EQ(L"1", GetW("s", "k", "d"));
        EXPECT_EQ(1, GetPrivateProfileIntW("s", "k", 7, kFile));
    });
}

// Trim, TStringToChar

struct Free {
    void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, Free>;

TEST(winapiTrimTest, DropsSpacesAtBothEnds)
{
    static const struct {
        const char* text;
        const char* trimmed;
    } cases[] = {
        {"", ""},
        {" ", ""},
        {"     ", ""},
        {"a", "a"},
        {" a", "a"},
        {"a ", "a"},
        {"   a b  c   ", "a b  c"},
        {"\ta\t", "\ta\t"},
        {" \t a \t ", "\t a \t"},
        {"\n a \r\n", "\n a \r\n"},
        {"  a\n ", "a\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        std::string text = c.text;
        const OwnedText trimmed(Trim(text.data()));
        EXPECT_STREQ(c.trimmed, trimmed.get());
        EXPECT_EQ(c.text, text);
    }
}

// What lies before the text can be another's, or nothing.
TEST(winapiTrimTest, LooksAtNothingBeforeTheText)
{
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const pages = ::mmap(nullptr, 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, pages);
    char* const text = static_cast<char*>(pages) + page;
    ASSERT_EQ(0, ::mprotect(text, page, PROT_READ | PROT_WRITE));
    for (const char* const spaces : {"", "  "}) {
        std::strcpy(text, spaces);
        EXPECT_STREQ("", OwnedText(Trim(text)).get());
    }
    (void)::munmap(pages, 2 * page);
}

TEST(winapiTrimTest, GivesTextOfItsOwn)
{
    std::string text = "same";
    const OwnedText first(Trim(text.data()));
    const OwnedText second(Trim(text.data()));
    text = "gone";

    EXPECT_STREQ("same", first.get());
    EXPECT_NE(first.get(), second.get());
}

TEST(winapiTrimTest, GivesNullForNull)
{
    EXPECT_EQ(nullptr, Trim(nullptr));
}

TEST(winapiTStringToCharTest, CopiesTheTextWithItsNul)
{
    for (const std::string& text : {std::string(), std::string("abc"), Text(1000)}) {
        Buffer buffer(text.size() + 1);
        EXPECT_EQ(0, TStringToChar(text, buffer.Data()));
        EXPECT_EQ(text + '\0', buffer.Bytes());
        EXPECT_TRUE(buffer.EndUntouched());
    }
}

TEST(winapiTStringToCharTest, StopsAtTheFirstNul)
{
    Buffer buffer(4);

    EXPECT_EQ(0, TStringToChar(std::string("a\0b", 3), buffer.Data()));
    EXPECT_EQ(std::string("a\0##", 4), buffer.Bytes());
}

TEST(winapiTStringToCharTest, WritesNothingToNull)
{
    EXPECT_EQ(0, TStringToChar("abc", nullptr));
}

}  // namespace
}  // namespace qor::test
