#include "COsInfo.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <type_traits>

#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "support/HostTest.h"
#include "support/LogFiles.h"
#include "support/Memcheck.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/SmallDisk.h"
#include "support/Text.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

static_assert(std::has_virtual_destructor_v<COsInfo>, "programs derive from it");

constexpr char kUname[] = "/usr/bin/uname";

std::string FirstWordPrintedBy(const std::string& command)
{
    std::istringstream output(RunShell(command).output);
    std::string word;
    output >> word;
    return word;
}

// "uname" with one script for each of the two questions.
StubCommand UnameThat(const std::string& onPlatform, const std::string& onRelease)
{
    return StubCommand(kUname, "case $1 in\n-i) " + onPlatform + ";;\n-r) " + onRelease +
                                   ";;\n*) echo unexpected;;\nesac");
}

// What a new object answers.
void ExpectAnswers(const std::string& name, const std::string& version)
{
    COsInfo host;
    EXPECT_EQ(name, host.getName());
    EXPECT_EQ(version, host.getVersion());
}

class COsInfoTest : public HostTest
{
};

TEST_F(COsInfoTest, NamesPlatformAndKernelOfThisHost)
{
    COsInfo host;

    EXPECT_EQ(FirstWordPrintedBy("/bin/uname -i"), host.getName());
    EXPECT_EQ(FirstWordPrintedBy("/bin/uname -r"), host.getVersion());
    EXPECT_NE("", host.getVersion());
}

TEST_F(COsInfoTest, HandsOutCopies)
{
    static_assert(std::is_same_v<std::string, decltype(std::declval<COsInfo>().getName())>, "");
    static_assert(std::is_same_v<std::string, decltype(std::declval<COsInfo>().getVersion())>, "");
    const auto uname = UnameThat("echo platform", "echo 6.1");
    COsInfo host;

    host.getName() += "changed";
    host.getVersion().clear();

    EXPECT_EQ("platform", host.getName());
    EXPECT_EQ("6.1", host.getVersion());
}

TEST_F(COsInfoTest, TakesTheFirstWordOfEachAnswer)
{
    const struct {
        const char* output;  // for printf(1)
        const char* word;
    } cases[] = {
        {"x86_64\\n", "x86_64"}, {"x86_64", "x86_64"},
        {"a b c\\n", "a"},       {" \\t\\n a\\tb\\n", "a"},
        {"a\\nb\\n", "a"},       {"", ""},
        {" \\n\\t\\n", ""},      {"\\303\\244\\n", "\xc3\xa4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.output);
        const std::string print = "printf '"s + c.output + "'";
        const auto uname = UnameThat(print, print);
        ExpectAnswers(c.word, c.word);
    }
}

TEST_F(COsInfoTest, AsksForThePlatformAndThenForTheRelease)
{
    const StubCommand uname(kUname, "echo \"$# $*\" >> /opt/asked");

    const COsInfo host;

    EXPECT_EQ("1 -i\n1 -r\n", ReadFile("/opt/asked"));
}

TEST_F(COsInfoTest, LooksAtTheOutputAndNotAtTheExitStatus)
{
    const auto uname = UnameThat("echo platform; exit 1", "echo release; exit 200");
    ExpectAnswers("platform", "release");
}

TEST_F(COsInfoTest, LeavesEmptyWhatACommandDoesNotAnswer)
{
    {
        const auto uname = UnameThat("exit 1", "echo release");
        ExpectAnswers("", "release");
    }
    const auto uname = UnameThat("echo platform", "true");
    ExpectAnswers("platform", "");
}

TEST_F(COsInfoTest, IsEmptyWhereTheCommandIsMissing)
{
    const ReplacedFile uname(kUname);
    const std::string errors = CaptureStderr([] {
        COsInfo host;
        EXPECT_EQ("", host.getName());
        EXPECT_EQ("", host.getVersion());
        EXPECT_TRUE(host.compare("", ""));
    });
    EXPECT_EQ(2U, Lines(errors).size()) << "The shell reports each of the two: " << errors;
}

TEST_F(COsInfoTest, WritesNoTrace)
{
    {
        const COsInfo host;
    }
    const auto uname = UnameThat("exit 1", "exit 1");
    {
        const COsInfo host;
    }
    EXPECT_EQ(Strings(), Records("som"));
    EXPECT_EQ(Strings(), ListDir("/opt/velmora/qor/log"));
}

TEST_F(COsInfoTest, UsesOneScratchFileForBothCommands)
{
    const FrozenTime frozen({{1700000000, 42}, {1700000001, 0}});
    const StubCommand uname(kUname, kNoteScratch + "ls /var/tmp >> /opt/names"s);

    const COsInfo host;

    const std::string note = ScratchName("00001700000000000042") + " 600 0\n";
    EXPECT_EQ(note + note, ReadFile(kScratchNote));
    EXPECT_EQ("qortmp00001700000000000042\nqortmp00001700000000000042\n", ReadFile("/opt/names"));
}

TEST_F(COsInfoTest, GivesTheCommandsNoDescriptorOfItsOwn)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind adds descriptors of its own");
    const StubCommand uname(kUname, "ls /proc/self/fd > /opt/inherited");
    const std::string before = RunShell("ls /proc/self/fd").output;

    const COsInfo host;

    EXPECT_EQ(before, ReadFile("/opt/inherited"));
}

TEST_F(COsInfoTest, IsEmptyWhenTheStatusIsUnknown)
{
    const StubCommand uname(kUname, "echo answer");
    EXPECT_EQ(0, InChildThatIgnoresSigchld([] {
                  ExpectAnswers("", "");
                  return 0;
              }));
}

TEST_F(COsInfoTest, IsEmptyWhenNoProcessCanBeStarted)
{
    EXPECT_EQ(0, InChildWithoutProcesses([] {
                  ExpectAnswers("", "");
                  return 0;
              }));
}

TEST_F(COsInfoTest, KeepsTheFirstAnswerApartWhenTheSecondShellCannotBeStarted)
{
    const StubCommand uname =
        UnameThat("echo hardware; mount --bind /dev/null $(readlink -f /bin/sh)", "echo release");

    COsInfo host;

    ASSERT_EQ(0, ::umount2("/bin/sh", MNT_DETACH));
    EXPECT_EQ("hardware", host.getName());
    EXPECT_EQ("", host.getVersion());
}

TEST_F(COsInfoTest, IsEmptyWithoutAPlaceForScratchFiles)
{
    const StubCommand uname(kUname, "echo answer");
    {
        const SmallDisk var("/var", 4096);  // without a /var/tmp
        ExpectAnswers("", "");
    }
    SmallDisk disk(kScratchDir, 4096);
    disk.MakeReadOnly();
    ExpectAnswers("", "");
}

TEST_F(COsInfoTest, IsEmptyWhenTheAnswersFindNoRoom)
{
    const StubCommand uname(kUname, "echo answer 2>/dev/null");
    SmallDisk disk(kScratchDir, 4096);
    disk.Fill();
    {
        ExpectAnswers("", "");
    }
    EXPECT_EQ(Strings({"filler"}), ListDir(kScratchDir));
}

TEST_F(COsInfoTest, IsNotMadeOnACancelledThread)
{
    const auto run = RunCancelled([] { const COsInfo host; });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
}

TEST_F(COsInfoTest, KeepsItsAnswers)
{
    auto uname = std::make_unique<StubCommand>(kUname, "echo before");
    COsInfo host;
    uname.reset();

    EXPECT_EQ("before", host.getName());
    EXPECT_EQ("before", host.getVersion());
}

TEST_F(COsInfoTest, ComparesBothTextsExactly)
{
    const auto uname = UnameThat("echo plat", "echo 6.1.0");
    COsInfo host;
    const struct {
        std::string name;
        std::string version;
        bool equal;
    } cases[] = {
        {"plat", "6.1.0", true},     {"pla", "6.1.0", false},
        {"plat", "6.1", false},      {"plats", "6.1.0", false},
        {"plat", "6.1.0 ", false},   {"Plat", "6.1.0", false},
        {"6.1.0", "plat", false},    {"", "", false},
        {"plat", "", false},         {"", "6.1.0", false},
        {"plat\0"s, "6.1.0", false}, {"plat", "6.1.0\0x"s, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name + " " + c.version);
        EXPECT_EQ(c.equal, host.compare(c.name, c.version));
    }
}

TEST_F(COsInfoTest, FindsTheFirstLetterOfALine)
{
    COsInfo host;
    const struct {
        const char* line;
        int position;  // -1: none
    } cases[] = {
        {"", -1},
        {"\n", -1},
        {"\nabc", -1},
        {"abc", 0},
        {"Zeta", 0},
        {"\tUUID: 1", 1},
        {" \t 12-a", 6},
        {"123\n", -1},
        {"12\nab", -1},
        {"1", -1},
        {"@[`{a", 4},
        {"\x80\xff"
         "a",
         2},
        {"\t\n", -1},
        {"z", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.line));
        const char* const expected = c.position < 0 ? nullptr : c.line + c.position;
        EXPECT_EQ(static_cast<const void*>(expected), host.firstString(c.line));
    }
    EXPECT_EQ(nullptr, host.firstString(nullptr));
}

// Reads one line from a file of the given content.
class COsInfoFgetnTest : public HostTest
{
protected:
    // True: fgetn returned its buffer; false: null.
    bool Read(const std::string& content, std::string& buffer, std::size_t size)
    {
        WriteFile("/opt/lines", content);
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/opt/lines", "re"),
                                                                   std::fclose);
        char* const result = host_.fgetn(&buffer[0], size, file.get());
        EXPECT_TRUE(result == nullptr || result == buffer.data());
        return result != nullptr;
    }

    COsInfo host_;
};

TEST_F(COsInfoFgetnTest, ReadsALineWithoutItsLineFeed)
{
    const struct {
        std::string content;
        std::size_t size;
        std::string line;
    } cases[] = {
        {"abc\ndef\n", 8, "abc"},
        {"abc", 8, "abc"},
        {"\nabc\n", 8, ""},
        {"a\n", 8, "a"},
        {"a\r\n", 8, "a\r"},
        {"abcdefgh\n", 8, "abcdefg"},
        {"abcdefg\n", 8, "abcdefg"},
        {"abcdef\n", 8, "abcdef"},
        {" \n", 8, " "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content));
        std::string buffer(c.size, '\0');
        EXPECT_TRUE(Read(c.content, buffer, c.size));
        EXPECT_STREQ(c.line.c_str(), buffer.c_str());
    }
}

TEST_F(COsInfoFgetnTest, ChangesTheBuffersFirstLineFeedEvenAfterTheTextOrWithoutOne)
{
    const struct {
        std::string content;
        std::string buffer;
        std::size_t size;
        bool read;
        std::string after;
    } cases[] = {
        {"ab", "xxxx\nyy\n", 8, true, "ab\0x\0yy\n"s},
        {"ab\n", "xxxx\nyy\n", 8, true, "ab\0\0\nyy\n"s},  // no more than one
        {"\nab\n", "xxxx\nyy\n", 8, true, "\0\0xx\nyy\n"s},
        {"", "ab\nc\n", 5, false, "ab\0c\n"s},  // at the end of the file
        {"", "\nb\n", 3, false, "\0b\n"s},
        {"ab", "xxxx\n\n", 4, true, "ab\0x\n\n"s},  // no further than the size
        {"ab", "x\n", 1, true, "\0\n"s},
        {"ab\n", "\n\n", 0, false, "\n\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content) + " " + testing::PrintToString(c.buffer));
        std::string buffer = c.buffer;
        EXPECT_EQ(c.read, Read(c.content, buffer, c.size));
        EXPECT_EQ(c.after, buffer);
    }
}

TEST_F(COsInfoFgetnTest, ReadsLineAfterLine)
{
    WriteFile("/opt/lines", "first\n\nthird");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/opt/lines", "re"),
                                                               std::fclose);
    char buffer[16] = {};
    for (const char* line : {"first", "", "third"}) {
        EXPECT_EQ(buffer, host_.fgetn(buffer, sizeof buffer, file.get()));
        EXPECT_STREQ(line, buffer);
    }
    EXPECT_EQ(nullptr, host_.fgetn(buffer, sizeof buffer, file.get()));
}

TEST_F(COsInfoFgetnTest, RefusesNullPointers)
{
    char buffer[] = "\n";
    EXPECT_EQ(nullptr, host_.fgetn(buffer, sizeof buffer, nullptr));
    EXPECT_STREQ("\n", buffer);
    EXPECT_EQ(nullptr, host_.fgetn(nullptr, 1, stdin));
}

}  // namespace
}  // namespace qor::test
