#include "proof/hostile/Cases.h"

#include <sys/stat.h>
#include <unistd.h>

#include <list>
#include <memory>

#include "base/Paths.h"
#include "CFileTransfer.h"
#include "CFileUtility.h"
#include "COsInfo.h"
#include "CTraceUtility.h"
#include "ServerInfo.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "transfer/CountedSleep.h"
#include "winapi.h"

namespace qor::proof {
namespace {

namespace paths = qor::paths;

const std::string kRoot = paths::kInstallRoot;
const std::string kLog = std::string(paths::kLogDirectory) + "/";
const std::string kClient = std::string(paths::kClientDirectory) + "/";
const std::string kServer = std::string(paths::kServerDirectory) + "/";
const std::string kScratch = std::string(paths::kScratchPrefix) + kStamp;
const std::string kTemporary = kClient + kStamp + "som.tmp";
const std::string kMessage = std::string(kStamp) + "som.snd";
const std::string kOldMessage = "00000000000000000001x.snd";
const std::string kOldestOperationLog = kLog + "QOR_um_trc_0.log";
const std::string kOldestDebugLog = kLog + "QOR_um_dbg_0.log";
const std::string kFullDebugLog = kLog + "QOR_um_dbg_1.log";
const std::string kNewDebugLog = kLog + "QOR_um_dbg_" + kLogStamp + ".log";
const std::string kCommandLog = kLog + "QOR_um_dbg_0;touch made;.log";
const std::string kSettings = kRoot + "/um/TraceSetting.ini";
const std::string kCatalogue = kRoot + "/um/TraceSettingMsg.ini";
const std::string kVersions = std::string(paths::kEtcDirectory) + "/" + paths::kVersionFile;

// A clock that stands still but for its microseconds, so that names made of stamps are known.
test::FrozenTime KnownMoments()
{
    return test::FrozenTime(
        {{kSeconds, 42}, {kSeconds, 43}, {kSeconds, 44}, {kSeconds, 45}, {kSeconds, 46}});
}

void PrepareNothing(const std::string&) {}

// Unless it is where something is planted.
void WriteOwn(const std::string& path, const std::string& text, const std::string& planted)
{
    if (path != planted && path.compare(0, planted.size() + 1, planted + "/") != 0)
        test::WriteFile(path, text);
}

HostileOperation OfHost(const std::string& id, std::function<void(COsInfo&)> use)
{
    return {id, PrepareNothing, [use = std::move(use)] {
                COsInfo host;  // under the real clock: its own scratch file is another one
                const test::FrozenTime clock = KnownMoments();
                use(host);
                return std::string();
            }};
}

HostileOperation Plain(const std::string& id, std::function<std::string()> run)
{
    return {id, PrepareNothing, [run = std::move(run)] {
                const test::FrozenTime clock = KnownMoments();
                const test::CountedSleep sleep;
                return run();
            }};
}

// The requests of one scan, taken as a service takes them.
std::string Serve()
{
    CFileTransfer channel;
    std::string text;
    std::string directory;
    channel.GetRecvDir(directory);
    if (!channel.OpenStream())
        return text;
    while (!channel.IsEndStream()) {
        if (!channel.IsTransFile())
            continue;
        const test::OwnedFd request(channel.GetFileHandle());
        std::string name;
        channel.GetTransFile(name);
        text += test::ReadToEnd(request.get());
        (void)::unlink((directory + "/" + name).c_str());
    }
    channel.CloseStream();
    return text;
}

// Polls ten times while the request lies untaken.
std::string Receive()
{
    CFileTransfer channel("som", "/opt/channel.conf");
    channel.SetCurrentFile(kMessage);
    std::string buffer(4096 + 2, '\0');  // a failed read writes in front
    const int length = channel.RecvMessage(&buffer[1], 4096, 0);
    return length > 0 ? buffer.substr(1, static_cast<std::size_t>(length)) : std::string();
}

std::string WriteLogs()
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    CTraceUtility::WriteTrace("um", "ABSENT");
    CTraceUtility::WriteDebug("um", CTraceUtility::TRACE_DBG_INFO, "a record");
    CTraceUtility::Terminate("um");
    return {};
}

std::string ReadLogs()
{
    std::list<std::string> records;
    std::string from;
    CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 10, records, &from);
    std::string text;
    for (const std::string& record : records)
        text += record;
    return text;
}

// The log is full: the first record rotates it, with compression.
void PrepareFullLog(const std::string& planted)
{
    WriteOwn(kFullDebugLog, "", planted);
    if (test::Exists(kFullDebugLog) && kFullDebugLog != planted)
        (void)::truncate(kFullDebugLog.c_str(), 10 * 1024 * 1024 - 1);
}

std::string Rotate()
{
    if (::chdir("/opt/outside") != 0)  // where a command in a name would show
        test::ThrowErrno("chdir");
    return WriteLogs();
}

void PrepareReceive(const std::string& planted)
{
    WriteOwn(kClient + kMessage, "a request", planted);
}

void PrepareServe(const std::string& planted)
{
    WriteOwn(kClient + kOldMessage, "an old request", planted);
}

const char kChmod[] = "ChangeFilePermission";
const char kWriteIni[] = "WritePrivateProfileStringA";

std::vector<HostileOperation> MakeOperations()
{
    std::vector<HostileOperation> operations{
        Plain("COsInfo()",
              [] {
                  const COsInfo host;
                  return std::string();
              }),
        OfHost("getDmiSystemInfo",
               [](COsInfo& host) {
                   std::string value;
                   (void)host.getDmiSystemInfo("UUID:", value);
               }),
        OfHost("release", [](COsInfo& host) { (void)host.release(); }),
        OfHost("makeDeviceInfo", [](COsInfo& host) { (void)host.makeDeviceInfo(); }),
        OfHost("motd(true)", [](COsInfo& host) { host.motd(true); }),
        OfHost("motd(false)", [](COsInfo& host) { host.motd(false); }),
        OfHost("isAlreadyMotd", [](COsInfo& host) { (void)host.isAlreadyMotd(); }),
        Plain("RunVBS",
              [] {
                  (void)CFileUtility::RunVBS("echo", "a");
                  return std::string();
              }),
        Plain(kChmod,
              [] {
                  (void)CFileUtility::ChangeFilePermission("/opt/channel.conf", 0644);
                  return std::string();
              }),
        Plain("CFileTransfer()",
              [] {
                  const CFileTransfer channel;
                  return std::string();
              }),
        Plain("SendMessage",
              [] {
                  (void)CFileTransfer().SendMessage("a request");
                  return std::string();
              }),
        Plain("serve", Serve),
        Plain("RecvMessage", Receive),
        Plain("log", WriteLogs),
        Plain("ReadTrace", ReadLogs),
        Plain("rotate", Rotate),
        Plain("IsDomesticModel",
              [] {
                  (void)CServerInfo::IsDomesticModel();
                  return std::string();
              }),
        Plain("GetFileVersion", [] { return CFileUtility::GetFileVersion("libqorp_raid.so"); }),
        Plain(kWriteIni,
              [] {
                  (void)WritePrivateProfileStringA("common", "key", "v", paths::kInstallationFile);
                  return std::string();
              }),
    };
    for (HostileOperation& operation : operations) {
        if (operation.id == "serve")
            operation.prepare = PrepareServe;
        else if (operation.id == "RecvMessage")
            operation.prepare = PrepareReceive;
        else if (operation.id == "rotate")
            operation.prepare = PrepareFullLog;
    }
    return operations;
}

using Ids = std::vector<std::string>;

// Those that write debug records, which opens or makes a log.
const Ids kTracing{"SendMessage", "serve", "RecvMessage", "log", "ReadTrace", "rotate"};
const Ids kChannel{"CFileTransfer()", "SendMessage", "serve", "RecvMessage"};
const Ids kBannerUsers{"motd(true)", "motd(false)", "isAlreadyMotd"};
const Ids kLogUsers{"log", "rotate"};
// Reading notes in the debug log that there is no operation log.
const Ids kDebugLogUsers{"log", "rotate", "ReadTrace"};

}  // namespace

const std::vector<HostileOperation>& HostileOperations()
{
    static const std::vector<HostileOperation> operations = MakeOperations();
    return operations;
}

const std::vector<Name>& Names()
{
    static const std::vector<Name> names{
        {kScratch,
         "kScratchPrefix",
         kCommonKinds,
         true,
         {"COsInfo()", "makeDeviceInfo", "RunVBS", kChmod}},
        {paths::kDmiCache,
         "kDmiCache",
         kCommonKinds | kLinkToEndlessFile,
         false,
         {"getDmiSystemInfo", "release"}},
        {paths::kBannerScratch, "kBannerScratch", kCommonKinds, false, {"motd(false)"}},
        {paths::kBannerMark,
         "kBannerMark",
         kCommonKinds | kLinkToEndlessFile,
         false,
         {"motd(true)", "isAlreadyMotd"}},
        {paths::kBanner, "kBanner", kCommonKinds, false, kBannerUsers},
        {paths::kDeviceList, "kDeviceList", kCommonKinds, false, {"makeDeviceInfo"}},
        {paths::kDeviceScript, "kDeviceScript", kCommonKinds | kProgram, false, {"makeDeviceInfo"}},
        {paths::kBannerBlock, "kBannerBlock", kCommonKinds, false, {"motd(true)"}},
        {paths::kInstallationFile,
         "kInstallationFile",
         kCommonKinds,
         false,
         {"IsDomesticModel", kWriteIni}},
        {kVersions, "kVersionFile", kCommonKinds, false, {"GetFileVersion"}},
        {paths::kChannelConfig,
         "kChannelConfig",
         kCommonKinds,
         false,
         {"CFileTransfer()", "SendMessage", "serve"}},
        {paths::kClientDirectory,
         "kClientDirectory",
         kCommonKinds,
         false,
         {"CFileTransfer()", "SendMessage", "serve"}},
        {paths::kServerDirectory, "kServerDirectory", kCommonKinds, false, kChannel},
        {kTemporary, "", kCommonKinds, true, {"SendMessage", "serve"}},
        {kClient + kMessage, "", kCommonKinds, false, {"serve"}},
        // The name that the message would get; it gets another one.
        {kClient + kMessage, "", kCommonKinds, true, {"SendMessage"}},
        {kClient + kOldMessage, "", kCommonKinds, false, {"serve"}},
        {kServer + kMessage, "", kCommonKinds, false, {"RecvMessage"}},
        {kServer + kOldMessage, "", kCommonKinds, false, {"serve"}},
        {paths::kLogDirectory, "kLogDirectory", kCommonKinds, false, kTracing},
        {kOldestOperationLog, "", kCommonKinds, false, {"log", "ReadTrace"}},
        {kOldestDebugLog, "", kCommonKinds, false, kDebugLogUsers},
        {kNewDebugLog, "", kCommonKinds, false, kLogUsers},
        {kFullDebugLog + ".gz", "", kCommonKinds, false, {"rotate"}},
        {kCommandLog, "", kFullLog, false, kLogUsers},
        {kSettings, "kTraceSettingFile", kCommonKinds, false, {"log", "ReadTrace"}},
        {kCatalogue, "kTraceMessageFile", kCommonKinds, false, {"log"}},
    };
    return names;
}

const std::vector<Declaration>& Declarations()
{
    static const std::vector<Declaration> declarations{
        // Shared directories.
        {paths::kBannerMark, kFifo, {"motd(true)", "isAlreadyMotd"}, kWaits, "(R6)"},
        {paths::kBannerMark, kLinkToEndlessFile, {"motd(true)", "isAlreadyMotd"}, kSpins, "(R6)"},

        // The banner.
        {paths::kBanner, kLinkToFile | kHardLink, kBannerUsers, kVictimChanged, "(R1)"},
        {paths::kBanner, kLinkToMissing, kBannerUsers, kVictimMade, "(R1)"},
        {paths::kBanner, kFifo, kBannerUsers, kWaits, "(R12)"},
        {paths::kBannerBlock, kLinkToFile | kHardLink, {"motd(true)"}, kSecretShown, "(R11)"},
        {paths::kBannerBlock, kFifo, {"motd(true)"}, kWaits, "(R12)"},

        // Files of the installation.
        {paths::kDeviceList, kLinkToFile | kHardLink, {"makeDeviceInfo"}, kVictimChanged, "(R8)"},
        {paths::kDeviceList, kLinkToMissing, {"makeDeviceInfo"}, kVictimMade, "(R8)"},
        {paths::kDeviceScript, kProgram, {"makeDeviceInfo"}, kVictimMade, "(R9)"},
        {paths::kInstallationFile, kLinkToFile | kHardLink, {kWriteIni}, kVictimChanged, "(R10)"},
        {paths::kInstallationFile, kLinkToMissing, {kWriteIni}, kVictimMade, "(R10)"},
        {paths::kInstallationFile, kFifo, {"IsDomesticModel", kWriteIni}, kWaits, "(R12)"},
        {kVersions, kFifo, {"GetFileVersion"}, kWaits, "(R12)"},
        {kSettings, kFifo, {"log", "ReadTrace", "rotate"}, kWaits, "(R12)"},
        {kCatalogue, kFifo, {"log", "ReadTrace", "rotate"}, kWaits, "(R12)"},
        {paths::kChannelConfig,
         kFifo,
         {"CFileTransfer()", "SendMessage", "serve"},
         kWaits,
         "(R12)"},

        // The channel.
        {paths::kClientDirectory, kLinkToDirectory, {"SendMessage"}, kVictimMade, "(R13)"},
        {paths::kClientDirectory, kLinkToDirectory, {"serve"}, kVictimRemoved, "(R13)"},
        {paths::kServerDirectory, kLinkToDirectory, {"serve"}, kVictimRemoved, "(R13)"},
        {paths::kClientDirectory, kCommonKinds, {"RecvMessage"}, kSpins, "(R19)"},
        {kClient + kMessage, kLinkToMissing, {"RecvMessage"}, kSpins, "(R19)"},
        {kServer + kMessage, kHardLink, {"RecvMessage"}, kSecretShown, "(R7)"},

        // Logs.
        {paths::kLogDirectory, kLinkToDirectory, kTracing, kVictimMade, "(R13)"},
        {kOldestOperationLog, kHardLink, {"log", "rotate"}, kVictimChanged, "(R14)"},
        {kOldestOperationLog, kHardLink, {"ReadTrace"}, kSecretShown, "(R15)"},
        {kOldestDebugLog, kHardLink, kDebugLogUsers, kVictimChanged, "(R14)"},
        {kNewDebugLog, kHardLink, kDebugLogUsers, kVictimChanged, "(R14)"},
    };
    return declarations;
}

const std::vector<LeftOut>& LeftOutConstants()
{
    static const std::string directory = "a directory whose files have rows of their own";
    static const std::string unused = "only told, never opened";
    static const std::vector<LeftOut> leftOut{
        {"kInstallRoot", directory},
        {"kUpdateManager", directory},
        {"kObjectManager", directory},
        {"kProvider", directory},
        {"kEtcDirectory", directory},
        {"kCommandLine", directory},
        {"kLibraries", unused},
        {"kUnknown", unused},
        {"kSbin", unused},
        {"kBin", unused},
    };
    return leftOut;
}

}  // namespace qor::proof
