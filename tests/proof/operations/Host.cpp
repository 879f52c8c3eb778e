// The host: commands, the DMI cache, the device list, the banner, file utilities.
#include <sys/stat.h>

#include <cstdio>
#include <list>
#include <stdexcept>

#include "CFileUtility.h"
#include "COsInfo.h"
#include "CTraceUtility.h"
#include "proof/operations/Operation.h"
#include "ServerInfo.h"
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
constexpr char kCopied[] = "/opt/d/file";

// The host's description, and a component's log when it has one.
struct Host {
    COsInfo info;
    std::string value;
};

struct LoggingHost : Host {
    LoggingHost() { CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG); }
};

// ---- commands

constexpr char kDmi[] =
    "System Information\n\tManufacturer: the maker of many machines\n"
    "\tProduct Name: a product of many parts\n\tVersion: a version of many digits\n\tUUID: u\n";

template <typename Get>
Operation& Field(const Table& t, const std::string& name, const std::string& found, Get get)
{
    return t.On<LoggingHost>("COsInfo::" + name, found, [get](LoggingHost& host, Result& result) {
        host.value = "untouched";
        Append(result, get(host.info, host.value));
        result += " " + host.value;
    });
}

// From a cache that is there. What cannot be read counts as not found.
Operation& Cached(const Table& t, const std::string& name, const std::string& found,
                  bool (COsInfo::*get)(std::string&))
{
    const std::string missed = "false untouched";
    return Field(t, name, found,
                 [get](COsInfo& info, std::string& out) { return (info.*get)(out); })
        .Lay([] {
            test::MakeLogDirectory();
            WriteFile(kCache, kDmi);
        })
        .Faults({{"open", "/dmitmp", {missed}},
                 {"stat control", "/dmitmp", {missed, found}},
                 {"read", "/dmitmp", "EIO EINTR end", {missed, found}},
                 {"lasting", {missed}},
                 {"allocation", {"bad_alloc", missed, found}}});
}

void AddDescription(const Table& t)
{
    const Table o = t.In("COsInfo::");
    const std::string missed = "false untouched | ";
    const auto both = [](const COsInfo& info, Result& result) {
        result.append(const_cast<COsInfo&>(info).getName());
        result.append("/").append(const_cast<COsInfo&>(info).getVersion());
    };
    const std::vector<Row> names = {
        // Where the directory is at fault, the shell's own failure shows: it has none here.
        {"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"is-i/is-r"}},
        {"open", "/qortmp", {"/", "/is-r", "is-i/"}},
        {"fork map wait", "", "EAGAIN ENOMEM ECHILD", {"/is-r", "is-i/", "is-i/is-r"}},
        {"read stat", "/qortmp", "EIO end", {"/is-r", "is-i/", "is-i/is-r"}},
        {"lasting", {"/", "i/i"}}};
    o.Plain("COsInfo()", "is-i/is-r",
            [both](Result& result) {
                const COsInfo info;
                both(info, result);
            })
        .Lay([] { test::MakeLogDirectory(); })
        .Command()
        .Faults(names);
    o.Plain("~COsInfo()", "done", [] { delete new COsInfo; }).Command();
    o.On<Host>("getName()", "is-i", [](Host& host) { return host.info.getName(); });
    o.On<Host>("getVersion()", "is-r", [](Host& host) { return host.info.getVersion(); });
    o.On<Host>("compare(string, string)", "false",
               [](Host& host) { return host.info.compare(kLong, kLong); });
    o.On<Host>("firstString(char const*)", "a",
               [](Host& host) { return host.info.firstString("  1 a"); });
    // A command that could not be started leaves no cache: the next call runs it.
    Field(t, "getDmiSystemInfo(string, string&)", "true 42 | cached",
          [](COsInfo& info, std::string& value) { return info.getDmiSystemInfo("UUID:", value); })
        .Lay([] {
            test::MakeLogDirectory();
            test::RemoveTree(kCache);
        })
        .UsedUp()
        .Command()
        .Files({kCache})
        .State([] {
            return Holds(kCache, {{"cached", "System Information\n\tUUID: 42\n"}});
        })
        .KeepsCutFile()
        .Faults(
            {{"open", "/dmitmp", {missed + "absent", missed + "cached"}},
             {"stat control", "/dmitmp", {missed + "cached", "true 42 | cached"}},
             {"read", "/dmitmp", "EIO EINTR end", {missed + "cached", "true 42 | cached"}},
             {"fork map", {missed + "absent", "true 42 | cached"}},
             {"wait", "", "ECHILD", {missed + "absent", "true 42 | cached"}},
             {"lasting",
              {missed + "absent", missed + "cached", missed + "empty", missed + "part of cached"}},
             {"allocation",
              {"bad_alloc | cached", "bad_alloc | absent", missed + "cached",
               "true 42 | cached"}}});
    Cached(t, "getDmiSystemUuid(string&)", "true u", &COsInfo::getDmiSystemUuid);
    Cached(t, "getDmiSystemManufacture(string&)", "true the maker of many machines",
           &COsInfo::getDmiSystemManufacture);
    Cached(t, "getDmiSystemProductName(string&)", "true a product of many parts",
           &COsInfo::getDmiSystemProductName);
    Cached(t, "getDmiSystemVersion(string&)", "true a version of many digits",
           &COsInfo::getDmiSystemVersion);
    o.On<Host>("release()", "0 | absent", [](Host& host) { return host.info.release(); })
        .Lay([] { WriteFile(kCache, "a cache"); })
        .State([] {
            return Holds(kCache, {{"a cache", "a cache"}});
        })
        .UsedUp()
        .Command()
        .Faults({{"unlink", {"-1 | a cache"}}});
}

void AddCommands(const Table& t)
{
    const Table o = t.In("COsInfo::");
    const Table f = t.In("CFileUtility::");
    o.On<Host>("isAlreadyMotd()", "false | empty",
               [](Host& host) { return host.info.isAlreadyMotd(); })
        .Lay([] { WriteFile(kBanner, "the site's own text\n"); })
        .State([] {
            return Holds(kBanner, {{"as before", "the site's own text\n"}});
        })
        .Command()
        .Faults({{"fork map", {"false | as before", "false | empty"}},
                 {"lasting", {"false | as before"}},
                 {"allocation", {"bad_alloc | as before"}}});
    o.On<Host>("isAlreadyMotd(): a mark", "true",
               [](Host& host) { return host.info.isAlreadyMotd(); })
        .Lay([] { WriteFile("/var/tmp/motds", "qor\n"); })
        .UsedUp()
        .Command()
        .Faults({{"fork map wait", "", "EAGAIN ENOMEM ECHILD", {"true", "false"}},
                 {"lasting", {"false"}}});
    o.On<Host>("wall(string)", "true | the message",
               [](Host& host) { return host.info.wall("hello") > 0; })
        .Lay([] {
            WriteFile("/opt/other", "");
            test::RemoveTree("/opt/message");
        })
        .State([] {
            return Holds("/opt/message", {{"the message", "hello\n"}});
        })
        .UsedUp()
        .LeavesChildWhenCancelled()
        .Command()
        .Files({"/opt/message"})
        .Faults({{"fork", {"false | absent"}},
                 {"wait", "", "ECHILD", {"false | the message"}},
                 {"child-exec", {"true | absent"}},  // the child is waited for
                 {"lasting", {"true | absent", "true | empty", "true | part of the message"}},
                 {"allocation", {"bad_alloc | absent"}}});
    // The C library may report a process that could not be made as -1, or as status 127. The shell
    // starts nothing: what it starts outlives a cancellation, and may make the scratch file again.
    f.Plain("RunVBS(string, string)", "7", [] { return CFileUtility::RunVBS("exit 7", ""); })
        .Command()
        .Faults({{"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"7"}},
                 {"open", "/qortmp", {"-1"}},
                 {"fork map", {"-1", "127", "7"}},
                 {"wait", "", "ECHILD", {"-1"}},
                 {"descriptors", {"2"}},  // the shell finds none to redirect
                 {"lasting", {"-1"}}});
    f.Plain("ChangeFilePermission(string, int)", "0 | 600",
            [] { return CFileUtility::ChangeFilePermission(kCopied, 0600); })
        .Lay([] {
            test::RemoveTree(kCopied);
            WriteFile(kCopied, "");
        })
        .State([] {
            char mode[16];
            (void)std::snprintf(mode, sizeof mode, "%o", test::FileMode(kCopied));
            return std::string(mode);
        })
        .Command()
        .Faults({{"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"0 | 600"}},
                 {"open", "/qortmp", {"-1 | 644"}},
                 {"fork map", {"-1 | 644", "32512 | 644", "0 | 600"}},
                 {"wait", "", "ECHILD", {"-1 | 600", "-1 | 644"}},
                 {"lasting", {"-1 | 644", "-1 | 600"}},
                 {"descriptors", {"512 | 644"}},  // the shell finds none to redirect
                 {"allocation", {"bad_alloc | 644"}}});
}

// ---- files of the host

constexpr char kList[] = "00:1f.2-8086-29A2\n00:02.0-ABCD-12EF\n";
constexpr char kSite[] = "A\n-qor\nx\nqor-\nB\nC\n";
constexpr char kBlockText[] = "-qor\nblock\nqor-\n";

std::string DeviceList()
{
    const std::string failures = Failures("som", "bool COsInfo::makeDeviceInfo()");
    return Holds(kDevices, {{"whole", kList}, {"old", "old\n"}}) +
           (failures.empty() ? "" : "; " + failures);
}

std::string Banner()
{
    return Holds(kBanner, {{"as before", kSite},
                           {"removed", "A\nC\n"},
                           {"the block", kBlockText},
                           {"appended", std::string(kSite) + kBlockText}}) +
           (test::Exists("/tmp/motd") ? ", a scratch copy" : "");
}

void LayBanner()
{
    WriteFile(kBlock, kBlockText);
    WriteFile(kBanner, kSite);
    test::RemoveTree("/tmp/motd");
}

void AddFilesOfTheHost(const Table& t)
{
    const Table o = t.In("COsInfo::");
    const std::string notMade = "false | old; failed to create file " + std::string(kDevices);
    const std::string notWritten = "; failed to write file " + std::string(kDevices);
    // A short write leaves a torn line: one byte written counts as success.
    o.On<LoggingHost>("makeDeviceInfo()", "true | whole",
                      [](LoggingHost& host) { return host.info.makeDeviceInfo(); })
        .Lay([] {
            test::MakeLogDirectory();
            WriteFile(kDevices, "old\n");
            test::RemoveTree(kScript);  // what a cancelled call started may still run it
            WriteFile(kScript,
                      "#!/bin/sh\necho 00:1f.2 8086 29a2\necho Bus x y\n"
                      "echo 00:02.0 abcd 12ef\n");
            (void)::chmod(kScript, 0755);
        })
        .State(DeviceList)
        .Command()
        .Faults({{"open", "devices.tmp", {notMade}},
                 {"open", "/qortmp* for writing", "EEXIST ENOENT EROFS", {"true | whole"}},
                 {"open", "/qortmp", {"false | empty", "true | empty"}},
                 {"fork map", {"false | empty", "true | empty", "true | whole"}},
                 {"wait", "", "ECHILD", {"false | empty"}},
                 {"stat read", "/qortmp", "EIO end", {"true | empty", "true | whole"}},
                 {"write",
                  "devices.tmp",
                  "short",
                  {"true | \"000:02.0-ABCD-12EF~\"", "true | part of whole"}},
                 {"write",
                  "devices.tmp",
                  {"false | empty" + notWritten, "false | part of whole" + notWritten}},
                 {"lasting",
                  {notMade, "false | empty", "false | part of whole", "true | empty",
                   "true | part of whole"}},
                 {"allocation",
                  {"bad_alloc | old", "bad_alloc | empty", "bad_alloc | part of whole"}}});
    // The check empties the banner; without it the block is added after what is there.
    o.On<Host>("motd(bool): on", "done | the block", [](Host& host) { host.info.motd(true); })
        .Lay(LayBanner)
        .State(Banner)
        .Command()
        .Faults({{"fork map", {"done | appended", "done | the block"}},
                 {"wait", "", "ECHILD", {"done | the block", "done | appended"}},
                 {"open", "/etc/motd", {"done | empty"}},
                 {"open", "motd.dat", {"done | empty"}},
                 {"read", "motd.dat", "EIO end", {"done | empty", "done | the block"}},
                 {"write", "/etc/motd", "EIO ENOSPC", {"done | empty"}},
                 {"lasting", {"done | empty", "done | as before", "done | part of the block"}},
                 {"allocation", {"bad_alloc | as before", "bad_alloc | empty"}}});
    // The banner is truncated before it is written: what cannot be read back is lost.
    o.On<Host>("motd(bool): off", "done | removed", [](Host& host) { host.info.motd(false); })
        .Lay(LayBanner)
        .State(Banner)
        .Command()
        .UsedUp()
        .Faults({{"open", "/etc/motd", "ENOENT", {"done | empty", "done | as before"}},
                 {"open", "/etc/motd", {"done | as before"}},
                 {"open", "/tmp/motd", {"done | as before", "done | empty"}},
                 {"stat seek control",
                  "/tmp/motd",
                  {"done | empty", "done | removed", "done | as before"}},
                 {"read", "/etc/motd", "EIO", {"done | as before"}},
                 {"read", "/etc/motd", "end", {"done | empty", "done | removed"}},
                 {"read", "/tmp/motd", "EIO end", {"done | empty", "done | removed"}},
                 {"write", "/tmp/motd", "EIO ENOSPC", {"done | as before"}},
                 {"write", "/etc/motd", "EIO ENOSPC", {"done | empty"}},
                 {"unlink", "/tmp/motd", {"done | removed, a scratch copy"}},
                 {"lasting",
                  {"done | as before", "done | empty", "done | part of removed",
                   "done | part of as before"}},
                 {"allocation", {"bad_alloc | as before, a scratch copy"}}});
    o.On<Host>("copyFile(string, string)", "done | the block",
               [](Host& host) { host.info.copyFile(kBlock, kBanner); })
        .Lay([] {
            WriteFile(kBlock, kBlockText);
            test::RemoveTree(kBanner);
        })
        .State(Banner)
        .UsedUp()
        .Command()
        .Faults({{"open", "/etc/motd for writing", {"done | absent"}},
                 {"open", "motd.dat", {"done | empty"}},
                 {"read", "motd.dat", "EIO end", {"done | empty", "done | the block"}},
                 {"write", "", "EIO ENOSPC", {"done | empty"}},
                 {"lasting", {"done | absent", "done | empty", "done | part of the block"}},
                 {"allocation", {"bad_alloc | absent"}}});
    o.On<Host>("copyFile(string, string): neither can be opened", "done", [](Host& host) {
         host.info.copyFile("/opt/absent", "/opt/copy");
         host.info.copyFile("/opt/copy", "/opt/absent/copy");
     }).Files({"/opt/copy"});
    // A line of its caller's file.
    struct Lines {
        COsInfo info;
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{std::fopen(kCopied, "re"),
                                                             &std::fclose};
    };
    o.On<Lines>("fgetn(char*, unsigned long, _IO_FILE*)", "a line",
                [](Lines& one, Result& result) {
                    char buffer[32] = "";
                    std::rewind(one.file.get());
                    const bool got =
                        one.info.fgetn(buffer, sizeof buffer, one.file.get()) != nullptr;
                    result += got ? buffer : "none";
                })
        .Lay([] { WriteFile(kCopied, "a line\nanother\n"); })
        .Faults({{"read", "", "EIO EINTR end", {"none"}}, {"allocation", {"a line"}}});
    t.Plain("CServerInfo::IsDomesticModel()", "false",
            [] { return CServerInfo::IsDomesticModel(); })
        .Lay([] {
            WriteFile("/opt/velmora/qor/etc/qorinfo.ini", "[common]\nIsDomesticModel=false\n");
        })
        .Faults({{"open", {"true"}}, {"read", "", "EIO end", {"true"}}});
}

// ---- file utilities

void LayThree()
{
    test::MakeLogDirectory();
    for (const char* const name : {"a.log", "b.log", "c.txt"})
        WriteFile(std::string("/opt/d/") + name, "");
}

std::function<std::string()> NamesAndFailures(const char* signature)
{
    return [signature] {
        const std::string failures = Failures("QorCom", signature);
        return Names("/opt/d") + (failures.empty() ? "" : "; " + failures);
    };
}

struct LoggingUtility {
    LoggingUtility() { CTraceUtility::Initialize("QorCom", CTraceUtility::WRITE_MODE_DEBUG); }
};

void LayVersions()
{
    WriteFile("/opt/velmora/qor/etc/qorversion.ver",
              "[SOM]\nTargetNum=1\nTargetName1=somd\nVersion1=1.2.3\n");
}

void AddFileTests(const Table& t)
{
    const Table f = t.In("CFileUtility::");
    const std::string notImplemented = "CFileUtility::ReadConfigString is not implemented";
    f.Plain("CheckFileVersion(string, string)", "1",
            [] { return CFileUtility::CheckFileVersion("1.2.3.4 and more", "1.2.3.5 and more"); });
    f.Plain("GetInstallPath(int)", "/opt/velmora/qor/provider",
            [] { return CFileUtility::GetInstallPath(0); });
    f.Plain("ReadConfigString(string, string, string)", notImplemented,
            [](Result& result) {
                try {
                    (void)CFileUtility::ReadConfigString("a", "b", "c");
                } catch (const std::logic_error& error) {
                    result += error.what();
                }
            })
        // The C++ library has a little memory aside for exceptions.
        .Faults({{"allocation", {"bad_alloc", notImplemented}}});
    f.Plain("RemoveFileExtension(string)", "a name of many bytes",
            [] { return CFileUtility::RemoveFileExtension("a name of many bytes.txt"); });
    f.Plain("isMatch(string, string)", "true", [] {
        return CFileUtility::isMatch("*and many more bytes.log", "a name and many more bytes.log");
    });
    f.Plain("isMatch(string, string): question marks", "true",
            [] { return CFileUtility::isMatch("a????????????????????????", "a name"); });
    // Each name and version is looked up by itself: what one look-up misses is "".
    f.Plain("MakeVersionList(string, list<pair<string, string>>&)", "somd=1.2.3",
            [](Result& result) {
                std::list<std::pair<std::string, std::string>> list;
                CFileUtility::MakeVersionList("SOM", list);
                for (const auto& [name, version] : list)
                    result.append(name).append("=").append(version);
            })
        .Lay(LayVersions)
        .Faults({{"open", {"", "=1.2.3", "somd="}},
                 {"read", "", "EIO end", {"", "=1.2.3", "somd=", "somd=1.2.3"}},
                 {"lasting", {"", "=", "somd="}}});
    f.Plain("GetFileVersion(string)", "1.2.3",
            [] { return CFileUtility::GetFileVersion("/usr/sbin/somd"); })
        .Lay(LayVersions)
        .Faults({{"open", {"", "1.2.3"}}, {"read", "", "EIO end", {"", "1.2.3"}}});
    f.Plain("GetFileVersion(string): absent", "",
            [] { return CFileUtility::GetFileVersion("absent"); });
    f.Plain("IsElfFile(char const*)", "true", [] { return CFileUtility::IsElfFile(kCopied); })
        .Lay([] { WriteFile(kCopied, "\177ELF and more bytes"); })
        .Faults({{"open", {"false"}}, {"read", "", "EIO short end", {"false"}}});
    f.Plain("IsElfFile(char const*): no file", "false",
            [] { return CFileUtility::IsElfFile("/opt/absent"); });
    f.Plain("IsFileExist(string)", "true", [] { return CFileUtility::IsFileExist(kCopied); })
        .Lay([] { WriteFile(kCopied, ""); })
        .Faults({{"stat", {"false"}}});
    f.Plain("RenName(string, string)", "true | other",
            [] { return CFileUtility::RenName(kCopied, "other"); })
        .Lay([] {
            test::RemoveTree("/opt/d");
            WriteFile(kCopied, "");
        })
        .State([] { return Names("/opt/d"); })
        .UsedUp()
        .Files({"/opt/d/other"})
        .Faults({{"rename", {"false | file"}}, {"allocation", {"bad_alloc | file"}}});
}

void AddDirectories(const Table& t)
{
    const Table f = t.In("CFileUtility::");
    const char* const remove =
        "static bool CFileUtility::DeleteAllFileByExtendName(std::string, std::string)";
    const char* const search =
        "static void CFileUtility::SearchFile(std::string, std::string, std::list<std::string>*)";
    const std::string all = "a.log b.log c.txt";
    const std::string notOpened = "; opendir(/opt/d) failed! (*)";
    const auto notRemoved = [](const std::string& name) {
        return "; unlink(/opt/d/" + name + ") failed! (*)";
    };
    // An end of the list that is an error is none to readdir's callers: true, nothing done.
    f.On<LoggingUtility>(
         "DeleteAllFileByExtendName(string, string)", "true | c.txt",
         [](LoggingUtility&) { return CFileUtility::DeleteAllFileByExtendName("/opt/d", ".log"); })
        .Lay(LayThree)
        .State(NamesAndFailures(remove))
        .UsedUp()
        .Component("QorCom")
        .Faults({{"open stat", "/opt/d", {"false | " + all + notOpened}},
                 {"list", {"true | " + all, "true | c.txt"}},
                 {"unlink",
                  {"false | a.log c.txt" + notRemoved("a.log"),
                   "false | b.log c.txt" + notRemoved("b.log")}},
                 {"lasting",
                  {"false | " + all + notRemoved("a.log") + notRemoved("b.log"),
                   "false | " + all + notRemoved("b.log") + notRemoved("a.log")}},
                 {"allocation",
                  {"bad_alloc | " + all, "bad_alloc | a.log c.txt", "bad_alloc | b.log c.txt",
                   "false | " + all + notOpened}}});
    f.Plain("DeleteAllFileByExtendName(string, string): no directory", "false", [] {
         return CFileUtility::DeleteAllFileByExtendName("/opt/absent", ".bak");
     }).Faults({{"allocation", {"bad_alloc", "false"}}});
    f.On<LoggingUtility>("SearchFile(string, string, list<string>*)", "2 | " + all,
                         [](LoggingUtility&) {
                             std::list<std::string> found;
                             CFileUtility::SearchFile("/opt/d", "*.log", &found);
                             return found.size();
                         })
        .Lay(LayThree)
        .State(NamesAndFailures(search))
        .Component("QorCom")
        .Faults({{"open stat", "/opt/d", {"0 | " + all + notOpened}},
                 {"list", {"0 | " + all, "2 | " + all}},
                 {"allocation", {"bad_alloc | " + all, "0 | " + all + notOpened}}});
    f.Plain("SearchFile(string, string, list<string>*): a pattern that throws", "thrown",
            [](Result& result) {
                std::list<std::string> found;
                try {
                    CFileUtility::SearchFile("/opt/d", "a.lo?x", &found);
                } catch (const std::out_of_range&) {
                    result += "thrown";
                }
            })
        .Lay(LayThree)
        .Faults({{"open stat list", {"", "thrown"}},
                 {"lasting", {""}},
                 // The C++ library has a little memory aside for exceptions.
                 {"allocation", {"bad_alloc", "thrown", ""}}});
}

}  // namespace

void AddHostOperations(const Table& t)
{
    AddDescription(t);
    AddCommands(t);
    AddFilesOfTheHost(t);
    AddFileTests(t);
    AddDirectories(t);
}

}  // namespace qor::proof
