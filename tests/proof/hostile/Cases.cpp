#include "proof/hostile/Cases.h"

#include <unistd.h>

#include <list>
#include <type_traits>

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

// run: what it returns is handed out; nothing when it returns nothing.
template <typename Run>
HostileOperation Plain(const std::string& id, Run run,
                       std::function<void(const std::string&)> prepare = PrepareNothing)
{
    return {id, std::move(prepare), [run] {
                const test::FrozenTime clock = KnownMoments();
                const test::CountedSleep sleep;
                if constexpr (std::is_void_v<decltype(run())>)
                    return run(), std::string();
                else
                    return run();
            }};
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

void WriteLogs()
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    CTraceUtility::WriteTrace("um", "ABSENT");
    CTraceUtility::WriteDebug("um", CTraceUtility::TRACE_DBG_INFO, "a record");
    CTraceUtility::Terminate("um");
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

void Rotate()
{
    if (::chdir("/opt/outside") != 0)  // where a command in a name would show
        test::ThrowErrno("chdir");
    WriteLogs();
}

const char kChmod[] = "ChangeFilePermission";
const char kWriteIni[] = "WritePrivateProfileStringA";

std::vector<HostileOperation> MakeOperations()
{
    const auto ask = [](COsInfo& host) {
        std::string value;
        (void)host.getDmiSystemInfo("UUID:", value);
    };
    const auto changeMode = [] {
        (void)CFileUtility::ChangeFilePermission("/opt/channel.conf", 0644);
    };
    const auto writeIni = [] {
        (void)WritePrivateProfileStringA("common", "key", "v", paths::kInstallationFile);
    };
    return {
        Plain("COsInfo()", [] { const COsInfo host; }),
        OfHost("getDmiSystemInfo", ask),
        OfHost("release", [](COsInfo& host) { (void)host.release(); }),
        OfHost("makeDeviceInfo", [](COsInfo& host) { (void)host.makeDeviceInfo(); }),
        OfHost("motd(true)", [](COsInfo& host) { host.motd(true); }),
        OfHost("motd(false)", [](COsInfo& host) { host.motd(false); }),
        OfHost("isAlreadyMotd", [](COsInfo& host) { (void)host.isAlreadyMotd(); }),
        Plain("RunVBS", [] { (void)CFileUtility::RunVBS("echo", "a"); }),
        Plain(kChmod, changeMode),
        Plain("CFileTransfer()", [] { const CFileTransfer channel; }),
        Plain("SendMessage", [] { (void)CFileTransfer().SendMessage("a request"); }),
        Plain("serve", Serve,
              [](const std::string& planted) {
                  WriteOwn(kClient + kOldMessage, "an old request", planted);
              }),
        Plain(
            "RecvMessage", Receive,
            [](const std::string& planted) { WriteOwn(kClient + kMessage, "a request", planted); }),
        Plain("log", WriteLogs),
        Plain("ReadTrace", ReadLogs),
        Plain("rotate", Rotate, PrepareFullLog),
        Plain("IsDomesticModel", [] { (void)CServerInfo::IsDomesticModel(); }),
        Plain("GetFileVersion", [] { return CFileUtility::GetFileVersion("libqorp_raid.so"); }),
        Plain(kWriteIni, writeIni),
    };
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
         {"COsInfo()", "makeDeviceInfo", "RunVBS", kChmod},
         "kScratchPrefix",
         kCommonKinds,
         true},
        {paths::kDmiCache,
         {"getDmiSystemInfo", "release"},
         "kDmiCache",
         kCommonKinds | kLinkToEndlessFile},
        {paths::kBannerScratch, {"motd(false)"}, "kBannerScratch"},
        {paths::kBannerMark,
         {"motd(true)", "isAlreadyMotd"},
         "kBannerMark",
         kCommonKinds | kLinkToEndlessFile},
        {paths::kBanner, kBannerUsers, "kBanner"},
        {paths::kDeviceList, {"makeDeviceInfo"}, "kDeviceList"},
        {paths::kDeviceScript, {"makeDeviceInfo"}, "kDeviceScript", kCommonKinds | kProgram},
        {paths::kBannerBlock, {"motd(true)"}, "kBannerBlock"},
        {paths::kInstallationFile, {"IsDomesticModel", kWriteIni}, "kInstallationFile"},
        {kVersions, {"GetFileVersion"}, "kVersionFile"},
        {paths::kChannelConfig, {"CFileTransfer()", "SendMessage", "serve"}, "kChannelConfig"},
        {paths::kClientDirectory, {"CFileTransfer()", "SendMessage", "serve"}, "kClientDirectory"},
        {paths::kServerDirectory, kChannel, "kServerDirectory"},
        {kTemporary, {"SendMessage", "serve"}, "", kCommonKinds, true},
        {kClient + kMessage, {"serve"}},
        // The name that the message would get; it gets another one.
        {kClient + kMessage, {"SendMessage"}, "", kCommonKinds, true},
        {kClient + kOldMessage, {"serve"}},
        {kServer + kMessage, {"RecvMessage"}},
        {kServer + kOldMessage, {"serve"}},
        {paths::kLogDirectory, kTracing, "kLogDirectory"},
        {kOldestOperationLog, {"log", "ReadTrace"}},
        {kOldestDebugLog, kDebugLogUsers},
        {kNewDebugLog, kLogUsers},
        {kFullDebugLog + ".gz", {"rotate"}},
        {kCommandLog, kLogUsers, "", kFullLog},
        {kSettings, {"log", "ReadTrace"}, "kTraceSettingFile"},
        {kCatalogue, {"log"}, "kTraceMessageFile"},
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
    static const std::string unused = "only a name for the caller, never opened";
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
