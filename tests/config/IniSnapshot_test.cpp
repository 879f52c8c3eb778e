#include "config/IniSnapshot.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "base/Files.h"
#include "config/IniModel.h"
#include "config/RandomIni.h"
#include "support/Files.h"
#include "support/PrivateDiskTest.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

constexpr char kTaken[] = "/opt/test.ini";

using View = std::optional<std::string_view>;
using Views = std::vector<std::string_view>;

class IniSnapshotTest : public PrivateDiskTest
{
};

TEST_F(IniSnapshotTest, AnswersFromAShortText)
{
    const IniSnapshot snapshot("[s]\nk=1\n");

    EXPECT_EQ("1", snapshot.Find("s", "k"));
    EXPECT_EQ(std::nullopt, snapshot.Find("t", "k"));
    EXPECT_EQ(Views{"s"}, snapshot.SectionNames());
}

TEST_F(IniSnapshotTest, TakesAFileThatCannotBeReadForAnEmptyOne)
{
    MakeDirs("/opt/directory");
    WriteFile("/opt/secret", "[s]\nk=1\n");
    ASSERT_EQ(0, ::chmod("/opt/secret", 0200));
    WriteFile("/opt/empty", "");

    const WithoutPrivileges ordinary;
    for (const char* path : {"/opt/absent", "/opt/directory", "/opt/secret", "/opt/empty"}) {
        SCOPED_TRACE(path);
        const IniSnapshot snapshot(qor::ReadFile(path));
        EXPECT_EQ(std::nullopt, snapshot.Find("s", "k"));
        EXPECT_EQ(std::nullopt, snapshot.Find("", ""));
        EXPECT_EQ(Views{}, snapshot.SectionNames());
    }
}

TEST_F(IniSnapshotTest, FindsTheFirstKeyOfTheFirstSectionThatHasIt)
{
    static const struct {
        const char* content;
        const char* section;
        View value;
    } cases[] = {
        {"[s]\nk = 1 \r\n", "s", "1 \r"},
        {"[s]\nk=1\nk=2\n", "s", "1"},
        {"[s]\n;k=1\nk=2\n", "s", "2"},
        {"k=1\n[s]\n", "s", std::nullopt},
        {"[t]\nk=1\n[s]\nk=2\n", "s", "2"},
        {"[s]\n[x]\nk=1\n[s]\nk=2\n", "s", "2"},
        {"[s]\n[s]\nk=2\n", "s", std::nullopt},
        {"[s]\n[s]\n[s]\nk=3\n", "s", "3"},
        {"[s]\n[s\nk=2\n", "s", std::nullopt},
        {"[sect\n[x]\n[s]\nk=3\n", "s", "3"},
        {"[sect\n[s]\nk=3\n", "s", std::nullopt},
        {"[sect\nk=1\n[s]\nk=3\n", "s", "1"},
        {"[sect\nk=1\n[s]\nk=3\n", "sect", "1"},
        {"[sect\nk=1\n[s]\nk=3\n", "sects", std::nullopt},
        {"[]\nk=1\n", "", "1"},
        {"[s]]\nk=1\n", "s]", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content) + " for " + c.section);
        WriteFile(kTaken, c.content);
        const IniSnapshot snapshot(ReadFile(kTaken));
        EXPECT_EQ(c.value, snapshot.Find(c.section, "k"));
    }
}

TEST_F(IniSnapshotTest, FindsSeveralKeysAsEachByItself)
{
    using Values = std::array<View, 3>;
    static const struct {
        const char* content;
        Values values;
    } cases[] = {
        {"", {}},
        {"[s]\nc=3\nb=2\na=1\n", {"1", "2", "3"}},
        {"[s]\nb=\nb=2\n", {{std::nullopt, "", std::nullopt}}},
        {"[s]\na=1\n[x]\na=4\n[s]\na=7\nb=2\n[x]\n[s]\nb=8\nc=3\n", {"1", "2", "3"}},
        {"[s]\na=1\n[s]\nb=2\n[s]\nc=3\n", {{"1", std::nullopt, "3"}}},
        {"[s]\na=1\n[s\nb=2\n[s\nc=3\n", {{"1", std::nullopt, "3"}}},
        {"[st\nb=2\n[x]\n[s]\na=1\nb=7\n", {{"1", "2", std::nullopt}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content));
        WriteFile(kTaken, c.content);
        const IniSnapshot snapshot(ReadFile(kTaken));
        EXPECT_EQ(c.values, snapshot.Find("s", std::array<std::string_view, 3>{"a", "b", "c"}));
    }
}

TEST_F(IniSnapshotTest, AnswersAsTheRulesSayForRandomFiles)
{
    std::size_t answers = 0;
    for (unsigned seed = 1; seed <= kRandomFiles; ++seed) {
        const std::string content = RandomIni(seed).File();
        WriteFile(kTaken, content);
        const IniReaderModel model(kTaken);
        const IniSnapshot snapshot(ReadFile(kTaken));

        const auto& names = snapshot.SectionNames();
        ASSERT_EQ(model.ListSection(), std::list<std::string>(names.begin(), names.end()))
            << DescribeCase(seed, content);
        for (const std::string& section : RandomIni::Sections()) {
            for (const std::string& key : RandomIni::Keys()) {
                const auto value = snapshot.Find(section, key);
                ASSERT_EQ(model.FindSection(section, key), value)
                    << section << ", " << key << ", " << DescribeCase(seed, content);
                answers += value.has_value();
            }
            const std::array<std::string_view, 3> keys{"k", "kk", "key"};
            const std::array<View, 3> each{snapshot.Find(section, keys[0]),
                                           snapshot.Find(section, keys[1]),
                                           snapshot.Find(section, keys[2])};
            ASSERT_EQ(each, snapshot.Find(section, keys))
                << section << ", " << DescribeCase(seed, content);
        }
    }
    EXPECT_LT(kRandomFiles, answers) << "The files hold too little of what is asked for.";
}

// What IniSections gives for each section before it ends.
std::string Walked(const std::string& text)
{
    IniSections sections(text);
    std::string walked;
    while (sections.Next()) {
        const auto [a, b] = sections.Find(std::array<std::string_view, 2>{"a", "b"});
        walked.append(sections.Name()).append(":");
        walked.append(a.value_or("-")).append(b.value_or("-")).append(" ");
    }
    return walked + (sections.IsAtEnd() ? "end" : "stop");
}

TEST(IniSectionsTest, GivesEachSectionInOrder)
{
    using std::string_literals::operator""s;
    static const struct {
        std::string text;
        const char* walked;
    } cases[] = {
        {"", "end"},
        {"a=1\n", "end"},
        {"[s]", "s:-- end"},
        {"a=0\n[s]\nb = 2\na=1\na=3\n[]\n;b=4\nb\n[s]\nb=5\n", "s:12 :-- s:-5 end"},
        {"[s] ; text\na=1\n[t]\n" + std::string(300, 'x') + "\nb=2\n", "s:1- t:-2 end"},
        {"[s]\na=1\0x\n\0b=2\n[t]\0]\nb=2\n"s, "s:1- t:-2 end"},
        {"[s]\na=1\n[t\nb=2\n[u]\n", "s:1- stop"},
        {"[s]\na=1\n[t]]\nb=2\n[u]\n", "s:1- stop"},
        {"[s]\n[t\0]\n"s, "s:-- stop"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.walked, Walked(c.text)) << testing::PrintToString(c.text);
}

}  // namespace
}  // namespace qor::test
