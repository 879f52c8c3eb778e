// The host: commands, the DMI cache, the device list, the banner, file utilities.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <list>
#include <memory>

#include "CFileUtility.h"
#include "COsInfo.h"
#include "CTraceUtility.h"
#include "proof/faults/Operation.h"
#include "ServerInfo.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr char kCache[] = "/var/tmp/dmitmp";
constexpr char kDevices[] = "/opt/velmora/qor/etc/devices.tmp";
constexpr char kScript[] = "/opt/velmora/qor/etc/lspcimn.sh";
constexpr char kBlock[] = "/opt/velmora/qor/etc/motd.dat";
constexpr char kBanner[] = "/etc/motd";
constexpr char kFile[] = "/opt/d/file";

void UseLog(const char* component)
{
    CTraceUtility::Initialize(component, CTraceUtility::WRITE_MODE_DEBUG);
}

std::string NoState()
{
    return "";
}

// A function's result, told as a number; a bool is 0 or 1.
Prepared Told(const std::function<int()>& call)
{
    const auto result = std::make_shared<int>(-99);
    return {[=] { *result = call(); }, [=] { return std::to_string(*result); }};
}

Operations CommandOperations()
{
    const std::vector<Row> names = {
        // Where the directory is at fault, the shell's own failure tells: it has none here.
        {"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"is-i/is-r | "}},
        {"open", "/qortmp", "", {"/ | ", "/is-r | ", "is-i/ | "}},
        {"fork map wait", "", "EAGAIN ENOMEM ECHILD", {"/is-r | ", "is-i/ | ", "is-i/is-r | "}},
        {"read stat", "/qortmp", "EIO end", {"/is-r | ", "is-i/ | ", "is-i/is-r | "}},
        {"lasting", "", "", {"/ | ", "i/i | "}},
        {"allocation", "", "", {"bad_alloc | "}},
    };
    return {
        {"COsInfo.COsInfo", "is-i/is-r | ", names, [] { test::MakeLogDirectory(); },
         [] {
             const auto name = std::make_shared<std::string>();
             const auto version = std::make_shared<std::string>();
             return Prepared{[=] {
                                 COsInfo info;
                                 *name = info.getName();
                                 *version = info.getVersion();
                             },
                             [=] { return *name + "/" + *version; }};
         },
         NoState},
        // A command that could not be started leaves no cache: the next call runs it.
        {"COsInfo.getDmiSystemUuid",
         "true 42 | cached",
         {{"open", "/dmitmp", "", {"false untouched | absent", "false untouched | cached"}},
          {"read", "/dmitmp", "EIO EINTR end", {"false untouched | cached", "true 42 | cached"}},
          {"fork map", "", "", {"false untouched | absent", "true 42 | cached"}},
          {"wait", "", "ECHILD", {"false untouched | absent", "true 42 | cached"}},
          {"lasting",
           "",
           "",
           {"false untouched | absent", "false untouched | cached", "false untouched | empty",
            "false untouched | part of cached"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | cached", "bad_alloc | absent", "false untouched | cached",
            "true 42 | cached"}}},
         [] { test::MakeLogDirectory(); },
         [] {
             UseLog("som");
             const auto info = std::make_shared<COsInfo>();
             const auto value = std::make_shared<std::string>();
             const auto found = std::make_shared<bool>(false);
             return Prepared{[=] {
                                 *found = false;
                                 *value = "untouched";
                                 *found = info->getDmiSystemUuid(*value);
                             },
                             [=] { return std::string(*found ? "true " : "false ") + *value; }};
         },
         [] {
             return Holds(kCache, {{"cached", "System Information\n\tUUID: 42\n"}});
         },
         "=",
         "som",
         false,
         true},
        {"COsInfo.isAlreadyMotd",
         "0 | empty",
         {{"fork map", "", "", {"0 | as before", "0 | empty"}},
          {"lasting", "", "", {"0 | as before"}},
          {"allocation", "", "", {"bad_alloc | as before"}}},
         [] { WriteFile("/etc/motd", "the site's own text\n"); },
         [] {
             const auto info = std::make_shared<COsInfo>();
             return Told([=] { return info->isAlreadyMotd() ? 1 : 0; });
         },
         [] {
             return Holds(kBanner, {{"as before", "the site's own text\n"}});
         }},
        {"COsInfo.release",
         "0 | absent",
         {{"unlink", "", "", {"-1 | a cache"}}},
         [] { WriteFile(kCache, "a cache"); },
         [] {
             const auto info = std::make_shared<COsInfo>();
             return Told([=] { return info->release(); });
         },
         [] {
             return Holds(kCache, {{"a cache", "a cache"}});
         },
         nullptr},
        {"COsInfo.wall",
         "1 | told",
         {{"fork", "", "", {"0 | absent"}},
          {"wait", "", "", {"0 | told"}},
          {"child-exec", "", "", {"1 | absent"}},  // the child is waited for all the same
          {"lasting", "", "", {"1 | absent", "1 | empty", "1 | part of told"}}},
         [] { WriteFile("/opt/other", ""); },
         [] {
             const auto info = std::make_shared<COsInfo>();
             return Told([=] { return info->wall("hello") > 0 ? 1 : 0; });
         },
         [] {
             return Holds("/opt/told", {{"told", "hello\n"}});
         }},
        // A line of its caller's file.
        {"COsInfo.fgetn",
         "a line | as before",
         {{"read", "", "EIO EINTR end", {"none | as before"}}},
         [] { WriteFile(kFile, "a line\nanother\n"); },
         [] {
             const auto info = std::make_shared<COsInfo>();
             const auto line = std::make_shared<std::string>();
             std::FILE* const file = std::fopen(kFile, "re");
             if (file == nullptr)
                 test::ThrowErrno(kFile);
             return Prepared{[=] {
                                 char buffer[32] = "";
                                 std::rewind(file);
                                 const bool told =
                                     info->fgetn(buffer, sizeof buffer, file) != nullptr;
                                 *line = told ? buffer : "none";
                             },
                             [=] { return *line; }, [=] { (void)std::fclose(file); }};
         },
         [] {
             return Holds(kFile, {{"as before", "a line\nanother\n"}});
         }},
        // The C library may tell a process that could not be made as -1, or as status 127.
        {"CFileUtility.RunVBS",
         "7 | ",
         {{"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"7 | "}},
          {"open", "/qortmp", "", {"-1 | "}},
          {"fork map", "", "", {"-1 | ", "127 | ", "7 | "}},
          {"wait", "", "ECHILD", {"-1 | "}},
          {"lasting", "", "", {"-1 | "}},
          {"allocation", "", "", {"bad_alloc | "}}},
         [] {},
         [] { return Told([] { return CFileUtility::RunVBS("(exit 7)", ""); }); },
         NoState},
        {"CFileUtility.ChangeFilePermission",
         "0 | 600",
         {{"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"0 | 600"}},
          {"open", "/qortmp", "", {"-1 | 644"}},
          {"fork map", "", "", {"-1 | 644", "32512 | 644", "0 | 600"}},
          {"wait", "", "ECHILD", {"-1 | 600", "-1 | 644"}},
          {"lasting", "", "", {"-1 | 644", "-1 | 600"}},
          {"descriptors", "", "", {"512 | 644"}},  // the shell finds none for its redirection
          {"allocation", "", "", {"bad_alloc | 644"}}},
         [] { WriteFile(kFile, ""); },
         [] { return Told([] { return CFileUtility::ChangeFilePermission(kFile, 0600); }); },
         [] {
             char mode[16];
             std::snprintf(mode, sizeof mode, "%o", test::FileMode(kFile));
             return std::string(mode);
         }},
    };
}

constexpr char kList[] = "00:1f.2-8086-29A2\n00:02.0-ABCD-12EF\n";
constexpr char kMakeDeviceInfo[] = "bool COsInfo::makeDeviceInfo()";

std::string DeviceList()
{
    const std::string failures = Failures("som", kMakeDeviceInfo);
    return Holds(kDevices, {{"whole", kList}, {"old", "old\n"}}) +
           (failures.empty() ? "" : "; " + failures);
}

constexpr char kSite[] = "A\n-qor\nx\nqor-\nB\nC\n";
constexpr char kBlockText[] = "-qor\nblock\nqor-\n";

std::string Banner()
{
    return Holds(kBanner, {{"as before", kSite},
                           {"removed", "A\nC\n"},
                           {"the block", kBlockText},
                           {"appended", std::string(kSite) + kBlockText}}) +
           (test::Exists("/tmp/motd") ? ", a scratch copy" : "");
}

Operations FileOfTheHostOperations()
{
    const auto info = [] { return std::make_shared<COsInfo>(); };
    return {
        // A short write leaves a torn line: one byte written counts as success.
        {"COsInfo.makeDeviceInfo",
         "1 | whole",
         {{"open",
           "devices.tmp",
           "",
           {"0 | old; failed to create file /opt/velmora/qor/etc/devices.tmp"}},
          {"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"1 | whole"}},
          {"open", "/qortmp", "", {"0 | empty", "1 | empty"}},
          {"fork map", "", "", {"0 | empty", "1 | empty", "1 | whole"}},
          {"wait", "", "ECHILD", {"0 | empty"}},
          {"stat read", "/qortmp", "EIO end", {"1 | empty", "1 | whole"}},
          {"write", "devices.tmp", "short", {"1 | \"000:02.0-ABCD-12EF~\"", "1 | part of whole"}},
          {"write",
           "devices.tmp",
           "",
           {"0 | empty; failed to write file /opt/velmora/qor/etc/devices.tmp",
            "0 | part of whole; failed to write file /opt/velmora/qor/etc/devices.tmp"}},
          {"lasting",
           "",
           "",
           {"0 | old; failed to create file /opt/velmora/qor/etc/devices.tmp", "0 | empty",
            "0 | part of whole", "1 | empty", "1 | part of whole"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | old", "bad_alloc | empty", "bad_alloc | part of whole"}}},
         [] {
             test::MakeLogDirectory();
             WriteFile(kDevices, "old\n");
             WriteFile(kScript,
                       "#!/bin/sh\necho 00:1f.2 8086 29a2\necho Bus x y\n"
                       "echo 00:02.0 abcd 12ef\n");
             (void)::chmod(kScript, 0755);
         },
         [=] {
             UseLog("som");
             const auto host = info();
             return Told([=] { return host->makeDeviceInfo() ? 1 : 0; });
         },
         DeviceList},
        // The check empties the banner; without it the block is added behind what is there.
        {"COsInfo.motd.add",
         "0 | the block",
         {{"fork map", "", "", {"0 | appended", "0 | the block"}},
          {"wait", "", "ECHILD", {"0 | the block", "0 | appended"}},
          {"open", "/etc/motd", "", {"0 | empty"}},
          {"open", "motd.dat", "", {"0 | empty"}},
          {"read", "motd.dat", "EIO end", {"0 | empty", "0 | the block"}},
          {"write", "/etc/motd", "EIO ENOSPC", {"0 | empty"}},
          {"lasting", "", "", {"0 | empty", "0 | as before", "0 | part of the block"}},
          {"allocation", "", "", {"bad_alloc | as before", "bad_alloc | empty"}}},
         [] {
             WriteFile(kBlock, kBlockText);
             WriteFile(kBanner, kSite);
         },
         [=] {
             const auto host = info();
             return Told([=] {
                 host->motd(true);
                 return 0;
             });
         },
         Banner},
        // The banner is truncated before it is written: what cannot be read back is lost.
        {"COsInfo.motd.remove",
         "0 | removed",
         {{"open", "/etc/motd", "ENOENT", {"0 | empty", "0 | as before"}},
          {"open", "/etc/motd", "", {"0 | as before"}},
          {"open", "/tmp/motd", "", {"0 | as before", "0 | empty"}},
          {"stat", "/tmp/motd", "", {"0 | empty", "0 | removed"}},
          {"read", "/etc/motd", "EIO", {"0 | as before"}},
          {"read", "/etc/motd", "end", {"0 | empty", "0 | removed"}},
          {"read", "/tmp/motd", "EIO end", {"0 | empty", "0 | removed"}},
          {"write", "/tmp/motd", "EIO ENOSPC", {"0 | as before"}},
          {"write", "/etc/motd", "EIO ENOSPC", {"0 | empty"}},
          {"unlink", "/tmp/motd", "", {"0 | removed, a scratch copy"}},
          {"lasting",
           "",
           "",
           {"0 | as before", "0 | empty", "0 | part of removed", "0 | part of as before"}},
          {"allocation", "", "", {"bad_alloc | as before, a scratch copy"}}},
         [] { WriteFile(kBanner, kSite); },
         [=] {
             const auto host = info();
             return Told([=] {
                 host->motd(false);
                 return 0;
             });
         },
         Banner},
        {"COsInfo.copyFile",
         "0 | the block",
         {{"open", "/etc/motd for writing", "", {"0 | absent"}},
          {"open", "motd.dat", "", {"0 | empty"}},
          {"read", "motd.dat", "EIO end", {"0 | empty", "0 | the block"}},
          {"write", "", "EIO ENOSPC", {"0 | empty"}},
          {"lasting", "", "", {"0 | absent", "0 | empty", "0 | part of the block"}},
          {"allocation", "", "", {"bad_alloc | absent"}}},
         [] { WriteFile(kBlock, kBlockText); },
         [=] {
             const auto host = info();
             return Told([=] {
                 host->copyFile(kBlock, kBanner);
                 return 0;
             });
         },
         Banner},
        {"CServerInfo.IsDomesticModel",
         "0 | ",
         {{"open", "", "", {"1 | "}},
          {"read", "", "EIO end", {"1 | "}},
          {"allocation", "", "", {"bad_alloc | "}}},
         [] { WriteFile("/opt/velmora/qor/etc/qorinfo.ini", "[common]\nIsDomesticModel=false\n"); },
         [] { return Told([] { return CServerInfo::IsDomesticModel() ? 1 : 0; }); },
         NoState},
    };
}

constexpr char kDelete[] =
    "static bool CFileUtility::DeleteAllFileByExtendName(std::string, std::string)";
constexpr char kSearch[] =
    "static void CFileUtility::SearchFile(std::string, std::string, std::list<std::string>*)";

Operations FileUtilityOperations()
{
    const auto layThree = [] {
        test::MakeLogDirectory();
        for (const char* const name : {"a.log", "b.log", "c.txt"})
            WriteFile(std::string("/opt/d/") + name, "");
    };
    const auto names = [](const char* signature) {
        return [signature] {
            const std::string failures = Failures("QorCom", signature);
            return Names("/opt/d") + (failures.empty() ? "" : "; " + failures);
        };
    };
    return {
        {"CFileUtility.IsElfFile",
         "1 | ",
         {{"open", "", "", {"0 | "}}, {"read", "", "", {"0 | "}}},
         [] { WriteFile(kFile, "\177ELF and more bytes"); },
         [] { return Told([] { return CFileUtility::IsElfFile(kFile) ? 1 : 0; }); },
         NoState},
        {"CFileUtility.IsFileExist",
         "1 | ",
         {{"stat", "", "", {"0 | "}}, {"allocation", "", "", {"bad_alloc | "}}},
         [] { WriteFile(kFile, ""); },
         [] { return Told([] { return CFileUtility::IsFileExist(kFile) ? 1 : 0; }); },
         NoState},
        {"CFileUtility.RenName",
         "1 | other",
         {{"rename", "", "", {"0 | file"}}, {"allocation", "", "", {"bad_alloc | file"}}},
         [] { WriteFile(kFile, ""); },
         [] { return Told([] { return CFileUtility::RenName(kFile, "other") ? 1 : 0; }); },
         [] { return Names("/opt/d"); },
         nullptr},
        // An end of the list that is an error is none to readdir's callers: true, nothing done.
        {"CFileUtility.DeleteAllFileByExtendName",
         "1 | c.txt",
         {{"open stat", "/opt/d", "", {"0 | a.log b.log c.txt; opendir(/opt/d) failed! (*)"}},
          {"list", "", "", {"1 | a.log b.log c.txt", "1 | c.txt"}},
          {"unlink",
           "",
           "",
           {"0 | a.log c.txt; unlink(/opt/d/a.log) failed! (*)",
            "0 | b.log c.txt; unlink(/opt/d/b.log) failed! (*)"}},
          {"lasting",
           "",
           "",
           {"0 | a.log b.log c.txt; unlink(/opt/d/a.log) failed! (*); unlink(/opt/d/b.log) "
            "failed! (*)",
            "0 | a.log b.log c.txt; unlink(/opt/d/b.log) failed! (*); unlink(/opt/d/a.log) "
            "failed! (*)"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | a.log b.log c.txt", "bad_alloc | a.log c.txt", "bad_alloc | b.log c.txt",
            "0 | a.log b.log c.txt; opendir(/opt/d) failed! (*)"}}},
         layThree,
         [] {
             UseLog("QorCom");
             return Told(
                 [] { return CFileUtility::DeleteAllFileByExtendName("/opt/d", ".log") ? 1 : 0; });
         },
         names(kDelete),
         "=",
         "QorCom"},
        {"CFileUtility.SearchFile",
         "2 | a.log b.log c.txt",
         {{"open stat", "/opt/d", "", {"0 | a.log b.log c.txt; opendir(/opt/d) failed! (*)"}},
          {"list", "", "", {"0 | a.log b.log c.txt", "2 | a.log b.log c.txt"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | a.log b.log c.txt",
            "0 | a.log b.log c.txt; opendir(/opt/d) failed! (*)"}}},
         layThree,
         [] {
             UseLog("QorCom");
             const auto found = std::make_shared<std::list<std::string>>();
             return Told([=] {
                 found->clear();
                 CFileUtility::SearchFile("/opt/d", "*.log", found.get());
                 return static_cast<int>(found->size());
             });
         },
         names(kSearch),
         "=",
         "QorCom"},
        {"CFileUtility.GetFileVersion",
         "1.2.3 | ",
         {{"open", "", "", {" | ", "1.2.3 | "}},
          {"read", "", "EIO end", {" | ", "1.2.3 | "}},
          {"allocation", "", "", {"bad_alloc | "}}},
         [] {
             WriteFile("/opt/velmora/qor/etc/qorversion.ver",
                       "[SOM]\nTargetNum=1\nTargetName1=somd\nVersion1=1.2.3\n");
         },
         [] {
             const auto version = std::make_shared<std::string>();
             return Prepared{[=] { *version = CFileUtility::GetFileVersion("/usr/sbin/somd"); },
                             [=] { return *version; }};
         },
         NoState},
    };
}

}  // namespace

Operations HostOperations()
{
    Operations all;
    for (const Operations& some :
         {CommandOperations(), FileOfTheHostOperations(), FileUtilityOperations()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace qor::proof
