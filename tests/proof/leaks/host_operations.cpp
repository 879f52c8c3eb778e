// What asks about the host and runs commands: COsInfo.h, CPipeStream.h, CFileUtility.h,
// ServerInfo.h.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "CFileUtility.h"
#include "COsInfo.h"
#include "CPipeStream.h"
#include "leaks/Operations.h"
#include "ServerInfo.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/WaitUntil.h"
#include "winapi.h"

namespace qor::proof {
namespace {

const char kText[] = "a text that is too long for a string to keep it inside itself";
const char kCache[] = "/var/tmp/dmitmp";

// Cheap: the host's description is made once.
void AddOs(Operations& table, const std::string& name, std::function<void(COsInfo&)> use)
{
    Add(table, "COsInfo::" + name, [use = std::move(use)] {
        test::WriteFile(kCache,
                        "System Information\n\tManufacturer: m\n\tProduct Name: p\n"
                        "\tVersion: v\n\tUUID: u\n");
        auto host = std::make_shared<COsInfo>();
        return [use, host] { use(*host); };
    });
}

void AddOsCommand(Operations& table, const std::string& name, std::function<void(COsInfo&)> use,
                  std::vector<std::string> files = {})
{
    AddCommand(
        table, "COsInfo::" + name,
        [use = std::move(use)] {
            auto host = std::make_shared<COsInfo>();
            return [use, host] { use(*host); };
        },
        std::move(files));
}

void AddField(Operations& table, const std::string& name, bool (COsInfo::*get)(std::string&))
{
    AddOs(table, name, [get](COsInfo& host) {
        std::string value;
        if (!(host.*get)(value))
            throw std::runtime_error("field not found");
    });
}

void AddOsInfo(Operations& table)
{
    AddOsCommand(table, "COsInfo()", [](COsInfo&) { const COsInfo other; });
    AddOsCommand(table, "~COsInfo()", [](COsInfo&) { delete new COsInfo; });
    AddOs(table, "getName()", [](COsInfo& host) { (void)host.getName(); });
    AddOs(table, "getVersion()", [](COsInfo& host) { (void)host.getVersion(); });
    AddOs(table, "compare(string, string)",
          [](COsInfo& host) { (void)host.compare(kText, kText); });

    AddOsCommand(table, "getDmiSystemInfo(string, string&)",
                 [](COsInfo& host) {
                     std::string value;
                     (void)host.release();
                     if (!host.getDmiSystemInfo("Product Name:", value))
                         throw std::runtime_error("field not found");
                 },
                 {kCache});
    AddField(table, "getDmiSystemUuid(string&)", &COsInfo::getDmiSystemUuid);
    AddField(table, "getDmiSystemManufacture(string&)", &COsInfo::getDmiSystemManufacture);
    AddField(table, "getDmiSystemProductName(string&)", &COsInfo::getDmiSystemProductName);
    AddField(table, "getDmiSystemVersion(string&)", &COsInfo::getDmiSystemVersion);
    AddOs(table, "release()", [](COsInfo& host) {
        (void)host.release();
        test::WriteFile(kCache, "");
    });

    AddOsCommand(table, "makeDeviceInfo()", [](COsInfo& host) { (void)host.makeDeviceInfo(); },
                 {"/opt/velmora/qor/etc/devices.tmp"});
    AddOsCommand(table, "motd(bool)", [](COsInfo& host) {
        host.motd(true);
        host.motd(false);
    });
    AddOsCommand(table, "isAlreadyMotd()", [](COsInfo& host) {
        test::WriteFile("/var/tmp/motds", "qor\n");
        (void)host.isAlreadyMotd();
        (void)host.isAlreadyMotd();
    });
    AddOsCommand(table, "wall(string)", [](COsInfo& host) { (void)host.wall("a message"); });
    AddOs(table, "copyFile(string, string)", [](COsInfo& host) {
        host.copyFile(kCache, "/opt/copy");
        host.copyFile("/opt/absent", "/opt/copy");
        host.copyFile(kCache, "/opt/absent/copy");
        (void)::unlink("/opt/copy");
    });
    AddOs(table, "firstString(char const*)",
          [](COsInfo& host) { (void)host.firstString("  1 a"); });
    AddOs(table, "fgetn(char*, unsigned long, _IO_FILE*)", [](COsInfo& host) {
        char line[256] = {};
        std::FILE* const file = std::fopen(kCache, "re");
        while (host.fgetn(line, sizeof line, file) != nullptr) {
        }
        (void)std::fclose(file);
    });
}

// Leaves in the command's child, which comes back too.
void LeaveInChild(pid_t self)
{
    if (::getpid() != self)
        ::_exit(0);
}

void WaitForChildren()
{
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
}

const char kGate[] = "/opt/gate";

// A stream that goes while its command waits at the gate, which is opened afterwards.
void LeaveRunning(int gate)
{
    {
        const pid_t self = ::getpid();
        CPipeStream stream("echo ready; read line < /opt/gate");
        LeaveInChild(self);
        std::string line;
        if (!std::getline(stream, line))
            throw std::runtime_error("the command did not start");
    }
    int unread = 0;
    const auto passed = [&] { return ::ioctl(gate, FIONREAD, &unread) == 0 && unread == 0; };
    if (::write(gate, "\n", 1) != 1 || !test::WaitUntil(passed))
        throw std::runtime_error("the command does not end");
}

// use: of a stream whose command prints three lines. Waits for the child, as the header asks.
void AddPipe(Operations& table, const std::string& name, std::function<void(CPipeStream&)> use)
{
    AddCommand(table, "CPipeStream::" + name, [use = std::move(use)] {
        return [use] {
            {
                const pid_t self = ::getpid();
                CPipeStream stream("echo one; echo two; echo three");
                LeaveInChild(self);
                use(stream);
            }
            WaitForChildren();
        };
    });
}

void AddPipeStream(Operations& table)
{
    AddPipe(table, "CPipeStream(char const*)", [](CPipeStream&) {});
    AddPipe(table, "~CPipeStream()", [](CPipeStream& stream) {
        for (std::string line; std::getline(stream, line);) {
        }
    });
    AddPipe(table, "underflow()",
            [](CPipeStream& stream) { (void)stream.CPipeStream::underflow(); });
    AddPipe(table, "uflow()", [](CPipeStream& stream) { (void)stream.CPipeStream::uflow(); });
    AddCommand(table, "CPipeStream::open(char const*)", [] {
        return [] {
            {
                const pid_t self = ::getpid();
                CPipeStream stream(nullptr);
                stream.open("echo one");
                LeaveInChild(self);
            }
            WaitForChildren();
        };
    });
    // The numbers that are closed a second time belong to nobody here.
    AddPipe(table, "close()", [](CPipeStream& stream) { stream.close(); });

    Kept ends;
    ends.what = "the two ends that open closes once the command has them";
    ends.descriptors = 2;
    AddKeeping(
        table, "CPipeStream::init()", {"CPipeStream::init()"},
        [] {
            return [] {
                CPipeStream stream(nullptr);
                stream.init();
            };
        },
        ends);

    Kept child;
    child.what = "the child that nobody waits for";
    child.children = 1;
    AddKeeping(
        table, "kept: the child of a stream whose command still runs", {},
        [] {
            if (::mkfifo(kGate, 0600) != 0)
                test::ThrowErrno("mkfifo");
            auto gate = std::make_shared<test::OwnedFd>(::open(kGate, O_RDWR | O_CLOEXEC));
            return [gate] { LeaveRunning(gate->get()); };
        },
        child);
}

void AddVersions(Operations& table)
{
    const std::string f = "CFileUtility::";
    AddPlain(table, f + "GetInstallPath(int)", [] { (void)CFileUtility::GetInstallPath(2); });
    AddPlain(table, f + "CheckFileVersion(string, string)",
             [] { (void)CFileUtility::CheckFileVersion("1.2.3.4", "1.2.3.5"); });
    AddPlain(table, f + "MakeVersionList(string, list<pair<string, string>>&)", [] {
        std::list<std::pair<std::string, std::string>> list;
        CFileUtility::MakeVersionList("CLI", list);
    });
    AddPlain(table, f + "GetFileVersion(string)", [] {
        (void)CFileUtility::GetFileVersion("/opt/libqorp_raid.so");
        (void)CFileUtility::GetFileVersion("absent");
    });
    AddPlain(table, "CServerInfo::IsDomesticModel()", [] { (void)CServerInfo::IsDomesticModel(); });
}

void AddFileTests(Operations& table)
{
    const std::string f = "CFileUtility::";
    AddPlain(table, f + "IsElfFile(char const*)", [] {
        (void)CFileUtility::IsElfFile("/proc/self/exe");
        (void)CFileUtility::IsElfFile("/opt/absent");
    });
    AddPlain(table, f + "IsFileExist(string)", [] { (void)CFileUtility::IsFileExist("/opt"); });
    AddPlain(table, f + "ReadConfigString(string, string, string)", [] {
        try {
            (void)CFileUtility::ReadConfigString("s", "k", "f");
        } catch (const std::logic_error&) {
        }
    });
    AddPlain(table, f + "RenName(string, string)", [] {
        test::WriteFile("/opt/work/a", "");
        (void)CFileUtility::RenName("/opt/work/a", "b");
        (void)::unlink("/opt/work/b");
    });
    AddPlain(table, f + "isMatch(string, string)", [] {
        (void)CFileUtility::isMatch("*log", kText);
        (void)CFileUtility::isMatch("a????????????????????????", kText);
    });
    AddPlain(table, f + "RemoveFileExtension(string)",
             [] { (void)CFileUtility::RemoveFileExtension("a name of a file.tar.gz"); });
    AddPlain(table, f + "DeleteAllFileByExtendName(string, string)", [] {
        test::WriteFile("/opt/work/a.bak", "");
        (void)CFileUtility::DeleteAllFileByExtendName("/opt/work", ".bak");
        (void)CFileUtility::DeleteAllFileByExtendName("/opt/absent", ".bak");
    });
    AddPlain(table, f + "SearchFile(string, string, list<string>*)", [] {
        std::list<std::string> found;
        CFileUtility::SearchFile("/opt", "*o", &found);
        try {
            CFileUtility::SearchFile("/opt", "ab?", &found);
        } catch (const std::out_of_range&) {
        }
    });
    AddCommand(table, f + "RunVBS(string, string)",
               [] { return [] { (void)CFileUtility::RunVBS("echo", kText); }; });
    AddCommand(table, f + "ChangeFilePermission(string, int)", [] {
        return [] { (void)CFileUtility::ChangeFilePermission("/opt/velmora", 0755); };
    });
}

}  // namespace

void AddHostOperations(Operations& table)
{
    AddOsInfo(table);
    AddPipeStream(table);
    AddVersions(table);
    AddFileTests(table);
}

std::vector<Excluded> ExcludedNames()
{
    return {
        {"CTraceUtilityCom::settingInfoMap", "data, which GetSettingInfo fills"},
    };
}

}  // namespace qor::proof
