// What the program is asked to do, and how it says no.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "Doctor.h"
#include "support/Files.h"
#include "support/TestPaths.h"

namespace doctor::test {
namespace {

using qor::test::RunShell;
using qor::test::ShellResult;
using testing::HasSubstr;
using testing::StartsWith;

class CommandLineTest : public DoctorTest
{
};

TEST_F(CommandLineTest, AsksForHelpAndVersion)
{
    EXPECT_THAT(Run("--help").output, StartsWith("Usage: qor_doctor [OPTION]...\n"));
    EXPECT_EQ(0, Run("--help").status);
    EXPECT_TRUE(std::regex_match(Run("--version").output,
                                 std::regex("qor_doctor [0-9]+\\.[0-9]+\\.[0-9]+\n")));
    EXPECT_EQ(0, Run("--version").status);
}

TEST_F(CommandLineTest, TellsWrongUsage)
{
    for (const char* const arguments : {"--nonsense", "file", "--providers", "--json=yes"}) {
        SCOPED_TRACE(arguments);
        const ShellResult result = Run(arguments);
        EXPECT_EQ(3, result.status);
        EXPECT_THAT(result.output, HasSubstr("Try 'qor_doctor --help'."));
    }
}

TEST_F(CommandLineTest, TellsThatThereIsNoInstallation)
{
    const ShellResult result = Run();

    EXPECT_EQ("qor_doctor: there is no installation in /opt/velmora/qor\n", result.output);
    EXPECT_EQ(3, result.status);
    EXPECT_FALSE(qor::test::Exists("/opt/velmora"));
}

TEST_F(CommandLineTest, TellsThatItsOutputIsLost)
{
    MakeGoodInstallation();

    const ShellResult result = RunShell(Command() + " >/dev/full");

    EXPECT_EQ("qor_doctor: the output cannot be written\n", result.output);
    EXPECT_EQ(3, result.status);
}

TEST_F(CommandLineTest, NamesLibraryDirectories)
{
    MakeGoodInstallation();

    const std::vector<std::string> found =
        FindingsIn(Run("--provider-dir /opt/none --vendor-dir /opt/none").output);

    EXPECT_THAT(found, testing::ElementsAre("library-missing", "library-missing"));
}

// The rows of the table in README.md: "| `id` | severity | ...".
TEST_F(CommandLineTest, ListsTheFindingsOfTheDocument)
{
    const std::string document =
        qor::test::ReadFile(qor::test::SourcePath("tools/doctor/README.md"));
    static const std::regex row("\\| `([a-z-]+)` \\| (error|warning) \\|");
    std::string rows;
    for (std::sregex_iterator match(document.begin(), document.end(), row), end; match != end;
         ++match)
        rows += match->str(1) + " " + match->str(2) + "\n";

    EXPECT_EQ(rows, RunShell(Command("--list") + " | cut -d ' ' -f 1,2").output);
}

}  // namespace
}  // namespace doctor::test
