// Colour for people, JSON for machines.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "Doctor.h"
#include "support/Descriptors.h"
#include "support/Files.h"

namespace doctor::test {
namespace {

using qor::test::RunShell;
using testing::HasSubstr;
using testing::Not;

constexpr char kEscape[] = "\x1b[";

// Pseudo-terminals of the test's own: an ordinary user may not open those of the host by this way.
class OwnTerminals
{
public:
    OwnTerminals()
    {
        if (::mount("devpts", "/dev/pts", "devpts", 0, "newinstance,ptmxmode=0666") != 0)
            qor::test::ThrowErrno("mount /dev/pts");
    }
    OwnTerminals(const OwnTerminals&) = delete;
    OwnTerminals& operator=(const OwnTerminals&) = delete;
    ~OwnTerminals() { (void)::umount2("/dev/pts", MNT_DETACH); }  // mounted above
};

class OutputTest : public DoctorTest
{
protected:
    OutputTest()
    {
        MakeGoodInstallation();
        qor::test::WriteFile(RootPath("um/TraceSetting.ini"), "[APP_SETTING]\nTraceLevel=1F\n");
    }

    // What the command prints on a terminal of its own.
    static std::string OnATerminal(const std::string& environment,
                                   const std::string& arguments = {})
    {
        return RunShell("TERM=xterm; export TERM; unset NO_COLOR; " + environment +
                        " script -qec '" + Command(arguments) + "' /dev/null")
            .output;
    }

private:
    const OwnTerminals terminals_;
};

TEST_F(OutputTest, HasColourOnATerminal)
{
    EXPECT_THAT(OnATerminal(""), HasSubstr("\x1b[1;33mwarning\x1b[0m: compression-off"));
}

TEST_F(OutputTest, HasNoColourElsewhere)
{
    EXPECT_THAT(RunShell("TERM=xterm " + Command()).output, Not(HasSubstr(kEscape)));
}

TEST_F(OutputTest, HasNoColourWhereItIsNotWanted)
{
    for (const char* const environment : {"NO_COLOR=1", "TERM=dumb"}) {
        SCOPED_TRACE(environment);
        const std::string output = OnATerminal(environment);
        EXPECT_THAT(output, HasSubstr("warning: compression-off"));
        EXPECT_THAT(output, Not(HasSubstr(kEscape)));
    }
    EXPECT_THAT(OnATerminal("NO_COLOR="), HasSubstr(kEscape));
}

TEST_F(OutputTest, IsValidJsonWhateverTheFilesHold)
{
    qor::test::WriteFile(RootPath("um/TraceSettingMsg.ini"),
                         "[\"\\\t\x01\x7f\xff\xc3\xa4\xed\xa0\x80]\nFormat=x\n");

    const qor::test::ShellResult result =
        RunShell(Command("--json") + " | python3 -m json.tool --no-ensure-ascii");

    EXPECT_EQ(0, result.status) << result.output;
    EXPECT_THAT(result.output, HasSubstr("[\\\"\\\\\\t\\u0001"));
    EXPECT_THAT(result.output, HasSubstr("\xc3\xa4"));
    EXPECT_THAT(result.output, HasSubstr("\"line\": 1,"));
}

TEST_F(OutputTest, HasNoColourInJson)
{
    EXPECT_THAT(OnATerminal("", "--json"), Not(HasSubstr(kEscape)));
}

}  // namespace
}  // namespace doctor::test
