// CFileUtility's versions of the components' files.
#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>

#include "CFileUtility.h"
#include "support/Files.h"
#include "support/HostTest.h"
#include "support/Memcheck.h"
#include "support/Text.h"

namespace qor::test {
namespace {

constexpr char kVersionFile[] = "/opt/velmora/qor/etc/qorversion.ver";

using Versions = std::list<std::pair<std::string, std::string>>;

// A section that lists one file.
std::string Section(const std::string& section, const std::string& name, const std::string& version)
{
    return "[" + section + "]\nTargetNum=1\nTargetName1=" + name + "\nVersion1=" + version + "\n";
}

struct Comparison {
    const char* a;
    const char* b;
    int result;  // b - a, of the first numbers that differ
};

void ExpectComparisons(std::initializer_list<Comparison> comparisons)
{
    for (const Comparison& c : comparisons) {
        SCOPED_TRACE(std::string(c.a) + " / " + c.b);
        EXPECT_EQ(c.result, CFileUtility::CheckFileVersion(c.a, c.b));
    }
}

class CFileUtilityVersionTest : public HostTest
{
protected:
    // The pairs of the section [S] with the given lines.
    static Versions ListOf(const std::string& lines)
    {
        WriteFile(kVersionFile, "[S]\n" + lines);
        Versions list;
        CFileUtility::MakeVersionList("S", list);
        return list;
    }

    static std::string VersionOf(const std::string& path)
    {
        return CFileUtility::GetFileVersion(path);
    }
};

TEST_F(CFileUtilityVersionTest, ComparesByTheFirstNumberThatDiffers)
{
    ExpectComparisons({
        {"", "", 0},
        {"1", "1", 0},
        {"1.2", "1.2.0", 0},
        {"1.2.0.0", "1.2", 0},
        {"", "0.0", 0},
        {".", "", 0},
        {"1.10", "1.9", -1},
        {"1.9", "1.10", 1},
        {"2", "2.0.1", 1},
        {"2.0.1", "2", -1},
        {"1.2.3", "1.5.3", 3},
        {"1.100", "1.1", -99},
        {"1.0.9", "2.0.0", 1},
        {"2.0.0", "1.9.9", -1},
        {"", "7", 7},
        {"7", "", -7},
        // Leading zeros, and what is no number.
        {"1.02", "1.2", 0},
        {"010", "8", -2},
        {"0x10", "0", 0},
        {"2a", "2", 0},
        {"2a", "3", 1},
        {"a", "0", 0},
        {"a", "5", 5},
        {"1.x.3", "1.0.4", 1},
        {"1-2", "1-3", 0},
        {" 3", "3", 0},
        {"3 ", "3", 0},
        // Empty pieces are no components.
        {"1..2", "1.2", 0},
        {".1.", "1", 0},
        // Signs.
        {"-5", "3", 8},
        {"3", "-5", -8},
        {"+5", "5", 0},
        {"-0", "0", 0},
    });
}

TEST_F(CFileUtilityVersionTest, KeepsTheSignOfADifferenceThatIsTooLargeForTheResult)
{
    ExpectComparisons({
        {"0", "2147483647", INT_MAX},
        {"0", "2147483648", INT_MAX},
        {"2147483647", "0", -INT_MAX},
        {"2147483648", "0", INT_MIN},
        {"2147483649", "0", INT_MIN},
        {"0", "4294967296", INT_MAX},
        {"4294967296", "0", INT_MIN},
        {"4294967296", "4294967297", 1},
        {"9223372036854775806", "9223372036854775807", 1},
        {"-9223372036854775808", "9223372036854775807", INT_MAX},
        {"9223372036854775807", "-9223372036854775808", INT_MIN},
        {"9223372036854775807", "-1", INT_MIN},
        // Beyond its range strtol(3) gives the nearest number.
        {"99999999999999999999", "9223372036854775807", 0},
        {"99999999999999999999", "88888888888888888888", 0},
        {"99999999999999999999", "0", INT_MIN},
        {"-99999999999999999999", "99999999999999999999", INT_MAX},
    });
}

TEST_F(CFileUtilityVersionTest, ComparesVersionsOfManyNumbers)
{
    std::string version;
    for (int i = 0; i < 10000; ++i)
        version += "1.";
    EXPECT_EQ(0, CFileUtility::CheckFileVersion(version, version));
    EXPECT_EQ(2, CFileUtility::CheckFileVersion(version + "1", version + "3"));
}

TEST_F(CFileUtilityVersionTest, ListsAsManyFilesAsTheSectionCounts)
{
    const std::string files =
        "TargetName1=a.so\nVersion1=1.0\nTargetName2=b.so\nVersion2=2.0\n"
        "TargetName3=c.so\nVersion3=3.0\n";
    EXPECT_EQ(Versions({{"a.so", "1.0"}, {"b.so", "2.0"}}), ListOf("TargetNum=2\n" + files));
    EXPECT_EQ(Versions({{"a.so", "1.0"}, {"b.so", "2.0"}, {"c.so", "3.0"}}),
              ListOf("TargetNum=3\n" + files));
    EXPECT_EQ(3U, ListOf(files + "TargetNum = 3\n").size());
}

TEST_F(CFileUtilityVersionTest, ListsNothingForACountBelowOne)
{
    const std::string file = "TargetName0=z\nVersion0=0\nTargetName1=a\nVersion1=1\n";
    for (const char* count : {"TargetNum=0\n", "TargetNum=-1\n", "TargetNum=\n", "TargetNum=x\n",
                              "targetnum=1\n", ""}) {
        SCOPED_TRACE(count);
        EXPECT_EQ(Versions(), ListOf(count + file));
    }
}

TEST_F(CFileUtilityVersionTest, ListsEmptyTextsForMissingKeys)
{
    EXPECT_EQ(Versions({{"a", ""}, {"", "2"}, {"", ""}}),
              ListOf("TargetNum=3\nTargetName1=a\nVersion2=2\n"));
}

TEST_F(CFileUtilityVersionTest, CountsInDecimal)
{
    std::string lines = "TargetNum=120\n";
    for (int i = 120; i >= 1; --i) {
        const std::string number = std::to_string(i);
        lines +=
            "TargetName" + number + "=f" + number + "\nVersion" + number + "=1." + number + "\n";
    }
    const Versions list = ListOf(lines);
    ASSERT_EQ(120U, list.size());
    EXPECT_EQ(Versions::value_type("f1", "1.1"), list.front());
    EXPECT_EQ(Versions::value_type("f10", "1.10"), *std::next(list.begin(), 9));
    EXPECT_EQ(Versions::value_type("f120", "1.120"), list.back());
}

TEST_F(CFileUtilityVersionTest, AppendsToTheList)
{
    WriteFile(kVersionFile, Section("S", "a", "1") + Section("T", "b", "2"));
    Versions list = {{"before", "0"}};

    CFileUtility::MakeVersionList("T", list);
    CFileUtility::MakeVersionList("S", list);
    CFileUtility::MakeVersionList("Absent", list);
    CFileUtility::MakeVersionList("T", list);

    EXPECT_EQ(Versions({{"before", "0"}, {"b", "2"}, {"a", "1"}, {"b", "2"}}), list);
}

TEST_F(CFileUtilityVersionTest, TakesTextsAsTheFileHoldsThem)
{
    EXPECT_EQ(Versions({{"a b \r", ";1=2\t"}}),
              ListOf("TargetNum= 1x\nTargetName1 =  a b \r\nVersion1=;1=2\t\n"));
}

// A line is read in pieces of 255 bytes; what follows is a line of its own.
TEST_F(CFileUtilityVersionTest, CutsALineOf255BytesOrMore)
{
    const std::string key = "TargetName1=";
    for (const std::size_t length : {253U, 254U, 255U, 256U, 257U, 1000U}) {
        SCOPED_TRACE(length);
        const std::string name(length - key.size(), 'x');
        const std::string rest = "\nVersion1=1\n";
        EXPECT_EQ(Versions({{name.substr(0, 255 - key.size()), "1"}}),
                  ListOf("TargetNum=1\n" + key + name + rest));
    }
}

TEST_F(CFileUtilityVersionTest, FindsTheVersionByTheBaseName)
{
    WriteFile(kVersionFile, Section("CLI", "tool", "1.2.3"));
    for (const char* path : {"tool", "/tool", "/opt/velmora/qor/cli/tool", "a/tool", "//tool"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ("1.2.3", VersionOf(path));
    }
    for (const char* path :
         {"Tool", "tool.so", "too", "xtool", "tool/", "tool/x", "", "\\tool", " tool"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ("", VersionOf(path));
    }
}

TEST_F(CFileUtilityVersionTest, SearchesTheSectionsInTheirOrder)
{
    const Strings order = {"Integrated",    "CLI",         "SOM",
                           "UpdateManager", "QORProvider", "VendorModule"};
    std::string content;  // the last one first, as the order in the file does not count
    for (const std::string& section : order)
        content.insert(0, Section(section, "tool", "of " + section));

    for (const std::string& section : order) {
        SCOPED_TRACE(section);
        WriteFile(kVersionFile, content);
        EXPECT_EQ("of " + section, VersionOf("tool"));
        content.resize(content.find("[" + section + "]"));
    }
    EXPECT_EQ("", content);
}

TEST_F(CFileUtilityVersionTest, FindsEveryFileOfASection)
{
    WriteFile(kVersionFile,
              "[Integrated]\nTargetNum=1\nTargetName1=a\nVersion1=1\n"
              "[SOM]\nTargetNum=2\nTargetName1=b\nVersion1=2\nTargetName2=c\nVersion2=3\n");
    EXPECT_EQ("1", VersionOf("a"));
    EXPECT_EQ("2", VersionOf("b"));
    EXPECT_EQ("3", VersionOf("c"));
}

TEST_F(CFileUtilityVersionTest, TakesTheFirstOfTwoEntriesWithOneName)
{
    WriteFile(kVersionFile,
              "[SOM]\nTargetNum=2\nTargetName1=a\nVersion1=1\nTargetName2=a\nVersion2=2\n");
    EXPECT_EQ("1", VersionOf("a"));
}

TEST_F(CFileUtilityVersionTest, StopsAtAnEarlierSectionThatHasNoVersionForTheName)
{
    WriteFile(kVersionFile, "[CLI]\nTargetNum=1\nTargetName1=a\n" + Section("SOM", "a", "2"));
    EXPECT_EQ("", VersionOf("a"));
}

TEST_F(CFileUtilityVersionTest, FindsAnEntryWithoutNameByAPathWithoutBaseName)
{
    WriteFile(kVersionFile, "[CLI]\nTargetNum=1\nVersion1=1\n");
    EXPECT_EQ("1", VersionOf("directory/"));
    EXPECT_EQ("1", VersionOf(""));
}

TEST_F(CFileUtilityVersionTest, LooksInNoOtherSection)
{
    WriteFile(kVersionFile, Section("Other", "a", "1") + "[x]\n" + Section("cli", "a", "1"));
    EXPECT_EQ("", VersionOf("a"));
}

TEST_F(CFileUtilityVersionTest, HasNoVersionWithoutAFileOrACount)
{
    EXPECT_EQ("", VersionOf("a"));
    for (const char* content : {"", "binary\0\xff", "[CLI]\n",
                                "[CLI]\nTargetNum=0\nTargetName1=a\n"
                                "Version1=1\n"}) {
        SCOPED_TRACE(content);
        WriteFile(kVersionFile, content);
        EXPECT_EQ("", VersionOf("a"));
    }
    RemoveTree(kVersionFile);
    MakeDirs(kVersionFile);
    EXPECT_EQ("", VersionOf("a"));
}

TEST_F(CFileUtilityVersionTest, ReadsTheFileAtEachCall)
{
    WriteFile(kVersionFile, Section("CLI", "a", "1"));
    EXPECT_EQ("1", VersionOf("a"));
    WriteFile(kVersionFile, Section("CLI", "a", "2"));
    EXPECT_EQ("2", VersionOf("a"));
}

TEST_F(CFileUtilityVersionTest, IsFoundWithoutATrace)
{
    EXPECT_EQ("", VersionOf("a"));
    EXPECT_EQ(Strings(), ListDir("/opt/velmora/qor/log"));
}

}  // namespace
}  // namespace qor::test
