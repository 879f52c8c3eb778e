// An installation with every fault that there is, each of them once.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "CTraceUtilityCom.h"
#include "Doctor.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/SmallDisk.h"
#include "support/WaitUntil.h"

namespace doctor::test {
namespace {

using qor::test::AppendFile;
using qor::test::ChildProcess;
using qor::test::Exists;
using qor::test::LogPath;
using qor::test::MakeDirs;
using qor::test::ReadFile;
using qor::test::RemoveTree;
using qor::test::RunShell;
using qor::test::ShellResult;
using qor::test::WriteFile;
using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

constexpr char kSharedLog[] = "QOR_um_trc_261116082918.log";

void Change(const std::string& path, mode_t mode)
{
    if (::chmod(path.c_str(), mode) != 0)
        qor::test::ThrowErrno("chmod " + path);
}

void MakeFifo(const std::string& path)
{
    if (::mkfifo(path.c_str(), 0644) != 0)
        qor::test::ThrowErrno("mkfifo " + path);
}

// Root gives the file away. Root of a user namespace has nobody to give it to, but files of the
// host's root are a stranger's to him.
void MakeForeign(const std::string& path)
{
    WriteFile(path, "");
    if (::chown(path.c_str(), 1, 1) == 0)
        return;
    if (errno != EINVAL ||
        ::mount("/usr/lib/os-release", path.c_str(), "none", MS_BIND, nullptr) != 0)
        qor::test::ThrowErrno("chown " + path);
}

std::string Catalogued(const std::string& id, const std::string& keys)
{
    std::string section = "[" + id + "]\n" + keys;
    for (const char* const line :
         {"FormatEng=text\n", "Type=info\n", "Read=0x00000001\n", "Event=0\n"}) {
        const std::string key(line, std::string(line).find('=') + 1);
        if (keys.find("\n" + key) == std::string::npos && keys.compare(0, key.size(), key) != 0)
            section += line;
    }
    return section;
}

class BadInstallationTest : public DoctorTest
{
protected:
    BadInstallationTest()
    {
        MakeGoodInstallation();
        SeedDirectories();
        SeedIni();
        SeedSettings();
        SeedCatalogue();
        SeedProviders();
        SeedLibraries();
        SeedVendors();
        SeedChannels();
        SeedSpool();
        SeedLogs();
    }

    ~BadInstallationTest() override
    {
        (void)::umount2(RootPath("um/given-away").c_str(), MNT_DETACH);  // mounted for some only
    }

    std::string Arguments() const
    {
        std::string arguments;
        for (const char* const name :
             {"absent", "count", "section", "unread", "key", "kinds", "methods", "libraries"})
            arguments += " --providers " + RootPath("som/" + std::string(name) + ".prv");
        for (const char* const name : {"misspelt", "first", "count", "more", "fewer", "key"})
            arguments += " --vendors " + RootPath("som/" + std::string(name) + ".vnd");
        for (const char* const name : {"socket", "slow", "relative", "equal"})
            arguments += " --channel " + RootPath("som/" + std::string(name) + ".conf");
        return arguments;
    }

    static void SeedDirectories();
    static void SeedIni();
    static void SeedSettings();
    static void SeedCatalogue();
    static void SeedProviders();
    static void SeedLibraries();
    static void SeedVendors();
    static void SeedChannels();
    static void SeedSpool();
    static void SeedLogs();

    // Two programs that use the library and write one log: one with SIGCHLD ignored, one with
    // umask 0.
    static int WriteTheSharedLog(bool ignoreSigchld)
    {
        if (ignoreSigchld)
            (void)::signal(SIGCHLD, SIG_IGN);
        else
            (void)::umask(0);
        const int fd = ::open(LogPath(kSharedLog).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        WriteFile(ignoreSigchld ? "/opt/first" : "/opt/second", "");
        (void)::pause();
        return fd;
    }

    const qor::test::ReplacedFile gzip_{"/usr/bin/gzip"};
    const qor::test::SmallDisk logDisk_{qor::test::kLogDirectory, 1024 * 1024};
};

void BadInstallationTest::SeedDirectories()
{
    RemoveTree(RootPath("etc"));  // directory-missing
    RemoveTree(RootPath("lib"));
    WriteFile(RootPath("lib"), "");          // not-a-directory
    Change(RootPath("cli"), 0644);           // directory-without-search
    MakeForeign(RootPath("um/given-away"));  // foreign-owner
    WriteFile(RootPath("um/open"), "");
    Change(RootPath("um/open"), 0666);  // writable-by-others
    Change(RootPath("som/CS"), 0777);   // spool-open-to-others
    Change("/var/tmp", 0777);           // sticky-bit-missing
    WriteFile("/var/tmp/motds", "");    // shared-name-taken
}

// All in a file of which only one section is read.
void BadInstallationTest::SeedIni()
{
    WriteFile(RootPath("som/TraceSetting.ini"),
              "loose=1\n"  // entry-before-first-section
              "[APP_SETTING]\n"
              "TraceLevel=1F\n"                // compression-off
              "[twice]\n[between]\n[twice]\n"  // section-repeated
              "[open\n"                        // header-without-bracket
              "[keys]\n"
              "a=1\na=2\n"                           // key-repeated
              " indented=1\n"                        // blank-in-key
              "blank=1 \n"                           // trailing-blank
              "comment=1 ; none\n"                   // comment-behind-value
              "return=1\r\n"                         // carriage-return
                  + std::string("nul=1\0\n", 7) +    // nul-byte
                  "long=" + std::string(300, 'x') +  // line-too-long
                  "\nlast=1");                       // no-final-line-feed
    RemoveTree(RootPath("cli/TraceSettingMsg.ini"));
    MakeFifo(RootPath("cli/TraceSettingMsg.ini"));  // not-a-regular-file
}

void BadInstallationTest::SeedSettings()
{
    RemoveTree(RootPath("cli/TraceSetting.ini"));                               // settings-missing
    WriteFile(RootPath("provider/TraceSetting.ini"), "[SETTINGS]\nLang=EN\n");  // ...-section-...
    WriteFile(RootPath("um/TraceSetting.ini"),
              "[APP_SETTING]\n"
              "TraceLevel=none\n"                       // trace-level-malformed
              "Lang=en\n");                             // lang-not-exactly-en
    RemoveTree(RootPath("som/TraceSettingMsg.ini"));    // catalogue-missing
    WriteFile(RootPath("um/TraceSettingMsg.ini"), "");  // catalogue-empty
}

void BadInstallationTest::SeedCatalogue()
{
    const std::string without = "FormatEng=text\n";
    WriteFile(RootPath("provider/TraceSettingMsg.ini"),
              Catalogued("GOOD", "") + "[NO_TYPE]\n" + without + "Read=0x00000001\nEvent=0\n" +
                  "[NO_READ]\n" + without + "Type=info\nEvent=0\n" + "[NO_EVENT]\n" + without +
                  "Type=info\nRead=0x00000001\n" +
                  "[NO_TEXT]\nFormat=text\nType=info\nRead=0x00000001\nEvent=0\n" +
                  Catalogued("DIFFER", "FormatEng=%s %d\nFormat=%d %s\n") +
                  Catalogued("UNKNOWN", "FormatEng=%y\n") +
                  Catalogued("NOT_DOUBLED", "FormatEng=100% done\n") +
                  Catalogued("NOT_EXPANDED", "FormatEng=50% new\n") +
                  Catalogued("PERCENT", "FormatEng=100%% over\nEvent=1\n") +
                  Catalogued("LONG", "FormatEng=" + std::string(217, 'x') + "\n") +
                  Catalogued("READ", "Read=1\n") + Catalogued("EVENT", "Event=yes\n") +
                  Catalogued("FAIL", "Type=Fail\nEvent=1\n"));
}

void BadInstallationTest::SeedProviders()
{
    const auto write = [](const char* name, const char* count, const std::string& sections) {
        WriteFile(RootPath("som/" + std::string(name) + ".prv"),
                  "[Common]\nNumProvider=" + std::string(count) + "\n" + sections);
    };
    const std::string good = ProviderSection(1, "A", "Good.dll");
    write("count", "two", good);  // ...-unusable
    write("section", "2", good);  // ...-missing
    write("unread", "1", good + ProviderSection(2, "B", "Good.dll"));
    write("key", "1", "[Provider1]\nProviderKind=any\n");
    write("kinds", "2",
          "[Provider1]\nProviderKind=any\nLibName=Good.dll\nClassName=A\nClassKind=any\n"
          "ClassMode=Fixed_Dev\nSpecificFile=\nMethod1=Ask\n" +  // ...-not-exact, unread
              ProviderSection(2, "A", "Good.dll"));              // ...-repeated
    write("methods", "1", good + "MethodNum=2\n");
    WriteFile(RootPath("som/methods.prv"),
              "[Common]\nNumProvider=1\n[Provider1]\nProviderKind=any\nLibName=Good.dll\n"
              "ClassName=A\nClassKind=any\nClassMode=any\nSpecificFile=\nMethodNum=2\n"
              "Method1=Ask\n");  // ...-method-missing
}

void BadInstallationTest::SeedLibraries()
{
    WriteFile(RootPath("provider/libqorp_Garbage.so"), "no library");
    InstallLibrary("qor_doctor_crashing_plugin", RootPath("provider/libqorp_Crashing.so"));
    InstallLibrary("qor_plain_plugin", RootPath("provider/libqorp_Plain.so"));
    InstallLibrary("qor_unresolved_plugin", RootPath("provider/libqorp_Unresolved.so"));
    InstallLibrary("qor_provider_plugin", RootPath("provider/libqorp_100%d.so"));
    std::string sections = "[Common]\nNumProvider=6\n";
    int number = 0;
    for (const char* const name : {"Absent", "Garbage", "Crashing", "Plain", "Unresolved", "100%d"})
        sections += ProviderSection(++number, name, name);
    WriteFile(RootPath("som/libraries.prv"), sections);
}

void BadInstallationTest::SeedVendors()
{
    InstallLibrary("qor_vendor_plugin", RootPath("provider/libvendor.so"));
    const std::string keys = "DllName=" + RootPath("provider/libvendor.so") + "\nClassName=C\n";
    const auto index = [](const char* count) {
        return "[SuportDevice]\nSuportDeviceNum=" + std::string(count) + "\n";
    };
    const auto write = [](const char* name, const std::string& text) {
        WriteFile(RootPath("som/" + std::string(name) + ".vnd"), text);
    };
    write("misspelt", "[SupportDevice]\nSupportDeviceNum=1\n[A]\n" + keys);
    write("first", "[A]\n" + keys + index("1"));
    write("count", index("none") + "[A]\n" + keys);
    write("more", index("2") + "[A]\n" + keys);                    // vendor-section-missing
    write("fewer", index("1") + "[A]\n" + keys + "[B]\n" + keys);  // vendor-section-unread
    write("key", index("2") + "[A]\nClassName=C\n[B]\n" + keys);
}

void BadInstallationTest::SeedChannels()
{
    for (const char* const name : {"S2", "S3"}) {
        MakeDirs(RootPath(name));
        Change(RootPath(name), 02770);
    }
    WriteFile(RootPath("som/socket.conf"), "[filetran]\npolling_interval=0\n");
    WriteFile(RootPath("som/slow.conf"), "[filetran]\npolling_interval=2000000\n");
    WriteFile(RootPath("som/relative.conf"),
              "[filetran]\nclientdir=CS\nserverdir=" + RootPath("S2") + "\n");
    WriteFile(RootPath("som/equal.conf"),
              "[filetran]\nclientdir=" + RootPath("S3") + "\nserverdir=" + RootPath("S3") + "\n");
}

void BadInstallationTest::SeedSpool()
{
    constexpr long kHour = 3600;
    constexpr long kThreeDays = 72 * kHour;
    constexpr long kFourDays = 96 * kHour;
    WriteFile(RootPath("som/CS/" + StampBefore(kHour) + "cli.tmp"), "");       // spool-leftover
    WriteFile(RootPath("som/CS/" + StampBefore(kHour) + "cli.snd"), "");       // ...-untaken
    WriteFile(RootPath("som/CS/" + StampBefore(kThreeDays) + "cli.snd"), "");  // spool-expired
    WriteFile(RootPath("som/CS/copy.snd.bak"), "");                            // ...-name-foreign
    WriteFile(RootPath("som/SS/" + StampBefore(kFourDays) + "cli.snd"), "");   // ...-orphaned
    MakeFifo(RootPath("som/SS/" + StampBefore(kHour) + "cli.snd"));  // ...-not-a-regular-file
}

void BadInstallationTest::SeedLogs()
{
    WriteFile(LogPath(kSharedLog), "");
    WriteFile(LogPath("QOR_som_dbg_261115082918.log"), "");
    WriteFile(LogPath("QOR_som_dbg_261116082918.log"), "");           // log-several-uncompressed
    WriteFile(LogPath("QOR_um_trc_$(reboot)_261115082918.log"), "");  // log-name-unsafe
    WriteFile(LogPath("QOR_um_trc_261115082918.log.bak"), "");        // log-name-foreign
    if (::symlink("/nowhere", LogPath("QOR_cli_dbg_261115082918.log").c_str()) != 0)
        qor::test::ThrowErrno("symlink");  // log-not-a-regular-file
}

// The programs of BadInstallationTest::WriteTheSharedLog, as long as a case runs.
class BadInstallationWithProcessesTest : public BadInstallationTest
{
protected:
    BadInstallationWithProcessesTest()
    {
        // Links the library into this program, and so into its children.
        (void)CTraceUtilityCom::GetComponentType("um");
        EXPECT_TRUE(
            qor::test::WaitUntil([] { return Exists("/opt/first") && Exists("/opt/second"); }));
    }

    ChildProcess first_{[] { return WriteTheSharedLog(true); }};
    ChildProcess second_{[] { return WriteTheSharedLog(false); }};
};

TEST_F(BadInstallationWithProcessesTest, HasEveryFindingOnce)
{
    const std::vector<std::string> known = FirstWords(Run("--list").output);
    ASSERT_LT(50U, known.size());

    const ShellResult result = Run(Arguments());

    EXPECT_THAT(FindingsIn(result.output), UnorderedElementsAreArray(known)) << result.output;
    EXPECT_EQ(2, result.status);
}

TEST_F(BadInstallationWithProcessesTest, HasTheSameFindingsInJson)
{
    const char kIds[] =
        "import json, sys; report = json.load(sys.stdin); "
        "assert report['unseen'] == [] and report['root'] == '/opt/velmora/qor'; "
        "assert report['errors'] + report['warnings'] == len(report['findings']); "
        "assert all(len(f['what']) > 20 and len(f['remedy']) > 5 for f in report['findings']); "
        "print(*[f['id'] for f in report['findings']], sep='\\n')";
    const ShellResult text = Run(Arguments());

    const ShellResult json =
        RunShell(Command("--json" + Arguments()) + " | python3 -c \"" + kIds + "\"");

    EXPECT_EQ(0, json.status) << json.output;
    EXPECT_EQ(FindingsIn(text.output), FirstWords(json.output));
}

TEST_F(BadInstallationTest, StaysAsItIs)
{
    const char kState[] =
        "find /opt /var/tmp -printf '%p %y %m %U %G %s %l %T@ %C@\\n' | sort; "
        "find /opt /var/tmp -type f -exec sha256sum {} + | sort";
    const ShellResult before = RunShell(kState);
    ASSERT_THAT(before.output, HasSubstr("copy.snd.bak"));

    EXPECT_EQ(2, Run(Arguments()).status);

    EXPECT_EQ(before.output, RunShell(kState).output);
}

TEST_F(BadInstallationTest, IsNotGivenWhatItLacks)
{
    RemoveTree(RootPath("som"));

    (void)Run();

    EXPECT_FALSE(Exists(RootPath("som")));
    EXPECT_FALSE(Exists(RootPath("etc")));
}

TEST_F(BadInstallationTest, NamesLineEffectAndRemedy)
{
    const std::string output = Run(Arguments()).output;
    static const char* const expected[] = {
        "/opt/velmora/qor/um/TraceSetting.ini:2: warning: trace-level-malformed\n"
        "    \"none\" is no hexadecimal number of 32 bits: it reads as 0x0, and the debug log and "
        "compression are off.\n    Do: Write the bits",
        "/opt/velmora/qor/som/TraceSetting.ini:16: error: line-too-long\n    The line has 305 "
        "bytes.",
        "what follows is read as a line of its own: nothing.",
        "/opt/velmora/qor/provider/TraceSettingMsg.ini:6: warning: catalogue-entry-without-type\n"
        "    [NO_TYPE] has no Type of its own and takes that of the message before it: its records "
        "are marked with \"info\".",
        "/opt/velmora/qor/som/methods.prv:10: error: provider-method-missing\n"
        "    MethodNum is 2, but there is no Method2: reading the file ends here with \"Method2 "
        "Not "
        "Found\"",
        "libqorp_Crashing.so cannot be loaded: it ends the process by signal 6 (Aborted)",
        "libqorp_Plain.so loads, but does not export \"create\"",
        "QorDefinedNowhere",
        "/opt/velmora/qor/som/slow.conf:2: warning: polling-interval-too-long\n"
        "    The polling interval is 2000000 microseconds: a client notices its answer up to 2 "
        "seconds late.",
    };
    for (const char* const text : expected)
        EXPECT_THAT(output, HasSubstr(text));
}

}  // namespace
}  // namespace doctor::test
