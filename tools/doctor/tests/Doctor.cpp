#include "Doctor.h"

#include <sys/stat.h>

#include <cstdio>
#include <ctime>
#include <regex>
#include <sstream>

#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/TestPaths.h"

namespace doctor::test {
namespace {

using qor::test::MakeDirs;
using qor::test::WriteFile;

constexpr mode_t kSpoolMode = 02770;
constexpr mode_t kLogMode = 0700;
constexpr mode_t kSharedMode = 01777;

constexpr char kSettings[] =
    "[APP_SETTING]\n"
    "TraceLevel=5F\n"
    "Lang=EN\n";
constexpr char kCatalogue[] =
    "; a comment\n"
    "[STARTED]\n"
    "FormatEng=Started %s, %d%% done\n"
    "Format=%2$d%% von %1$s begonnen\n"
    "Type=info\n"
    "Read=0x00000001\n"
    "Event=0\n"
    "\n"
    "[FAILED]\n"
    "FormatEng=Failed: %-10s %#08lx\n"
    "Format=Gescheitert: %s %lu\n"
    "Type=fail\n"
    "Read=0x0000000A\n"
    "Event=1\n";
constexpr char kVendors[] =
    "[SuportDevice]\n"
    "SuportDeviceNum=1\n"
    "[Disk]\n"
    "DllName=Good.dll\n"
    "ClassName=CDisk\n";
constexpr char kChannel[] =
    "[filetran]\n"
    "polling_interval=1000\n";
constexpr char kVersions[] =
    "[SOM]\n"
    "TargetNum=1\n"
    "TargetName1=qor_som\n"
    "Version1=1.0\n";

void MakeSpool()
{
    for (const char* const name : {"som/CS", "som/SS"}) {
        MakeDirs(RootPath(name));
        (void)::chmod(RootPath(name).c_str(), kSpoolMode);  // a directory of our own
    }
    WriteFile(RootPath("som/socket.conf"), kChannel);
    WriteFile(RootPath("som/CS/" + StampBefore(0) + "cli.snd"), "a request on its way");
    WriteFile(RootPath("som/CS/" + StampBefore(0) + "cli.tmp"), "a request being written");
    WriteFile(RootPath("som/SS/" + StampBefore(0) + "cli.snd"), "an answer on its way");
}

void MakeLogs()
{
    qor::test::MakeLogDirectory();
    (void)::chmod(qor::test::kLogDirectory, kLogMode);  // a directory of our own
    WriteFile(qor::test::LogPath("QOR_um_trc_261115082918.log.gz"), "");
    WriteFile(qor::test::LogPath("QOR_um_trc_261116082918.log"), "");
    WriteFile(qor::test::LogPath("QOR_um_dbg_261116082918.log"), "");
}

}  // namespace

std::string RootPath(const std::string& name)
{
    return std::string(kRoot) + "/" + name;
}

DoctorTest::~DoctorTest()
{
    (void)::chmod("/var/tmp", kSharedMode);  // for the next case of a run of the whole program
}

void DoctorTest::MakeGoodInstallation()
{
    for (const char* const component : {"um", "som", "cli", "provider"}) {
        WriteFile(RootPath(component) + "/TraceSetting.ini", kSettings);
        WriteFile(RootPath(component) + "/TraceSettingMsg.ini", kCatalogue);
    }
    InstallLibrary("qor_provider_plugin", RootPath("provider/libqorp_Good.so"));
    InstallLibrary("qor_vendor_plugin", RootPath("lib/libqorp_Good.so"));
    WriteFile(RootPath("som/providers.ini"),
              "[Common]\nNumProvider=1\n" + ProviderSection(1, "Inventory", "Good.dll"));
    WriteFile(RootPath("etc/vendors.ini"), kVendors);
    WriteFile(RootPath("etc/qorversion.ver"), kVersions);
    MakeSpool();
    MakeLogs();
}

std::string DoctorTest::Command(const std::string& arguments)
{
    return qor::test::BuildPath("tools/doctor/qor_doctor") + " " + arguments;
}

qor::test::ShellResult DoctorTest::Run(const std::string& arguments)
{
    return qor::test::RunShell(Command(arguments));
}

void InstallLibrary(const std::string& plugin, const std::string& path)
{
    WriteFile(path, qor::test::ReadFile(qor::test::PluginPath(plugin)));
}

std::string ProviderSection(int number, const std::string& className, const std::string& library)
{
    return "[Provider" + std::to_string(number) +
           "]\n"
           "ProviderKind=any\n"
           "LibName=" +
           library +
           "\n"
           "ClassName=" +
           className +
           "\n"
           "ClassKind=VELMORA_ToolService\n"
           "ClassMode=FIXED_TOOL\n"
           "SpecificFile=\n"
           "MethodNum=1\n"
           "Method1=Ask\n";
}

std::vector<std::string> FindingsIn(const std::string& output)
{
    static const std::regex head("^[^ ].*: (?:error|warning): ([a-z-]+)$");
    std::vector<std::string> ids;
    std::istringstream lines(output);
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, match, head))
            ids.push_back(match[1]);
    }
    return ids;
}

std::vector<std::string> FirstWords(const std::string& output)
{
    std::vector<std::string> words;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        words.push_back(line.substr(0, line.find(' ')));
    return words;
}

std::string StampBefore(long seconds)
{
    char stamp[32];
    (void)std::snprintf(stamp, sizeof stamp, "%014ld%06d",
                        static_cast<long>(std::time(nullptr)) - seconds, 0);
    return stamp;
}

}  // namespace doctor::test
