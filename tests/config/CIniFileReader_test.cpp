#include "CIniFileReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <list>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "config/IniModel.h"
#include "config/RandomIni.h"
#include "support/Allocations.h"
#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/PrivateDiskTest.h"
#include "support/Threads.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kFile[] = "/opt/test.ini";
constexpr char kUntouched[] = "what the caller put there";

using Value = std::optional<std::string>;
using Names = std::list<std::string>;

static_assert(!std::is_polymorphic<CIniFileReader>::value, "a plain class");

// A query's answer; one that failed must have kept the caller's value.
Value Answer(bool found, const std::string& value)
{
    if (found)
        return value;
    EXPECT_EQ(kUntouched, value);
    return std::nullopt;
}

std::string Text(std::size_t length)
{
    return std::string(length, 'x');
}

class CIniFileReaderTest : public PrivateDiskTest
{
protected:
    Value FindSection(const std::string& section, const std::string& key)
    {
        std::string value = kUntouched;
        const bool found = reader_.find_section(section, key, value);
        return Answer(found, value);
    }

    Value FindKey(const std::string& key)
    {
        std::string value = kUntouched;
        const bool found = reader_.find_key(key, value);
        return Answer(found, value);
    }

    Value FindStr(const char* line, const std::string& key)
    {
        std::string value = kUntouched;
        const bool found = reader_.find_str(line, key, value);
        return Answer(found, value);
    }

    Names ListSection()
    {
        Names names = {kUntouched};
        reader_.list_section(names);
        return names;
    }

    CIniFileReader reader_{kFile};
};

// The file and its being open.

TEST_F(CIniFileReaderTest, TouchesNoFileWhenMade)
{
    const CIniFileReader reader("/opt/other.ini");

    EXPECT_FALSE(Exists("/opt/other.ini"));
}

TEST_F(CIniFileReaderTest, CopiesThePath)
{
    WriteFile(kFile, "k=1\n");
    std::string path = kFile;
    CIniFileReader reader(path);
    path = "/opt/other.ini";

    std::string value;
    EXPECT_TRUE(reader.find_key("k", value));
}

TEST_F(CIniFileReaderTest, IsNotOpenBeforeTheFirstQuery)
{
    WriteFile(kFile, "k=1\n");

    EXPECT_FALSE(reader_.isOpen());
}

TEST_F(CIniFileReaderTest, SaysWhetherTheLastQueryOpenedTheFile)
{
    const std::vector<void (*)(CIniFileReader&)> queries = {
        [](CIniFileReader& reader) {
            std::string value;
            (void)reader.find_key("k", value);
        },
        [](CIniFileReader& reader) {
            std::string value;
            (void)reader.find_section("s", "k", value);
        },
        [](CIniFileReader& reader) {
            Names names;
            reader.list_section(names);
        },
    };
    for (std::size_t i = 0; i < queries.size(); ++i) {
        SCOPED_TRACE(i);
        for (const char* content : {"[s]\nk=1\n", "nothing found\n", ""}) {
            WriteFile(kFile, content);
            queries[i](reader_);
            EXPECT_TRUE(reader_.isOpen());
        }
        RemoveTree(kFile);
        queries[i](reader_);
        EXPECT_FALSE(reader_.isOpen());
    }
}

TEST_F(CIniFileReaderTest, KeepsIsOpenWhileNoQueryIsMade)
{
    WriteFile(kFile, "");
    EXPECT_EQ(std::nullopt, FindKey("k"));
    RemoveTree(kFile);

    EXPECT_EQ("1", FindStr("k=1\n", "k"));
    EXPECT_TRUE(reader_.isOpen());
}

TEST_F(CIniFileReaderTest, FindsNothingInWhatHoldsNothingToRead)
{
    static const struct {
        const char* file;
        void (*make)();
        bool opened;
    } cases[] = {
        {"missing", [] {}, false},
        {"not to be read",
         [] {
             WriteFile(kFile, "[s]\nk=1\n");
             ASSERT_EQ(0, ::chmod(kFile, 0200));
         },
         false},
        {"a directory", [] { MakeDirs(kFile); }, true},
        {"empty", [] { WriteFile(kFile, ""); }, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        RemoveTree(kFile);
        c.make();
        const bool exists = Exists(kFile);
        const WithoutPrivileges ordinary;

        EXPECT_EQ(std::nullopt, FindSection("s", "k"));
        EXPECT_EQ(std::nullopt, FindSection("", ""));
        EXPECT_EQ(std::nullopt, FindKey("k"));
        EXPECT_EQ(std::nullopt, FindKey(""));
        EXPECT_EQ(Names{}, ListSection());
        EXPECT_EQ(c.opened, reader_.isOpen());
        EXPECT_EQ(exists, Exists(kFile));
    }
}

TEST_F(CIniFileReaderTest, SeesTheFileAsItIsAtEachQuery)
{
    WriteFile(kFile, "[s]\nk=1\n");
    EXPECT_EQ("1", FindSection("s", "k"));

    WriteFile(kFile, "[t]\nk=2\n");
    EXPECT_EQ(std::nullopt, FindSection("s", "k"));
    EXPECT_EQ("2", FindKey("k"));
    EXPECT_EQ(Names{"t"}, ListSection());

    RemoveTree(kFile);
    EXPECT_EQ(std::nullopt, FindKey("k"));
}

TEST_F(CIniFileReaderTest, LeavesTheFileAlone)
{
    const std::string content = "[s]\nk = 1\r\nno line feed";
    WriteFile(kFile, content);
    (void)FindSection("s", "x");
    (void)FindKey("x");
    (void)ListSection();

    EXPECT_EQ(content, ReadFile(kFile));
}

// The steps that need no file.

TEST_F(CIniFileReaderTest, TurnsBackslashesIntoSlashes)
{
    static const struct {
        const char* path;
        const char* changed;
    } cases[] = {
        {"", ""},
        {"/opt/a", "/opt/a"},
        {"\\opt\\a", "/opt/a"},
        {"C:\\a/b\\\\c\\", "C:/a/b//c/"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        std::string path = c.path;
        reader_.checkfile(path);
        EXPECT_EQ(c.changed, path);
    }
}

TEST_F(CIniFileReaderTest, MeasuresASectionNameUpToTheFirstBracket)
{
    static const struct {
        const char* line;
        int length;
        int result;
    } cases[] = {
        {"[name]\n", 99, 4}, {"[]", 99, 0},   {"[a]]", 99, 1}, {"[a] b] c", 99, 1}, {"]", 99, -1},
        {"[name\n", 3, 3},   {"[name", 0, 0}, {"", 7, 7},      {"[name", -2, -2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(c.result, reader_.get_section_len(c.line, c.length));
    }
}

TEST_F(CIniFileReaderTest, MatchesALineAgainstAKey)
{
    static const struct {
        const char* line;
        const char* key;
        Value value;
    } cases[] = {
        {"key=value\n", "key", "value"},
        {"key = value\n", "key", "value"},
        {"key   =   value\n", "key", "value"},
        {"key =value", "key", "value"},
        {"key=value \r\n", "key", "value \r"},
        {"key=value\t \n", "key", "value\t "},
        {"key=\tvalue\n", "key", "\tvalue"},
        {"key= \t value\n", "key", "\t value"},
        {"key=\n", "key", ""},
        {"key=", "key", ""},
        {"key=   \n", "key", ""},
        {"key=\r\n", "key", "\r"},
        {"key=a=b\n", "key", "a=b"},
        {"key==b\n", "key", "=b"},
        {"key= = b\n", "key", "= b"},
        {"key=a ; no comment\n", "key", "a ; no comment"},
        {"key=a\nb\n", "key", "a\nb"},
        {"key=a\nb", "key", "a"},
        {"key=a b\n", "key", "a b"},
        {"two words=1\n", "two words", "1"},
        {"=1\n", "", "1"},
        {"   =1\n", "", "1"},
        {"  key=1\n", "  key", "1"},
        {"key\t=1\n", "key\t", "1"},
        {"key\t =1\n", "key\t", "1"},
        {"key \t=1\n", "key \t", "1"},
        {";key=1\n", ";key", "1"},
        {"[s]key=1\n", "[s]key", "1"},
        {"", "", std::nullopt},
        {"\n", "", std::nullopt},
        {"key", "key", std::nullopt},
        {"key\n", "key", std::nullopt},
        {"key value\n", "key", std::nullopt},
        {"key=1\n", "Key", std::nullopt},
        {"key=1\n", "", std::nullopt},
        {"key=1\n", "ke", std::nullopt},
        {"key=1\n", "keys", std::nullopt},
        {"key=1\n", "key ", std::nullopt},
        {"key =1\n", "key ", std::nullopt},
        {"abc=1\n", "ab", std::nullopt},
        {"  key=1\n", "key", std::nullopt},
        {"\tkey=1\n", "key", std::nullopt},
        {"key\t=1\n", "key", std::nullopt},
        {"other=key=1\n", "key", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.line) + " for " + testing::PrintToString(c.key));
        EXPECT_EQ(c.value, FindStr(c.line, c.key));
    }
}

TEST_F(CIniFileReaderTest, MatchesLinesOfAnyLengthWhenGivenDirectly)
{
    const std::string line = Text(1000) + "=" + Text(5000) + "\n";

    EXPECT_EQ(Text(5000), FindStr(line.c_str(), Text(1000)));
}

TEST_F(CIniFileReaderTest, MatchesNothingAgainstANullLine)
{
    EXPECT_EQ(std::nullopt, FindStr(nullptr, "key"));
    EXPECT_EQ(std::nullopt, FindStr(nullptr, ""));
}

// find_key

TEST_F(CIniFileReaderTest, FindsAKeyAnywhereInTheFile)
{
    static const struct {
        const char* content;
        const char* key;
        Value value;
    } cases[] = {
        {"k=1\n", "k", "1"},
        {"[s]\na=0\n[t]\nk=1\n", "k", "1"},
        {"[s]\nk=1\n[t]\nk=2\n", "k", "1"},
        {"k=1\n[s]\nk=2\n", "k", "1"},
        {"[s]\nabc=1\n", "abc", "1"},
        {"[s]\nabc=1\n", "ab", std::nullopt},
        {"; k=1\nk=2\n", "k", "2"},
        {"; k=1\n", "; k", "1"},
        {";k=1\n", "k", std::nullopt},
        {"[s]k=1\nk=2\n", "k", "2"},
        {"[s]k=1\n", "[s]k", "1"},
        {"[s\nk=1\n", "k", "1"},
        {"\n\nno equals sign\nk=1\n", "k", "1"},
        {"k=1", "k", "1"},
        {"k=1\r\n", "k", "1\r"},
        {"\tk=1\n", "k", std::nullopt},
        {"k\n=1\n", "k", std::nullopt},
        {"k\n=1\n", "", "1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content) + " for " + testing::PrintToString(c.key));
        WriteFile(kFile, c.content);
        EXPECT_EQ(c.value, FindKey(c.key));
    }
}

// find_section

TEST_F(CIniFileReaderTest, FindsAKeyInItsSection)
{
    static const struct {
        const char* content;
        const char* section;
        const char* key;
        Value value;
    } cases[] = {
        {"[s]\nkey  =  value\n", "s", "key", "value"},
        {"[s]\n\tkey=value\n", "s", "key", std::nullopt},
        {"[s]\nk=1\n", "s", "k", "1"},
        {"[s]\nk=1", "s", "k", "1"},
        {"[s]\n\n; c\nother=0\nk=1\n", "s", "k", "1"},
        {"[s]\nk=1\nk=2\n", "s", "k", "1"},
        {"k=0\n[s]\nk=1\n", "s", "k", "1"},
        {"[t]\nk=0\n[s]\nk=1\n", "s", "k", "1"},
        {"[t]\nabc=1\n[s]\n", "s", "abc", std::nullopt},
        {"[s]\na=0\n[t]\nk=1\n", "s", "k", std::nullopt},
        {"[s]\nabc=1\n", "s", "ab", std::nullopt},
        {"[s]\n;k=1\nk=2\n", "s", "k", "2"},
        {"[s]\n;k=1\n", "s", ";k", std::nullopt},
        {"[s]\n ;k=1\n", "s", " ;k", "1"},
        {"[s]\nk=1 ; c\n", "s", "k", "1 ; c"},
        {"[s]k=1\n", "s", "k", std::nullopt},
        {"[s]k=1\n", "s", "[s]k", std::nullopt},
        {"[s] text\nk=1\n", "s", "k", "1"},
        {"[s]]\nk=1\n", "s", "k", "1"},
        {"[s]]\nk=1\n", "s]", "k", std::nullopt},
        {"[S]\nk=1\n", "s", "k", std::nullopt},
        {" [s]\nk=1\n", "s", "k", std::nullopt},
        {";[s]\nk=1\n", "s", "k", std::nullopt},
        {"[s]\nk=1\n", "", "k", std::nullopt},
        {"[]\nk=1\n", "", "k", "1"},
        {"[]\nk=1\n", "s", "k", std::nullopt},
        {"[ss]\nk=1\n", "s", "k", std::nullopt},
        {"[s]\nk=1\n", "ss", "k", std::nullopt},
        {"[ net ]\nk=1\n", "net", "k", std::nullopt},
        {"[ net ]\nk=1\n", " net ", "k", "1"},
        {"[[s]\nk=1\n", "[s", "k", "1"},
        {"[s]\r\nk=1\r\n", "s", "k", "1\r"},
        {"[s]\nk\n=1\n", "s", "k", std::nullopt},
        {"[s]", "s", "k", std::nullopt},
        {"[s]\n", "s", "", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content) + " for [" + c.section + "] " + c.key);
        WriteFile(kFile, c.content);
        EXPECT_EQ(c.value, FindSection(c.section, c.key));
    }
}

TEST_F(CIniFileReaderTest, SearchesRepeatedSectionsButForOneThatEndsAnother)
{
    static const struct {
        const char* content;
        Value value;
    } cases[] = {
        {"[s]\nk=1\n[x]\n[s]\nk=2\n", "1"},      {"[s]\nk=1\n[s]\nk=2\n", "1"},
        {"[s]\n[s]\nk=2\n", std::nullopt},       {"[s]\na=0\n[s]\nk=2\n", std::nullopt},
        {"[s]\n;\n\n[s]\nk=2\n", std::nullopt},  {"[s]\n[x]\n[s]\nk=2\n", "2"},
        {"[s]\na=0\n[x]\nk=9\n[s]\nk=2\n", "2"}, {"[s]\n[s]\n[s]\nk=3\n", "3"},
        {"[s]\n[s]\nk=2\n[s]\nk=3\n", "3"},      {"[s]\n[s]\n[s]\n[s]\nk=4\n", std::nullopt},
        {"[s]\n[x]\n[x]\n[s]\nk=2\n", "2"},      {"[x]\n[s]\nk=2\n", "2"},
        {"[s]\n[s\nk=2\n", std::nullopt},        {"[s\n[s]\nk=2\n", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content));
        WriteFile(kFile, c.content);
        EXPECT_EQ(c.value, FindSection("s", "k"));
    }
}

TEST_F(CIniFileReaderTest, TakesAHeaderWithoutBracketForEverySectionItBeginsWith)
{
    WriteFile(kFile, "[name\nk=1\n");

    for (const char* section : {"n", "na", "name", "", "name\n"}) {
        SCOPED_TRACE(section);
        EXPECT_EQ("1", FindSection(section, "k"));
    }
    for (const char* section : {"names", "ame", "N", "[name"}) {
        SCOPED_TRACE(section);
        EXPECT_EQ(std::nullopt, FindSection(section, "k"));
    }
}

TEST_F(CIniFileReaderTest, ReadsCarriageReturnsAsPartOfValues)
{
    WriteFile(kFile, "; c\r\n[s]\r\na=1\r\nb =\r\n\r\nc\r\n");

    EXPECT_EQ("1\r", FindSection("s", "a"));
    EXPECT_EQ("\r", FindSection("s", "b"));
    EXPECT_EQ("1\r", FindKey("a"));
    EXPECT_EQ(std::nullopt, FindKey("c"));
    EXPECT_EQ(Names{"s"}, ListSection());
}

// list_section

TEST_F(CIniFileReaderTest, ListsTheSectionsInFileOrder)
{
    static const struct {
        std::string content;
        Names names;
    } cases[] = {
        {"", {}},
        {"no=header\n;[comment]\n [indented]\n", {}},
        {"[a]\n[b] x\n[c]]\n", {"a", "b", "c]"}},
        {"[b]\nk=1\n[a]\n[b]\n", {"b", "a", "b"}},
        {"[ net ]\n[]\n", {" net ", ""}},
        {"[a] b] c\n[[a]\n", {"a] b", "[a"}},
        {"[name\n", {"name\n"}},
        {"[name\r\n[x]\n", {"name\r\n", "x"}},
        {"[a]\n[name", {"a", "name"}},
        {"[\n[", {"\n", ""}},
        {"[a]", {"a"}},
        {"[a]\r\n", {"a"}},
        {"[" + Text(300) + "]\n", {Text(254)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content));
        WriteFile(kFile, c.content);
        EXPECT_EQ(c.names, ListSection());
    }
}

// Over-long lines, NUL bytes

TEST_F(CIniFileReaderTest, CutsValuesWhereTheLineIsCut)
{
    static const struct {
        std::size_t line;  // bytes, line feed included
        std::size_t value;
    } cases[] = {
        {254, 251}, {255, 252}, {256, 253}, {257, 253}, {400, 253}, {510, 253}, {511, 253},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        WriteFile(kFile, "[s]\nk=" + Text(c.line - 3) + "\nnext=1\n");
        EXPECT_EQ(Text(c.value), FindKey("k"));
        EXPECT_EQ(Text(c.value), FindSection("s", "k"));
        EXPECT_EQ("1", FindSection("s", "next"));
    }
}

TEST_F(CIniFileReaderTest, ReadsTheRestOfAnOverLongLineAsALineOfItsOwn)
{
    const std::string second = "k=" + Text(142) + "\n";  // 145 bytes
    WriteFile(kFile, "[s]\n" + Text(255) + second);

    EXPECT_EQ(Text(142), FindKey("k"));
    EXPECT_EQ(Text(142), FindSection("s", "k"));
}

TEST_F(CIniFileReaderTest, JudgesEachPieceByItsOwnFirstByte)
{
    const std::string rest = "]" + Text(141) + "\n";  // after "[t": 145 bytes
    static const struct {
        const char* what;
        std::string line;
        const char* section;
        const char* key;
        Value value;
    } cases[] = {
        {"a header at the cut", Text(255) + "[t" + rest, "t", "k", "1"},
        {"one byte before it", Text(254) + "[t" + rest, "t", "k", std::nullopt},
        {"one byte after it", Text(256) + "[t" + rest, "t", "k", std::nullopt},
        {"a header at the second cut", Text(510) + "[t" + rest, "t", "k", "1"},
        {"a comment that goes on", ";" + Text(254) + "a=2\n", "s", "a", "2"},
        {"a header that goes on", "[" + Text(254) + "a=2\n", "x", "a", "2"},
        {"a comment at the cut", Text(255) + ";a=2\n", "s", ";a", std::nullopt},
        {"a key across the cut", Text(253) + "key=2\n", "s", "y", "2"},
        {"an equals sign at the cut", Text(255) + "=2\n", "s", "", "2"},
        {"a value that goes on as a key", "a=" + Text(253) + "b=2\n", "s", "b", "2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        WriteFile(kFile, "[s]\n" + c.line + "k=1\n");
        EXPECT_EQ(c.value, FindSection(c.section, c.key));
    }
}

TEST_F(CIniFileReaderTest, SeesAHeaderCutBeforeItsBracketAsUnclosed)
{
    WriteFile(kFile, "[" + Text(254) + "]\nk=1\n");

    EXPECT_EQ("1", FindSection("x", "k"));
    EXPECT_EQ("1", FindSection(Text(254), "k"));
    EXPECT_EQ(std::nullopt, FindSection(Text(255), "k"));
}

TEST_F(CIniFileReaderTest, MatchesTheLongestHeaderThatFits)
{
    WriteFile(kFile, "[" + Text(253) + "]\nk=1\n");  // cut between "]" and line feed

    EXPECT_EQ("1", FindSection(Text(253), "k"));
    EXPECT_EQ(std::nullopt, FindSection(Text(252), "k"));
    EXPECT_EQ(Names{Text(253)}, ListSection());
}

TEST_F(CIniFileReaderTest, EndsALineAtItsFirstNul)
{
    static const struct {
        std::string content;
        const char* section;
        const char* key;
        Value value;
    } cases[] = {
        {"[s]\nk=a\0b\nz=1\n"s, "s", "k", "a"},    {"[s]\nk=a\0b\nz=1\n"s, "s", "z", "1"},
        {"[s]\nk=\0b\n"s, "s", "k", ""},           {"[s]\nk\0=1\n"s, "s", "k", std::nullopt},
        {"[s]\n\0k=1\n"s, "s", "k", std::nullopt}, {"\0[s]\nk=1\n"s, "s", "k", std::nullopt},
        {"[s]\n\0[t]\nk=1\n"s, "s", "k", "1"},     {"[s\0]\nk=1\n"s, "s", "k", "1"},
        {"[sect\0]\nk=1\n"s, "s", "k", "1"},       {"[s]\0\nk=1\n"s, "s", "k", "1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content));
        WriteFile(kFile, c.content);
        EXPECT_EQ(c.value, FindSection(c.section, c.key));
    }

    WriteFile(kFile, "a=1\0b\n\0c=2\nd\0=3\ne=4\0"s);
    EXPECT_EQ("1", FindKey("a"));
    EXPECT_EQ(std::nullopt, FindKey("c"));
    EXPECT_EQ(std::nullopt, FindKey("d"));
    EXPECT_EQ("4", FindKey("e"));

    WriteFile(kFile, "[ab\0c]\n\0[d]\n[e]\0]\n"s);
    EXPECT_EQ((Names{"ab", "e"}), ListSection());
}

TEST_F(CIniFileReaderTest, ReadsBinaryFilesWithoutHarm)
{
    std::string content;
    for (int i = 0; i < 100000; ++i)
        content += static_cast<char>(i * 7919 >> 3);
    WriteFile(kFile, content);

    EXPECT_EQ(std::nullopt, FindSection("s", "no such key"));
    EXPECT_EQ(std::nullopt, FindKey("no such key"));
}

// Cost and concurrency

TEST_F(CIniFileReaderTest, AllocatesNothingButItsAnswer)
{
    const std::string key = "a key too long for a string's own buffer";
    const std::string section = "a section too long for a string's own buffer";
    std::string content;
    for (int i = 0; i < 500; ++i)
        content += "[" + std::to_string(i) + section + "]\n" + std::to_string(i) + key + " = v\n";
    WriteFile(kFile, content + "[" + section + "]\n" + key + " = " + Text(200) + "\n");

    for (const bool wholeFile : {false, true}) {
        for (const bool present : {false, true}) {
            SCOPED_TRACE(testing::Message() << wholeFile << present);
            std::string ourSection = section;
            std::string ourKey = present ? key : key + "s";
            std::string value;

            const AllocationCount count;
            const bool found =
                wholeFile ? reader_.find_key(std::move(ourKey), value)
                          : reader_.find_section(std::move(ourSection), std::move(ourKey), value);
            const std::size_t made = count.Made();

            EXPECT_EQ(present, found);
            EXPECT_EQ(present ? 1u : 0u, made);
        }
    }
}

TEST_F(CIniFileReaderTest, AllocatesNothingForAnAnswerThatHasItsRoom)
{
    WriteFile(kFile, "[s]\nk=" + Text(200) + "\n");
    std::string value;
    value.reserve(200);

    const AllocationCount count;
    const bool found = reader_.find_section("s", "k", value) && reader_.find_key("k", value);
    const std::size_t made = count.Made();

    EXPECT_TRUE(found);
    EXPECT_EQ(0u, made);
}

TEST_F(CIniFileReaderTest, AllocatesOnlyTheListOfSections)
{
    WriteFile(kFile, "[" + Text(100) + "]\nk=" + Text(200) + "\n;" + Text(200) + "\n[short]\n");
    Names names;

    const AllocationCount count;
    reader_.list_section(names);
    const std::size_t made = count.Made();

    EXPECT_EQ((Names{Text(100), "short"}), names);
    EXPECT_EQ(3u, made);  // two entries and the long name's text
}

TEST_F(CIniFileReaderTest, LetsSeveralReadersReadOneFileAtOnce)
{
    WriteFile(kFile, "[s]\nk=1\n");
    std::vector<int> found(4);
    OnThreads(found.size(), [&found](std::size_t thread) {
        CIniFileReader reader(kFile);
        for (int i = 0; i < 200; ++i) {
            std::string value;
            found[thread] += reader.find_section("s", "k", value) && value == "1";
        }
    });

    EXPECT_EQ(std::vector<int>(4, 200), found);
}

TEST_F(CIniFileReaderTest, AnswersAsTheRulesSayForRandomFiles)
{
    std::size_t answers = 0;
    for (unsigned seed = 1; seed <= kRandomFiles; ++seed) {
        const std::string content = RandomIni(seed).File();
        WriteFile(kFile, content);
        const IniReaderModel model(kFile);

        ASSERT_EQ(model.ListSection(), ListSection()) << DescribeCase(seed, content);
        for (const std::string& key : RandomIni::Keys()) {
            ASSERT_EQ(model.FindKey(key), FindKey(key))
                << key << ", " << DescribeCase(seed, content);
            for (const std::string& section : RandomIni::Sections()) {
                const Value value = FindSection(section, key);
                ASSERT_EQ(model.FindSection(section, key), value)
                    << section << ", " << key << ", " << DescribeCase(seed, content);
                answers += value.has_value();
            }
        }
    }
    EXPECT_LT(kRandomFiles, answers) << "The files hold too little of what is asked for.";
}

TEST_F(CIniFileReaderTest, ComesToItsEndOnACancelledThread)
{
    WriteFile(kFile, "[s]\nk=1\n");
    ExpectCompleteWhenCancelled([&] { EXPECT_EQ("1", FindSection("s", "k")); });
    ExpectCompleteWhenCancelled([&] { EXPECT_EQ("1", FindKey("k")); });
    ExpectCompleteWhenCancelled([&] { EXPECT_EQ(Names{"s"}, ListSection()); });
}

}  // namespace
}  // namespace qor::test
