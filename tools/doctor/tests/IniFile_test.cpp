#include "IniFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CIniFileReader.h"
#include "support/Files.h"
#include "support/PrivateDiskTest.h"

namespace doctor {
namespace {

constexpr char kFile[] = "/opt/file.ini";

class IniFileTest : public qor::test::PrivateDiskTest
{
protected:
    static IniFile Read(const std::string& text)
    {
        Report report;
        qor::test::WriteFile(kFile, text);
        return IniFile::Read(kFile, report).value();
    }
};

TEST_F(IniFileTest, KnowsTheLinesOfSectionsAndKeys)
{
    const IniFile file = Read("; a\n[a]\n\nk=1\n[b]\nk = 2\n");

    EXPECT_EQ(2U, file.PlaceOf("a").line);
    EXPECT_EQ(4U, file.PlaceOf("a", "k").line);
    EXPECT_EQ(6U, file.PlaceOf("b", "k").line);
    EXPECT_EQ(5U, file.PlaceOf("b", "none").line);
    EXPECT_EQ(0U, file.PlaceOf("none", "k").line);
}

TEST_F(IniFileTest, HasTheValuesThatTheLibraryReads)
{
    const IniFile file = Read("[a]\n[a]\nhidden=1\n[b\nk=2 \n");

    EXPECT_EQ(std::nullopt, file.Value("a", "hidden"));
    EXPECT_EQ("2 ", file.Value("b", "k"));
    EXPECT_FALSE(file.Sections().back().isClosed);
}

TEST_F(IniFileTest, AnswersAsTheReaderOfTheLibrary)
{
    static const std::string cases[] = {
        "k=0\n[s]\n[t]\n[s]\nk=1\n",
        "[s]\n[s]\nk=1\n[s]\nk=2\n",
        "[s]\n[sect\nk=1\n[se\nk=2\n[s]\nk=3\n",
        "[sect\nk=1\n[s]\nk=2\n",
        "[\nk=1\n[]\nk=2\n[t]\nk=3\n",
        "[s] note\n;k=1\n k=2\nk\t=3\nk  = 4 \r\nk=5\n",
        "[s]x]\nk=a=b;c\n[s\r\n",
        "[s]\nk=\n[t]\nk=   ",
        std::string("[s\0]\nk=1\0\n[t]\nk\0=2\n", 19),
        "[s]\nk=" + std::string(253, 'x') + "[t]\nk=1\n" + std::string(255, 'y') + "[s]\nk=2",
        "[s]\n" + std::string(254, 'x') + "[t]\n" + std::string(255, 'x') + "k=1\n",
    };
    for (const std::string& text : cases) {
        const IniFile file = Read(text);
        for (const char* const section : {"", "s", "se", "sect", "t", "s]x", "none"}) {
            SCOPED_TRACE(testing::PrintToString(text) + " " + section);
            std::string value;
            const bool isFound = CIniFileReader(kFile).find_section(section, "k", value);
            EXPECT_EQ(isFound ? std::make_optional(value) : std::nullopt, file.Value(section, "k"));
        }
    }
}

TEST_F(IniFileTest, JudgesTheRestOfALongLineByItself)
{
    const IniFile file = Read("[a]\nk=" + std::string(253, 'x') + "[b]\nj=1\n");

    ASSERT_NE(nullptr, file.Find("b"));
    EXPECT_EQ(2U, file.Find("b")->line);
    EXPECT_EQ("1", file.Value("b", "j"));
}

TEST_F(IniFileTest, EndsALineAtItsNul)
{
    const IniFile file = Read(std::string("[a]\nk=1\0j=2\n", 13));

    EXPECT_EQ("1", file.Value("a", "k"));
    ASSERT_EQ(1U, file.Sections()[0].entries.size());
    EXPECT_EQ("1", file.Sections()[0].entries[0].value);
}

TEST_F(IniFileTest, IsNothingWhenThereIsNoFile)
{
    Report report;

    EXPECT_FALSE(IniFile::Read(kFile, report));
    EXPECT_TRUE(report.NotSeen().empty());
    EXPECT_TRUE(report.Findings().empty());
}

TEST_F(IniFileTest, IsADirectoryWithAFinding)
{
    Report report;

    EXPECT_FALSE(IniFile::Read("/opt", report));
    ASSERT_EQ(1U, report.Findings().size());
    EXPECT_EQ("not-a-regular-file", report.Findings()[0].known->key);
    EXPECT_EQ("A directory: programs read it as an empty file.", report.Findings()[0].what);
}

}  // namespace
}  // namespace doctor
