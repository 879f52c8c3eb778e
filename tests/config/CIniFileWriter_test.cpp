#include "CIniFileWriter.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "CIniFileReader.h"
#include "config/IniModel.h"
#include "config/RandomIni.h"
#include "support/Allocations.h"
#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/PrivateDiskTest.h"
#include "support/Processes.h"
#include "support/SmallDisk.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kWritten[] = "/opt/test.ini";

static_assert(std::has_virtual_destructor<CIniFileWriter>::value, "deleted as a base");

bool Append(const std::string& section, const std::string& key, const std::string& value)
{
    return CIniFileWriter(kWritten).append(section, key, value);
}

// The file's bytes after one update of a file that held `content`.
std::string After(const std::string& content, const std::string& section, const std::string& key,
                  const std::string& value)
{
    WriteFile(kWritten, content);
    EXPECT_TRUE(Append(section, key, value));
    return ReadFile(kWritten);
}

// An update as the tables have it: key "key" of section "s" set to "new".
struct Update {
    const char* before;
    const char* after;
};

void ExpectUpdates(std::initializer_list<Update> updates)
{
    for (const Update& update : updates) {
        SCOPED_TRACE(testing::PrintToString(update.before));
        EXPECT_EQ(update.after, After(update.before, "s", "key", "new"));
    }
}

// A text on the heap, as writeFile takes it.
char* HeapText(const std::string& text)
{
    char* const copy = new char[text.size() + 1];
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

class ScopedUmask
{
public:
    explicit ScopedUmask(mode_t mask) : former_(::umask(mask)) {}
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;
    ~ScopedUmask() { (void)::umask(former_); }

private:
    mode_t former_;
};

class CIniFileWriterTest : public PrivateDiskTest
{
};

// Making the file

TEST_F(CIniFileWriterTest, MakesAMissingFileAndFillsAnEmptyOne)
{
    EXPECT_TRUE(Append("s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\n", ReadFile(kWritten));

    EXPECT_EQ("[s]\nkey=new\n", After("", "s", "key", "new"));
}

TEST_F(CIniFileWriterTest, MakesFilesWithMode0644LessTheUmask)
{
    static const struct {
        mode_t mask;
        mode_t mode;
    } cases[] = {{0, 0644}, {022, 0644}, {027, 0640}, {077, 0600}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::oct << c.mask);
        RemoveTree(kWritten);
        const ScopedUmask umask(c.mask);
        EXPECT_TRUE(Append("s", "key", "new"));
        EXPECT_EQ(c.mode, FileMode(kWritten));
    }
}

TEST_F(CIniFileWriterTest, KeepsTheModeOfAnExistingFile)
{
    WriteFile(kWritten, "[s]\n");
    ASSERT_EQ(0, ::chmod(kWritten, 0660));

    EXPECT_TRUE(Append("s", "key", "new"));
    EXPECT_EQ(mode_t{0660}, FileMode(kWritten));
}

TEST_F(CIniFileWriterTest, RewritesTheFileInPlace)
{
    WriteFile(kWritten, "[s]\nkey=old\n");
    ASSERT_EQ(0, ::link(kWritten, "/opt/second_name.ini"));

    EXPECT_TRUE(Append("s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\n", ReadFile("/opt/second_name.ini"));
    EXPECT_EQ((std::vector<std::string>{"second_name.ini", "test.ini"}), ListDir("/opt"));
}

TEST_F(CIniFileWriterTest, TouchesNoFileBeforeTheUpdate)
{
    {
        const CIniFileWriter missing("/opt/other.ini");
        WriteFile(kWritten, "[s]\nkey=old");
        const CIniFileWriter existing(kWritten);
    }
    EXPECT_FALSE(Exists("/opt/other.ini"));
    EXPECT_EQ("[s]\nkey=old", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, CopiesThePath)
{
    std::string path = kWritten;
    CIniFileWriter writer(path);
    path = "/opt/other.ini";

    EXPECT_TRUE(writer.append("s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\n", ReadFile(kWritten));
}

// Replacing a key's line

TEST_F(CIniFileWriterTest, ReplacesTheWholeLineOfTheKey)
{
    ExpectUpdates({
        {"[s]\nkey=old\n", "[s]\nkey=new\n"},
        {"[s]\nkey = old\n", "[s]\nkey=new\n"},
        {"[s]\nkey   =   old\n", "[s]\nkey=new\n"},
        {"[s]\nkey=\n", "[s]\nkey=new\n"},
        {"[s]\nkey=old ; comment\n", "[s]\nkey=new\n"},
        {"[s]\r\na=1\r\nkey=old\r\nb=2\r\n", "[s]\r\na=1\r\nkey=new\nb=2\r\n"},
        {"; c\n[r]\nkey=0\n\n[s]\n a = 1 \nkey = old\n\tb=2\n[t]\nkey=9",
         "; c\n[r]\nkey=0\n\n[s]\n a = 1 \nkey=new\n\tb=2\n[t]\nkey=9"},
        {"[s]\n\n;key=0\nkey=old\n", "[s]\n\n;key=0\nkey=new\n"},
        {"[s]\nkey=a=[b]\n[t]\n", "[s]\nkey=new\n[t]\n"},
        // The first of two.
        {"[s]\nkey=1\nkey=2\n", "[s]\nkey=new\nkey=2\n"},
        // A last line without line feed.
        {"[s]\na=1\nkey=old", "[s]\na=1\nkey=new\n"},
        {"[s]\nkey ", "[s]\nkey=new\n"},
        // After an opening bracket inside a line.
        {"[s]\na=x[1]\nkey=old\n", "[s]\na=x[1]\nkey=new\n"},
    });
}

TEST_F(CIniFileWriterTest, TakesEveryLineThatBeginsWithTheKeyAndASpaceForTheKeys)
{
    ExpectUpdates(
        {{"[s]\nkey ring=1\nkey=2\n", "[s]\nkey=new\nkey=2\n"}, {"[s]\nkey \n", "[s]\nkey=new\n"}});
}

TEST_F(CIniFileWriterTest, AddsTheKeyBesideLinesThatAreNotItsOwn)
{
    ExpectUpdates({
        {"[s]\nkey\t=1\n", "[s]\nkey\t=1\nkey=new\n"},
        {"[s]\nkeys=1\n", "[s]\nkeys=1\nkey=new\n"},
        {"[s]\nke=1\n", "[s]\nke=1\nkey=new\n"},
        {"[s]\n key=1\n", "[s]\n key=1\nkey=new\n"},
        {"[s]\n\tkey=1\n", "[s]\n\tkey=1\nkey=new\n"},
        {"[s]\nKey=1\n", "[s]\nKey=1\nkey=new\n"},
        {"[s]\n;key=1\n", "[s]\n;key=1\nkey=new\n"},
        {"[s]\nkey\n", "[s]\nkey\nkey=new\n"},
        {"[s]\nkey\n=1\n", "[s]\nkey\n=1\nkey=new\n"},
        {"[s]\na=key=1\n", "[s]\na=key=1\nkey=new\n"},
        {"[s]key=1\n", "[s]key=1\nkey=new\n"},
    });
}

// Adding a key to its section

TEST_F(CIniFileWriterTest, AddsTheKeyAtTheEndOfTheSection)
{
    ExpectUpdates({
        {"[s]\n", "[s]\nkey=new\n"},
        {"[s]\na=1\n", "[s]\na=1\nkey=new\n"},
        {"[r]\nkey=0\n[s]\na=1\n", "[r]\nkey=0\n[s]\na=1\nkey=new\n"},
        {"[s]\n[t]\nkey=9\n", "[s]\nkey=new\n[t]\nkey=9\n"},
        {"[s]\na=1\n[t]\nkey=9\n", "[s]\na=1\nkey=new\n[t]\nkey=9\n"},
        {"[s]\na=1\n\n; of t\n[t]\n", "[s]\na=1\n\n; of t\nkey=new\n[t]\n"},
        {"[s]\n\n\n", "[s]\n\n\nkey=new\n"},
        {"[s]\r\na=1\r\n[t]\r\n", "[s]\r\na=1\r\nkey=new\n[t]\r\n"},
        // To the first of repeated sections.
        {"[s]\na=1\n[s]\nkey=old\n", "[s]\na=1\nkey=new\n[s]\nkey=old\n"},
        {"[s]\n[t]\n[s]\nkey=old\n", "[s]\nkey=new\n[t]\n[s]\nkey=old\n"},
        // Brackets in the header itself do not count.
        {"[s] x [y]\na=1\n", "[s] x [y]\na=1\nkey=new\n"},
        {"[s][t]\na=1\n[t]\n", "[s][t]\na=1\nkey=new\n[t]\n"},
        // Every line that begins with a bracket ends the search for the key.
        {"[s]\n[t\nkey=old\n", "[s]\nkey=new\n[t\nkey=old\n"},
        {"[s]\na=1\n[\nkey=old\n", "[s]\na=1\nkey=new\n[\nkey=old\n"},
        // A header that ends the file gets its line feed.
        {"[s]", "[s]\nkey=new\n"},
        {"[r]\na=1\n[s] x[y", "[r]\na=1\n[s] x[y\nkey=new\n"},
    });
}

TEST_F(CIniFileWriterTest, BreaksTheSectionAtAnyOpeningBracket)
{
    ExpectUpdates({
        {"[s]\na=x[1]\nb=2\n", "[s]\na=xkey=new\n[1]\nb=2\n"},
        {"[s]\n; see [t]\n[t]\n", "[s]\n; see key=new\n[t]\n[t]\n"},
        {"[s]\n [t]\n", "[s]\n key=new\n[t]\n"},
    });
}

TEST_F(CIniFileWriterTest, ContinuesALastLineWithoutLineFeed)
{
    ExpectUpdates({{"[s]\na=1", "[s]\na=1key=new\n"}, {"[s]\nkey", "[s]\nkeykey=new\n"}});
}

// Finding and adding the section

TEST_F(CIniFileWriterTest, FindsTheSectionByTheFirstClosedHeader)
{
    static const struct {
        const char* section;
        const char* header;
        bool found;
    } cases[] = {
        {"s", "[s]", true},        {"s", "[s] text", true}, {"s", "[s]]", true},
        {"s", "[s]\r", true},      {"s]", "[s]]", true},    {"a]b", "[a]b]", true},
        {"", "[]", true},          {"[s", "[[s]", true},    {" net ", "[ net ]", true},
        {"net", "[ net ]", false}, {"s", "[S]", false},     {"s", "[s", false},
        {"s", "[s x]", false},     {"s", "[ss]", false},    {"ss", "[s]", false},
        {"s", " [s]", false},      {"s", ";[s]", false},    {"s", "x[s]", false},
        {"s", "s]", false},        {"s", "xs]", false},     {"", "[", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.header) + " for " + c.section);
        const std::string before = c.header + "\n"s;
        const std::string block = "["s + c.section + "]\nk=1\n";
        EXPECT_EQ(before + (c.found ? "k=1\n" : block), After(before, c.section, "k", "1"));
    }
}

TEST_F(CIniFileWriterTest, AddsAMissingSectionAfterTheText)
{
    ExpectUpdates({
        {"[t]\nkey=old\n", "[t]\nkey=old\n[s]\nkey=new\n"},
        {"key=old\n", "key=old\n[s]\nkey=new\n"},
        {"\n", "\n[s]\nkey=new\n"},
        {"[t]\r\n", "[t]\r\n[s]\nkey=new\n"},
        {"[t]\na=1\n\n", "[t]\na=1\n\n[s]\nkey=new\n"},
        // A header that is glued to a line is none.
        {"[t]\na=1[s]\nkey=1\n", "[t]\na=1[s]\nkey=1\n[s]\nkey=new\n"},
    });
}

TEST_F(CIniFileWriterTest, GluesANewSectionToALastLineWithoutLineFeed)
{
    ExpectUpdates({{"[t]\na=1", "[t]\na=1[s]\nkey=new\n"}, {"[t]", "[t][s]\nkey=new\n"}});
}

TEST_F(CIniFileWriterTest, WritesTextsOfAnyKindAsTheyAre)
{
    EXPECT_EQ("[]\n=\n", After("", "", "", ""));
    EXPECT_EQ("[a b]\n c = d %s\n", After("", "a b", " c ", " d %s"));
    EXPECT_EQ("[s]\nk=1\n[t]\nx=2\n", After("", "s", "k", "1\n[t]\nx=2"));
}

TEST_F(CIniFileWriterTest, FindsAnEmptyKey)
{
    EXPECT_EQ("[s]\na=1\n=2\n", After("[s]\na=1\n = x\n", "s", "", "2"));
}

TEST_F(CIniFileWriterTest, WritesWhatTheReaderReads)
{
    EXPECT_TRUE(Append("s", "a", "1"));
    EXPECT_TRUE(Append("t", "a", "2"));
    EXPECT_TRUE(Append("s", "b", "3"));
    EXPECT_TRUE(Append("s", "a", "4 "));

    EXPECT_EQ("[s]\na=4 \nb=3\n[t]\na=2\n", ReadFile(kWritten));
    std::string value;
    EXPECT_TRUE(CIniFileReader(kWritten).find_section("s", "a", value));
    EXPECT_EQ("4 ", value);
}

// Texts with NUL bytes

TEST_F(CIniFileWriterTest, EndsTheOldTextAtItsFirstNul)
{
    EXPECT_EQ("[s]\na=1key=new\n", After("[s]\na=1\0\nkey=old\n"s, "s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\n", After("[s]\nkey=old\0\nb=2\n"s, "s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\nb=2", After("[s]\nkey=old\nb=2\0[t]\n"s, "s", "key", "new"));
    EXPECT_EQ("[t]\n[s]\nkey=new\n", After("[t]\n\0[s]\n"s, "s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\n", After("\0[s]\nkey=old\n"s, "s", "key", "new"));
}

TEST_F(CIniFileWriterTest, EndsTheOldTextAtANulBeforeTheGivenPosition)
{
    WriteFile(kWritten, "[s]\na=1\n\0[t]\nb=2\nc=3\n"s);
    {
        CIniFileWriter writer(kWritten);
        char* const hidden = writer.getNextLine(writer.getSectionPos("s")) + 5;
        EXPECT_TRUE(writer.replaceKey(writer.getKeyPos(hidden, "b"), "b", "new"));
    }
    EXPECT_EQ("[s]\na=1\n", ReadFile(kWritten));

    WriteFile(kWritten, "[s]\na=1\n\0[t]\nb=2\nc=3\n"s);
    {
        CIniFileWriter writer(kWritten);
        char* const hidden = writer.getNextLine(writer.getSectionPos("s")) + 5;
        EXPECT_TRUE(writer.appendKey(hidden, "d", "4"));
    }
    EXPECT_EQ("[s]\na=1\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, EndsGivenTextsAtTheirFirstNul)
{
    EXPECT_EQ("[s]\nkey=new\n", After("", "s\0x"s, "key\0x"s, "new\0x"s));
    EXPECT_EQ("[s]\nkey=new\n", After("[s]\nkey=old\n", "s\0x"s, "key\0x"s, "new\0x"s));
    EXPECT_EQ("[s]\na=1\nkey=new\n", After("[s]\na=1\n", "s\0x"s, "key\0x"s, "new\0x"s));
}

// Long texts

TEST_F(CIniFileWriterTest, WritesEntriesOfAnyLength)
{
    for (const std::size_t length :
         {254U, 255U, 256U, 500U, 511U, 512U, 1023U, 1024U, 5000U, 300000U}) {
        SCOPED_TRACE(length);
        const std::string value(length, 'v');
        EXPECT_EQ("[s]\nk=" + value + "\n", After("", "s", "k", value));
        EXPECT_EQ("[t]\n[s]\nk=" + value + "\n", After("[t]\n", "s", "k", value));
        EXPECT_EQ("[s]\nk=" + value + "\n[t]\n", After("[s]\n[t]\n", "s", "k", value));
        EXPECT_EQ("[s]\nk=" + value + "\nb=2\n", After("[s]\nk=1\nb=2\n", "s", "k", value));

        RemoveTree(kWritten);
        EXPECT_TRUE(Append("s", "k", value));
        EXPECT_EQ("[s]\nk=" + value + "\n", ReadFile(kWritten));
    }
}

TEST_F(CIniFileWriterTest, WritesLongKeysAndSections)
{
    const std::string section(2000, 's');
    const std::string key(3000, 'k');
    const std::string block = "[" + section + "]\n" + key + "=";

    EXPECT_EQ(block + "1\n", After("", section, key, "1"));
    EXPECT_EQ(block + "2\n", After(block + "1\n", section, key, "2"));
    EXPECT_EQ(block + "1\nk=3\n", After(block + "1\n", section, "k", "3"));
}

TEST_F(CIniFileWriterTest, ReplacesALongLineWhole)
{
    for (const std::size_t length : {254U, 255U, 256U, 257U, 400U, 510U, 5000U}) {
        SCOPED_TRACE(length);
        const std::string line = "key=" + std::string(length - 5, 'x') + "\n";
        EXPECT_EQ("[s]\nkey=new\nb=2\n", After("[s]\n" + line + "b=2\n", "s", "key", "new"));
    }
}

TEST_F(CIniFileWriterTest, UpdatesALargeFile)
{
    std::string head = "[r]\n";
    std::string tail = "[t]\n";
    for (int i = 0; i < 20000; ++i) {
        head += "a" + std::to_string(i) + "=1\n";
        tail += "b" + std::to_string(i) + "=1\n";
    }
    EXPECT_EQ(head + "[s]\nkey=new\n" + tail,
              After(head + "[s]\nkey=old\n" + tail, "s", "key", "new"));
}

// The snapshot

TEST_F(CIniFileWriterTest, LosesTheFirstOfTwoUpdates)
{
    WriteFile(kWritten, "[s]\na=1\n");
    CIniFileWriter writer(kWritten);

    EXPECT_TRUE(writer.append("s", "first", "1"));
    EXPECT_TRUE(writer.append("s", "second", "2"));
    EXPECT_EQ("[s]\na=1\nsecond=2\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, LosesTheFirstOfTwoUpdatesOfAMissingFile)
{
    CIniFileWriter writer(kWritten);

    EXPECT_TRUE(writer.append("s", "first", "1"));
    EXPECT_TRUE(writer.append("t", "second", "2"));
    EXPECT_EQ("[t]\nsecond=2\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, WritesFromTheFileAsItWasAtTheBeginning)
{
    WriteFile(kWritten, "[s]\na=1\n");
    CIniFileWriter writer(kWritten);
    WriteFile(kWritten, "[s]\nkey=meanwhile\nmore=2\n");

    EXPECT_TRUE(writer.append("s", "key", "new"));
    EXPECT_EQ("[s]\na=1\nkey=new\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, ReplacesAFileThatItMayNotRead)
{
    WriteFile(kWritten, "[s]\na=1\n");
    ASSERT_EQ(0, ::chmod(kWritten, 0200));
    {
        const WithoutPrivileges ordinary;
        EXPECT_TRUE(Append("s", "key", "new"));
    }
    EXPECT_EQ("[s]\nkey=new\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, ReplacesAFileThatCouldNotBeReadInFull)
{
    MakeDirs(kWritten);
    CIniFileWriter writer(kWritten);  // opens, but read(2) fails with EISDIR
    RemoveTree(kWritten);
    WriteFile(kWritten, "[s]\na=1\n");

    EXPECT_TRUE(writer.append("s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, ReplacesAFileThatIsTooLargeForTheMemory)
{
    WriteFile(kWritten, "[s]\n" + std::string(100000, 'x'));
    const AllocationLimit limit(50000);

    EXPECT_TRUE(Append("s", "key", "new"));
    EXPECT_EQ("[s]\nkey=new\n", ReadFile(kWritten));
}

// Failures

TEST_F(CIniFileWriterTest, FailsWhereNoFileCanBe)
{
    WriteFile("/opt/directory/inside", "x");
    for (const char* const path : {"/opt/absent/test.ini", "/opt/directory", ""}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(CIniFileWriter(path).append("s", "key", "new"));
    }
    EXPECT_FALSE(Exists("/opt/absent"));
    EXPECT_EQ("x", ReadFile("/opt/directory/inside"));
}

TEST_F(CIniFileWriterTest, FailsOnAFileThatItMayNotWriteAndLeavesIt)
{
    WriteFile(kWritten, "[s]\nkey=old\n");
    ASSERT_EQ(0, ::chmod(kWritten, 0400));
    const WithoutPrivileges ordinary;

    EXPECT_FALSE(Append("s", "key", "new"));
    EXPECT_FALSE(Append("s", "other", "new"));
    EXPECT_FALSE(Append("t", "key", "new"));
    EXPECT_EQ("[s]\nkey=old\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, FailsOnAReadOnlyDiskAndLeavesTheFile)
{
    SmallDisk disk("/opt/small", 4096);
    WriteFile("/opt/small/test.ini", "[s]\nkey=old\n");
    disk.MakeReadOnly();

    EXPECT_FALSE(CIniFileWriter("/opt/small/test.ini").append("s", "key", "new"));
    EXPECT_EQ("[s]\nkey=old\n", ReadFile("/opt/small/test.ini"));
}

TEST_F(CIniFileWriterTest, FailsOnAFullDisk)
{
    const std::string path = "/opt/small/test.ini";
    for (const bool exists : {false, true}) {
        SCOPED_TRACE(exists);
        SmallDisk disk("/opt/small", 8192);
        if (exists)
            WriteFile(path, "");
        disk.Fill();

        EXPECT_FALSE(CIniFileWriter(path).append("s", "key", "new"));
        EXPECT_EQ("", ReadFile(path));
    }
}

TEST_F(CIniFileWriterTest, FailsWhenTheTextFitsInPartOnly)
{
    const std::string path = "/opt/small/test.ini";
    const std::string old = "[s]\nkey=old\n" + std::string(3000, '\n');
    for (const char* key : {"key", "other"}) {
        for (const char* section : {"s", "t"}) {
            SCOPED_TRACE(section + std::string(key));
            const SmallDisk disk("/opt/small", 4096);
            WriteFile(path, old);
            EXPECT_FALSE(CIniFileWriter(path).append(section, key, std::string(2000, 'v')));
        }
    }
}

TEST_F(CIniFileWriterTest, FailsWhenTheWriteComesShort)
{
    WriteFile(kWritten, "[s]\nkey=old\nb=2\n");
    EXPECT_EQ(
        0, InChild([] {
            const rlimit limit = {10, 10};
            if (::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || ::setrlimit(RLIMIT_FSIZE, &limit) != 0)
                return 2;
            return Append("s", "key", "new") ? 1 : 0;
        }));

    EXPECT_EQ("[s]\nkey=ne", ReadFile(kWritten));
}

// The steps

TEST_F(CIniFileWriterTest, PointsAtTheFirstHeaderOfASection)
{
    WriteFile(kWritten, "x\n[r]\n[s] first\n[s]\n[last]");
    CIniFileWriter writer(kWritten);

    EXPECT_STREQ("[s] first\n[s]\n[last]", writer.getSectionPos("s"));
    EXPECT_STREQ("[last]", writer.getSectionPos("last"));
    EXPECT_EQ(nullptr, writer.getSectionPos("S"));
    EXPECT_EQ(nullptr, writer.getSectionPos(""));
    EXPECT_EQ(nullptr, writer.getSectionPos(nullptr));
}

TEST_F(CIniFileWriterTest, PointsAtNoSectionOfAMissingOrEmptyFile)
{
    EXPECT_EQ(nullptr, CIniFileWriter(kWritten).getSectionPos("s"));

    for (const std::string& content : {""s, "\0[s]\n"s}) {
        WriteFile(kWritten, content);
        EXPECT_EQ(nullptr, CIniFileWriter(kWritten).getSectionPos("s"));
    }
}

TEST_F(CIniFileWriterTest, PointsAtTheFirstLineOfAKeyInItsSection)
{
    WriteFile(kWritten, "[r]\nk=0\n[s]\na=1\nk =1\nk=2\n[t]\n[u]\n\nlast=3");
    CIniFileWriter writer(kWritten);
    char* const s = writer.getSectionPos("s");

    EXPECT_STREQ("k =1\nk=2\n[t]\n[u]\n\nlast=3", writer.getKeyPos(s, "k"));
    EXPECT_STREQ("a=1\nk =1\nk=2\n[t]\n[u]\n\nlast=3", writer.getKeyPos(s, "a"));
    EXPECT_EQ(nullptr, writer.getKeyPos(s, "last"));
    EXPECT_EQ(nullptr, writer.getKeyPos(s, ""));
    EXPECT_EQ(nullptr, writer.getKeyPos(writer.getSectionPos("t"), "last"));
    EXPECT_STREQ("last=3", writer.getKeyPos(writer.getSectionPos("u"), "last"));
    EXPECT_EQ(nullptr, writer.getKeyPos(s, nullptr));
    EXPECT_EQ(nullptr, writer.getKeyPos(nullptr, "k"));
}

TEST_F(CIniFileWriterTest, PointsAtNoKeyOfASectionThatEndsTheText)
{
    for (const char* content : {"[s]", "[s]\n", "[s]\nk", "[s]\nkk"}) {
        SCOPED_TRACE(testing::PrintToString(content));
        WriteFile(kWritten, content);
        CIniFileWriter writer(kWritten);
        EXPECT_EQ(nullptr, writer.getKeyPos(writer.getSectionPos("s"), "k"));
    }
}

TEST_F(CIniFileWriterTest, PointsAfterTheNextLineFeed)
{
    CIniFileWriter writer(kWritten);
    char text[] = "ab\n\ncd";

    EXPECT_EQ(text + 3, writer.getNextLine(text));
    EXPECT_EQ(text + 3, writer.getNextLine(text + 2));
    EXPECT_EQ(text + 4, writer.getNextLine(text + 3));
    EXPECT_EQ(nullptr, writer.getNextLine(text + 4));
    EXPECT_EQ(nullptr, writer.getNextLine(text + 6));
    EXPECT_EQ(nullptr, writer.getNextLine(nullptr));
    char ended[] = "ab\n";
    EXPECT_EQ(ended + 3, writer.getNextLine(ended));
}

TEST_F(CIniFileWriterTest, OffersEachRewriteAlone)
{
    const std::string old = "[s]\na=1\n[t]\n";
    WriteFile(kWritten, old);
    CIniFileWriter writer(kWritten);
    char* const section = writer.getSectionPos("s");

    EXPECT_TRUE(writer.replaceKey(writer.getKeyPos(section, "a"), "b", "2"));
    EXPECT_EQ("[s]\nb=2\n[t]\n", ReadFile(kWritten));
    EXPECT_TRUE(writer.appendKey(section, "a", "2"));
    EXPECT_EQ("[s]\na=1\na=2\n[t]\n", ReadFile(kWritten));
    EXPECT_TRUE(writer.appendSection("s", "a", "2"));
    EXPECT_EQ(old + "[s]\na=2\n", ReadFile(kWritten));
    EXPECT_TRUE(writer.createFile("s", "a", "2"));
    EXPECT_EQ("[s]\na=2\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, LeavesTheFileWhenARewriteHasNoPosition)
{
    WriteFile(kWritten, "[s]\n");
    CIniFileWriter writer(kWritten);

    EXPECT_FALSE(writer.replaceKey(nullptr, "k", "1"));
    EXPECT_FALSE(writer.appendKey(nullptr, "k", "1"));
    EXPECT_FALSE(writer.writeFile(nullptr));
    EXPECT_EQ("[s]\n", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, WritesATextAndFreesIt)
{
    WriteFile(kWritten, "something longer than the text");
    CIniFileWriter writer(kWritten);
    char* const text = HeapText("a\n\nb");

    const AllocationCount count;
    const bool written = writer.writeFile(text);
    const long kept = count.Kept();

    EXPECT_TRUE(written);
    EXPECT_EQ(-1, kept);
    EXPECT_EQ("a\n\nb", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, FreesATextThatItCannotWrite)
{
    CIniFileWriter writer("/opt/absent/test.ini");
    char* const text = HeapText("a");
    char* const empty = HeapText("");

    const AllocationCount count;
    const bool written = writer.writeFile(text) || writer.writeFile(empty);
    const long kept = count.Kept();

    EXPECT_FALSE(written);
    EXPECT_EQ(-2, kept);
}

TEST_F(CIniFileWriterTest, WritesAnEmptyText)
{
    WriteFile(kWritten, "[s]\n");
    CIniFileWriter writer(kWritten);

    EXPECT_TRUE(writer.writeFile(HeapText("")));
    EXPECT_EQ("", ReadFile(kWritten));
}

TEST_F(CIniFileWriterTest, WritesAsTheRulesSayForRandomFiles)
{
    for (unsigned seed = 1; seed <= kRandomFiles; ++seed) {
        RandomIni random(seed);
        const std::string content = random.File();
        for (int update = 0; update < 10; ++update) {
            const std::string section = random.Section();
            const std::string key = random.Key();
            const std::string value = random.Value();
            ASSERT_EQ(AppendModel(content, section, key, value),
                      After(content, section, key, value))
                << "[" << section << "] " << key << "=" << value << ", "
                << DescribeCase(seed, content);
        }
    }
}

TEST_F(CIniFileWriterTest, ComesToItsEndOnACancelledThread)
{
    WriteFile(kWritten, "[s]\nkey=old\n");
    ExpectCompleteWhenCancelled([] { EXPECT_TRUE(Append("s", "key", "new")); });
    EXPECT_EQ("[s]\nkey=new\n", ReadFile(kWritten));
}

}  // namespace
}  // namespace qor::test
