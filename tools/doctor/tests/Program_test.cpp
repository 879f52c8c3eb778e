// The program as a whole, where cases.txt does not show it: what it prints for whom, and what runs
// beside it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <regex>
#include <set>
#include <sstream>

#include "CTraceUtilityCom.h"
#include "Doctor.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/TestPaths.h"
#include "support/WaitUntil.h"

namespace doctor::test {
namespace {

using qor::test::BuildPath;
using qor::test::ReadFile;
using qor::test::SourcePath;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kEscape[] = "\x1b[";

// What a group of the expression matches, wherever it does.
std::string AllOf(const std::string& text, const std::string& expression)
{
    const std::regex regex(expression);
    std::string all;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        all += match->format("$1$2\n");
    return all;
}

using ProgramTest = DoctorTest;

TEST_F(ProgramTest, HasHelpAndAVersion)
{
    EXPECT_THAT(Run("$doctor --help").output, StartsWith("Usage: qor_doctor [OPTION]...\n"));
    EXPECT_EQ(0, Run("$doctor --help").status);
    EXPECT_TRUE(std::regex_match(Run("$doctor --version").output,
                                 std::regex("qor_doctor [0-9]+\\.[0-9]+\\.[0-9]+\n")));
    EXPECT_EQ(0, Run("$doctor --version").status);
}

// The rows of the table in README.md: "| `id` | severity | ...".
TEST_F(ProgramTest, ListsTheFindingsOfTheDocument)
{
    const std::string document = ReadFile(SourcePath("tools/doctor/README.md"));

    EXPECT_EQ(AllOf(document, "\\| `([a-z-]+)` \\|( error| warning) \\|"),
              Run("$doctor --list | cut -d ' ' -f 1,2").output);
}

// The document is the manual page, too.
TEST_F(ProgramTest, ListsTheOptionsOfTheDocument)
{
    const std::string document = ReadFile(SourcePath("tools/doctor/README.md"));
    const std::string help = Run("$doctor --help | sed -n '/^  -j/,$p'").output;

    ASSERT_THAT(help, HasSubstr("--version"));
    std::istringstream options(AllOf(help, "[ ](--[a-z-]+) "));
    for (std::string option; std::getline(options, option);)
        EXPECT_THAT(document, HasSubstr("`" + option));
}

TEST_F(ProgramTest, HasItsOptionsCompletedByTheShell)
{
    const auto complete = [](const std::string& words) {
        return Run("bash -c '. " + SourcePath("packaging/bash-completion/qor_doctor") +
                   "; COMP_WORDS=(qor_doctor " + words +
                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                   "_qor_doctor qor_doctor; echo \"${COMPREPLY[@]}\"'")
            .output;
    };

    EXPECT_EQ("--no-load\n", complete("--n"));
    EXPECT_EQ("--vendor-dir --vendors --version\n", complete("--json --ve"));
    EXPECT_EQ("som/socket.conf\n", complete("--channel som/so"));
    EXPECT_EQ("provider\n", complete("--provider-dir p"));
}

TEST_F(ProgramTest, HasACaseForEveryFinding)
{
    const std::string cases = ReadFile(SourcePath("tools/doctor/tests/cases.txt"));
    std::vector<std::string> found =
        FindingsIn(AllOf(cases, "\n> ([^|\n]*: (?:error|warning): [a-z-]+) \\|"));
    found.insert(found.end(), {"library-outdated", "library-shadowed", "log-several-writers",
                               "spool-several-servers", "umask-open"});  // below
    std::string all;
    for (const std::string& id : std::set<std::string>(found.begin(), found.end()))
        all += id + "\n";

    EXPECT_EQ(Run("$doctor --list | cut -d ' ' -f 1 | LC_ALL=C sort").output, all);
}

TEST_F(ProgramTest, ReportsThatItsOutputIsLost)
{
    const qor::test::ShellResult result = Run("$doctor >/dev/full");

    EXPECT_EQ("qor_doctor: the output cannot be written\n", result.output);
    EXPECT_EQ(3, result.status);
}

TEST_F(ProgramTest, PrintsValidJsonWhateverTheFilesHold)
{
    const qor::test::ShellResult result = Run(
        R"(printf '["\\\t\001\177\377\303\244\355\240\200]\nFormat=x\n' >um/TraceSettingMsg.ini
           $doctor --json | python3 -c 'if True:
               import json, sys
               all = json.load(sys.stdin)
               first = all["findings"][0]
               print(all["root"], all["errors"], all["warnings"], all["unseen"],
                     first["subject"], first["severity"], first["line"], first["what"].encode())')");

    EXPECT_THAT(result.output, StartsWith("/opt/velmora/qor 1 0 [] catalogues error 1 b"));
    EXPECT_THAT(result.output, HasSubstr(R"(["\\\t\x01\x7f\xef\xbf\xbd\xc3\xa4\xef\xbf\xbd)"));
}

// Pseudo-terminals of the test's own: an ordinary user may not open those of the host by this way.
class ColourTest : public ProgramTest
{
protected:
    ColourTest()
    {
        if (::mount("devpts", "/dev/pts", "devpts", 0, "newinstance,ptmxmode=0666") != 0)
            qor::test::ThrowErrno("mount /dev/pts");
    }
    ~ColourTest() override { (void)::umount2("/dev/pts", MNT_DETACH); }  // mounted above
};

TEST_F(ColourTest, IsForTerminalsWhereItIsWanted)
{
    static const struct {
        const char* command;
        bool hasColour;
    } cases[] = {
        {"script -qec \"$doctor\" /dev/null", true},
        {"NO_COLOR= script -qec \"$doctor\" /dev/null", true},
        {"NO_COLOR=1 script -qec \"$doctor\" /dev/null", false},
        {"TERM=dumb script -qec \"$doctor\" /dev/null", false},
        {"script -qec \"$doctor --json\" /dev/null", false},
        {"$doctor", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command);
        const std::string setUp =
            "settings um TraceLevel=1F; TERM=xterm; export TERM; unset NO_COLOR; ";
        const std::string output = Run(setUp + c.command).output;
        EXPECT_THAT(output, HasSubstr("compression-off"));
        if (c.hasColour)
            EXPECT_THAT(output, HasSubstr("\x1b[1;33mwarning\x1b[0m: compression-off"));
        else
            EXPECT_THAT(output, Not(HasSubstr(kEscape)));
    }
}

TEST_F(ProgramTest, EndsWhatALibraryHasStarted)
{
    for (const char* const how : {"", "touch /opt/abort; "}) {
        const qor::test::ShellResult result =
            Run("cp $BUILD/tests/plugins/qor_doctor_forking_plugin.so provider/libqorp_Good.so; " +
                std::string(how) +
                "$doctor; test -e /opt/forked && until flock -n /opt/forked true; do sleep 0.01; "
                "done");

        EXPECT_EQ(0, result.status);
        EXPECT_THAT(result.output, HasSubstr(*how == '\0' ? "No findings.\n" : "library-crashes"));
        qor::test::EmptyDirectory("/opt");
    }
}

// Two programs that use the library and write one log.
class ProcessesBesideTest : public ProgramTest
{
protected:
    ProcessesBesideTest()
    {
        qor::test::WriteFile(qor::test::LogPath(kLog), "");
        // Links the library into this program, and so into its children.
        (void)CTraceUtilityCom::GetComponentType("um");
    }

    static int WriteTheLog(const char* mark)
    {
        const int fd = ::open(qor::test::LogPath(kLog).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        qor::test::WriteFile(mark, "");
        (void)::pause();
        return fd;
    }

    static constexpr char kLog[] = "QOR_um_trc_261116082918.log";
};

TEST_F(ProcessesBesideTest, AreDiagnosed)
{
    qor::test::ChildProcess first([] {
        (void)::signal(SIGCHLD, SIG_IGN);
        return WriteTheLog("/opt/first");
    });
    qor::test::ChildProcess second([] {
        (void)::umask(0);
        return WriteTheLog("/opt/second");
    });
    ASSERT_TRUE(qor::test::WaitUntil(
        [] { return qor::test::Exists("/opt/first") && qor::test::Exists("/opt/second"); }));

    const std::string output = Run("diagnose").output;

    EXPECT_THAT(FindingsIn(output), testing::UnorderedElementsAre("log-several-writers",
                                                                  "sigchld-ignored", "umask-open"))
        << output;
    const std::string firstPid = std::to_string(first.pid());
    const std::string secondPid = std::to_string(second.pid());
    EXPECT_TRUE(std::regex_search(
        output, std::regex("/" + std::string(kLog) +
                           ": error: log-several-writers\n    Written by "
                           "several processes: .* \\(" +
                           firstPid + "\\), .* \\(" + secondPid + "\\)\\. When one")))
        << output;
    EXPECT_TRUE(
        std::regex_search(output, std::regex("/proc/" + firstPid +
                                             "/status:[0-9]+: error: sigchld-ignored\n    .* "
                                             "\\(" +
                                             firstPid + "\\) ignores SIGCHLD: the commands")))
        << output;
    EXPECT_TRUE(std::regex_search(
        output, std::regex("/proc/" + secondPid +
                           "/status:[0-9]+: warning: umask-open\n    .* "
                           "\\(" +
                           secondPid + "\\) makes files that everybody may write")))
        << output;
}

// A service has the channel's client directory open. The second one comes when it is asked.
TEST_F(ProcessesBesideTest, AreDiagnosedAsServersOfOneSpool)
{
    const auto serve = [](const std::string& name) {
        (void)qor::test::WaitUntil([&] { return qor::test::Exists("/opt/start-" + name); });
        const int directory = ::open("/opt/velmora/qor/som/CS", O_RDONLY | O_CLOEXEC);
        qor::test::WriteFile("/opt/" + name, "");
        (void)::pause();
        return directory;
    };
    qor::test::ChildProcess first([&] { return serve("first"); });
    qor::test::ChildProcess second([&] { return serve("second"); });

    const std::string output = Run(R"(
        start() { touch "/opt/start-$1"; until [ -e "/opt/$1" ]; do sleep 0.01; done; }
        start first; $doctor; start second; diagnose)")
                                   .output;

    EXPECT_THAT(output, StartsWith("No findings.\n"
                                   "/opt/velmora/qor/som/CS: error: spool-several-servers\n"));
    EXPECT_THAT(output, HasSubstr(" (" + std::to_string(first.pid()) + ")"));
    EXPECT_THAT(output, HasSubstr(" (" + std::to_string(second.pid()) + ")"));
}

TEST_F(ProcessesBesideTest, AreDiagnosedWithAnotherLibrary)
{
    const auto use = [](const char* library) {
        const std::string content = ReadFile("/proc/self/exe").substr(0, 100);
        qor::test::WriteFile(library, content);
        const int file = ::open(library, O_RDONLY | O_CLOEXEC);
        void* const memory = ::mmap(nullptr, content.size(), PROT_READ, MAP_PRIVATE, file, 0);
        return memory != MAP_FAILED && ::close(file) == 0;
    };
    ASSERT_EQ("No findings.\n", Run("$doctor").output);
    qor::test::ChildProcess child([&] {
        if (!use("/opt/libqor_ComLib.so.1") || !use("/opt/libqor_ComLib.so.1.0.0") ||
            ::unlink("/opt/libqor_ComLib.so.1") != 0)
            return 1;
        qor::test::WriteFile("/opt/ready", "");
        return ::pause();
    });
    ASSERT_TRUE(qor::test::WaitUntil([] { return qor::test::Exists("/opt/ready"); }));

    const std::string output = Run("cd /; cp /opt/lib* /opt/velmora/qor/lib; $doctor").output;

    const std::string process = "qor_test_doctor (" + std::to_string(child.pid()) + ")";
    EXPECT_THAT(output, HasSubstr("/opt/libqor_ComLib.so.1: warning: library-outdated\n    " +
                                  process + " uses"));
    EXPECT_THAT(output,
                HasSubstr("/opt/libqor_ComLib.so.1.0.0: warning: library-shadowed\n    " + process +
                          " uses this copy of the library, not " + BuildPath("")));
}

TEST_F(ProgramTest, SeesACopyOfTheLibraryBesideItsOwn)
{
    const std::string copy = "cp $BUILD/libqor_ComLib.so.1 lib; ";

    EXPECT_THAT(Run(copy + "$doctor").output,
                StartsWith("/opt/velmora/qor/lib/libqor_ComLib.so.1: warning: library-shadowed\n"
                           "    A copy of the library: programs that look here first use it"));
    EXPECT_EQ("No findings.\n", Run("ln -s $BUILD/libqor_ComLib.so.1 lib; $doctor").output);
}

}  // namespace
}  // namespace doctor::test
