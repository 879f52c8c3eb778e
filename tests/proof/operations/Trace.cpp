// The logs: settings, opening, records with and without rotation, reading back, the system log.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <list>
#include <sstream>

#include "CTraceBase.h"
#include "CTraceRead.h"
#include "CTraceUtility.h"
#include "CTraceUtilityCom.h"
#include "CTraceWrite.h"
#include "proof/operations/Operation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using test::LogPath;
using test::WriteFile;

constexpr char kUm[] = "um";

// level: "1F" all but compression, "5F" with it.
void LaySettings(const char* level)
{
    test::MakeLogDirectory();
    WriteFile("/opt/velmora/qor/um/TraceSetting.ini",
              std::string("[APP_SETTING]\nTraceLevel=") + level + "\nLang=EN\n");
    WriteFile("/opt/velmora/qor/um/TraceSettingMsg.ini",
              "[M1]\nFormatEng=Update %d\nType=info\nRead=0x00000001\nEvent=0\n"
              "[M2]\nFormatEng=Failed %d\nType=fail\nRead=0x00000002\nEvent=1\n");
}

void LayPlain()
{
    LaySettings("1F");
}

std::string DebugTexts()
{
    return DebugRecords(kUm);
}

// Without their time stamps.
std::string OperationTexts()
{
    std::string texts;
    for (const std::string& line : test::Lines(test::ReadNewestLog(kUm, test::kOperationLog)))
        texts += (texts.empty() ? "" : "; ") + line.substr(std::min<std::size_t>(20, line.size()));
    return texts;
}

std::string LogNames()
{
    return Names(test::kLogDirectory);
}

// A system log that keeps what comes.
class SystemLog
{
public:
    SystemLog() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
        test::RemoveTree("/dev/log");
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/dev/log");
        if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            test::ThrowErrno("bind /dev/log");
    }

    // Forgets all messages so far: one that is not read makes the next writers wait.
    void Empty() const
    {
        char buffer[16];
        while (::recv(socket_.get(), buffer, sizeof buffer, 0) >= 0) {
        }
    }

    // Of all messages so far, from the ident on, without the process id.
    std::string Take() const
    {
        constexpr std::size_t kStamp = 15;
        std::string texts;
        char buffer[4096];
        for (;;) {
            const ssize_t length = ::recv(socket_.get(), buffer, sizeof buffer, 0);
            if (length < 0)
                return texts;
            const std::string text(buffer, static_cast<std::size_t>(length));
            const auto process = text.find('[');
            const auto ident = text.find('>') + 1 + kStamp + 1;
            texts += text.substr(ident, process - ident) + text.substr(text.find("]") + 1);
        }
    }

private:
    test::OwnedFd socket_;
};

std::string Taken(const SystemLog& log)
{
    std::string texts = log.Take();
    std::replace(texts.begin(), texts.end(), '\n', '~');
    return texts;
}

// ---- the facade

using Mode = CTraceUtility::WRITE_MODE;

// A component whose logs are open.
struct Opened {
    explicit Opened(Mode mode = CTraceUtility::WRITE_MODE_BOTH)
    {
        CTraceUtility::Initialize(kUm, mode);
    }
};

// Logging keeps errno. A caller does not learn what could not be written.
template <typename Write>
std::string ErrnoAfter(Write write)
{
    errno = EDOM;
    write();
    return errno == EDOM ? "errno kept" : "errno changed";
}

void WriteLine7()
{
    CTraceUtility::WriteDebug(kUm, CTraceUtility::TRACE_DBG_INFO, "line %d", 7);
}

std::string IsRegistered()
{
    return getTraceObject(kUm) != nullptr ? "registered" : "absent";
}

constexpr char kWriteDebug[] =
    "CTraceUtility::WriteDebug(char const*, CTraceUtility::TRACE_DBG_LEVEL, char const*, ...)";
constexpr char kWriteTrace[] = "CTraceUtility::WriteTrace(char const*, char const*, ...)";

void AddFacade(const Table& t)
{
    const std::string u = "CTraceUtility::";
    const std::string debug = kWriteDebug;
    const std::string trace = kWriteTrace;
    const std::vector<Row> debugRows = {
        {"write", "/log/", "ENOSPC EIO", {"errno kept | "}},
        {"lasting", {"errno kept | ", "errno kept | a torn record"}},
        {"allocation", {"errno kept | ", "errno kept | line 7"}}};
    const char* const line = "errno kept | 0x00000001 info    Update 7";
    const std::vector<Row> traceRows = {
        {"write", "/log/", "ENOSPC EIO", {"errno kept | "}},
        {"lasting", {"errno kept | "}},
        // The record says that its settings could not be read.
        {"open read stat",
         "TraceSettingMsg.ini",
         {"errno kept | 0xFFFFFFFF         [Error] Message ID Not Found!! id=(M1)", line}},
        {"allocation", {"errno kept | ", line}}};
    const auto writeDebug = [] { return ErrnoAfter(WriteLine7); };
    const auto writeTrace = [] {
        return ErrnoAfter([] { CTraceUtility::WriteTrace(kUm, "M1", 7); });
    };
    const auto initialise = [] {
        CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_BOTH);
        return IsRegistered();
    };
    const auto terminated = [] {
        CTraceUtility::Terminate(kUm);
        return std::make_shared<int>(0);
    };
    const Table um = t.With(Operation().Lay(LayPlain).Component(kUm));
    um.Of(
          u + "Initialize(char const*, CTraceUtility::WRITE_MODE)",
          "done | registered QOR_um_dbg_N.log QOR_um_trc_N.log", terminated,
          [](int&) { CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_BOTH); },
          [](int&) { return IsRegistered() + " " + LogNames(); })
        .Faults({{"open", "/log/QOR_um_trc", {"done | registered QOR_um_dbg_N.log"}},
                 {"open", "/log/QOR_um_dbg", {"done | registered QOR_um_trc_N.log"}},
                 {"lasting", {"done | registered "}},
                 {"allocation",
                  {"done | absent ", "done | absent QOR_um_trc_N.log",
                   "done | absent QOR_um_dbg_N.log QOR_um_trc_N.log",
                   "done | registered QOR_um_dbg_N.log QOR_um_trc_N.log"}}});
    um.On<Opened>(u + "Initialize(char const*, CTraceUtility::WRITE_MODE): again", "registered",
                  [=](Opened&) { return initialise(); });
    um.On<Opened>(
          u + "Terminate(char const*)", "done | absent",
          [](Opened&) { CTraceUtility::Terminate(kUm); }, [](Opened&) { return IsRegistered(); })
        .UsedUp();
    t.Plain(u + "Terminate(char const*): a provider", "done", [] {
         CTraceUtility::Initialize("a provider with a long, long name",
                                   CTraceUtility::WRITE_MODE_DEBUG);
         CTraceUtility::Terminate("a provider with a long, long name");
     }).Faults({{"allocation", {"bad_alloc", "done"}}});
    um.On<Opened>(debug, "errno kept | line 7", [=](Opened&) { return writeDebug(); })
        .State(DebugTexts)
        .Faults(debugRows);
    um.Plain(debug + ": nobody initialised", "errno kept | line 7", writeDebug)
        .State(DebugTexts)
        .Faults(debugRows);
    um.On<Opened>(debug + ": a level that is none", "errno kept | ", [](Opened&) {
          return ErrnoAfter([] {
              CTraceUtility::WriteDebug(kUm, static_cast<CTraceUtility::TRACE_DBG_LEVEL>(128), "%s",
                                        kLong);
          });
      }).State(DebugTexts);
    um.On<Opened>(trace, line, [=](Opened&) { return writeTrace(); })
        .State(OperationTexts)
        .Faults(traceRows);
    um.Plain(trace + ": nobody initialised", line, writeTrace)
        .State(OperationTexts)
        .Faults(traceRows);
    um.On<Opened>(trace + ": no such message",
                  "errno kept | 0xFFFFFFFF         [Error] Message ID Not Found!! id=(X)",
                  [](Opened&) { return ErrnoAfter([] { CTraceUtility::WriteTrace(kUm, "X"); }); })
        .State(OperationTexts)
        .Faults({{"write", "/log/", "ENOSPC EIO", {"errno kept | "}},
                 {"lasting", {"errno kept | "}},
                 {"allocation", {"errno kept | ", "errno kept | *(X)"}}});
    // The system log is a second place: what one of the two misses, the other has.
    um.Of(
          trace + ": an event",
          "done | 0x00000002 fail    Failed 7; update manager: fail    Failed 7",
          [] {
              CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_BOTH);
              return std::make_shared<SystemLog>();
          },
          [](SystemLog& log) {
              log.Empty();
              CTraceUtility::WriteTrace(kUm, "M2", 7);
          },
          [](SystemLog& log) { return OperationTexts() + "; " + Taken(log); })
        .Faults({{"write", "/log/", "ENOSPC EIO", {"done | ; update manager: fail    Failed 7"}},
                 {"socket connect send",
                  {"done | 0x00000002 fail    Failed 7; ",
                   "done | 0x00000002 fail    Failed 7; update manager: fail    Failed 7"}},
                 {"allocation",
                  {"done | ; ", "done | 0x00000002 fail    Failed 7; ",
                   "done | 0x00000002 fail    Failed 7; update manager: fail    Failed 7"}},
                 {"lasting",
                  {"done | ; ", "done | 0x00000002 fail    Failed 7; ",
                   "done | ; update manager: fail    Failed 7"}}});
    um.On<Opened>("getTraceObject(char const*)", "one null", [](Opened&, Result& result) {
        Append(result, getTraceObject(kUm));
        result += " ";
        Append(result, getTraceObject("absent"));
    });
}

// ---- rotation

constexpr std::uint64_t kFullSize = 10485759;  // bytes; one more would be 10 MiB

void LayFull(const std::string& name)
{
    WriteFile(LogPath(name), "");
    if (::truncate(LogPath(name).c_str(), kFullSize) != 0)
        test::ThrowErrno("truncate");
}

void LayOlder(const std::vector<std::string>& stamps, const char* extension)
{
    for (const std::string& stamp : stamps)
        WriteFile(LogPath("QOR_um_dbg_" + stamp + extension), "");
}

// All names, short ("02.gz" for "QOR_um_dbg_02.log.gz"), and what the newest file holds.
std::string Rotated()
{
    constexpr char kPrefix[] = "QOR_um_dbg_";
    constexpr char kExtension[] = ".log";
    std::istringstream in(LogNames());
    std::string state;
    for (std::string name; in >> name;) {
        const auto extension = name.find(kExtension);
        if (name.rfind(kPrefix, 0) == 0 && extension != std::string::npos)
            name = name.erase(extension, std::strlen(kExtension)).substr(std::strlen(kPrefix));
        state += (state.empty() ? "" : " ") + name;
    }
    state += ":";
    for (const std::string& line : test::Lines(test::ReadNewestLog(kUm, test::kDebugLog))) {
        const auto dashes = line.find("-- ");
        state += dashes == std::string::npos ? " a torn record" : " " + line.substr(dashes + 3);
    }
    return state;
}

struct OpenedDebug : Opened {
    OpenedDebug() : Opened(CTraceUtility::WRITE_MODE_DEBUG) {}
    OpenedDebug(const OpenedDebug&) = delete;
    OpenedDebug& operator=(const OpenedDebug&) = delete;
    ~OpenedDebug() { CTraceUtility::Terminate(kUm); }
};

Operation& Rotation(const Table& t, const std::string& what, const std::string& outcome)
{
    return t
        .On<OpenedDebug>(kWriteDebug + (": " + what), outcome,
                         [](OpenedDebug&) { return ErrnoAfter(WriteLine7); })
        .State(Rotated)
        .Component(kUm);
}

void AddRotation(const Table& t)
{
    const std::string w = "errno kept | ";
    const std::string old = w + "01 02 03 04 05";
    const std::string gone = w + "02 03 04 05";
    const std::string oldGz = w + "01.gz 02.gz 03.gz 04.gz 05";
    const std::string goneGz = w + "02.gz 03.gz 04.gz 05";
    // What could not be listed or removed goes with the next rotation.
    Rotation(t, "rotation", gone + " N: line 7")
        .Lay([] {
            LayPlain();
            LayFull("QOR_um_dbg_01.log");
            LayOlder({"02", "03", "04", "05"}, ".log");
        })
        .Faults({{"write", "/log/", "ENOSPC EIO", {gone + " N:"}},
                 {"open", "/log/QOR", {gone + ":"}},
                 // The second descriptor can be done without; the stream's own cannot.
                 {"control", "/log/QOR", {gone + " N:", gone + " N: line 7"}},
                 {"seek", {gone + " N:", gone + " N: line 7"}},
                 {"open stat list unlink", {old + " N: line 7", gone + " N: line 7"}},
                 {"lasting", {old + ":", gone + ":", gone + " N:", gone + " N: a torn record"}},
                 {"allocation",
                  {old + ":", old + " N: line 7", gone + ":", gone + " N:", gone + " N: line 7"}}});
    Rotation(t, "rotation and compression", goneGz + ".gz N: line 7")
        .Lay([] {
            LaySettings("5F");
            LayFull("QOR_um_dbg_05.log");
            LayOlder({"01", "02", "03", "04"}, ".log.gz");
        })
        .Command()
        .Faults({{"write", "/log/", "ENOSPC EIO", {goneGz + ".gz N:"}},
                 // Not compressed, the file stays and counts toward the five.
                 {"fork map wait access", {goneGz + " N: line 7", goneGz + ".gz N: line 7"}},
                 {"stat", "/log/QOR", {goneGz + " N: line 7", goneGz + ".gz N: line 7"}},
                 {"open", "/log/QOR", {goneGz + ".gz:"}},
                 {"control", "/log/QOR", {goneGz + ".gz N:", goneGz + ".gz N: line 7"}},
                 {"seek", {goneGz + ".gz N:", goneGz + ".gz N: line 7"}},
                 {"open stat list unlink", {oldGz + ".gz N: line 7", goneGz + ".gz N: line 7"}},
                 {"lasting", {oldGz + ".gz:", goneGz + ".gz:", oldGz + " N: line 7"}},
                 // gzip meets them too: it leaves the file as it is.
                 {"filesize disk files",
                  {goneGz + " N:", goneGz + " N: line 7", goneGz + " N: a torn record"}},
                 {"descriptors", {goneGz + " N: line 7"}},
                 {"allocation",
                  {oldGz + ":", oldGz + ".gz:", oldGz + ".gz N: line 7",
                   goneGz + ".gz:", goneGz + ".gz N:", goneGz + ".gz N: line 7"}}});
}

// ---- settings, and what a log's writer and reader have in common

struct Base {
    CTraceBase base{kUm};
    std::list<std::string> files;
};

void AddBase(const Table& t)
{
    const Table c = t.In("CTraceUtilityCom::");
    const std::string get = "GetSettingInfo(char const*)";
    const Table b = t.In("CTraceBase::");
    const Table um = b.With(Operation().Lay(LayPlain).Component(kUm));
    c.Plain("GetComponentType(char const*)", "6",
            [] { return CTraceUtilityCom::GetComponentType("som"); });
    c.Plain("GetBasePath(char const*)", "/opt/velmora/qor/um",
            [] { return CTraceUtilityCom::GetBasePath("um"); });
    c.Plain("GetIniFileName(char const*, string&)", "/opt/velmora/qor/um/TraceSetting.ini", [] {
        std::string out;
        CTraceUtilityCom::GetIniFileName("um", out);
        return out;
    });
    c.Plain("GetMsgFileName(char const*, string&)", "/opt/velmora/qor/um/TraceSettingMsg.ini", [] {
        std::string out;
        CTraceUtilityCom::GetMsgFileName("um", out);
        return out;
    });
    // A file that cannot be read counts as missing, for the life of the process.
    c.With(Operation().Lay(LayPlain).Component(kUm))
        .Plain(get, "1f EN 2",
               [](Result& result) {
                   const Setting_Info* const got = CTraceUtilityCom::GetSettingInfo(kUm);
                   char level[16];
                   (void)std::snprintf(level, sizeof level, "%x ", got->traceLevel);
                   result += level;
                   result += got->language;
                   result += " ";
                   Append(result, got->messages.size());
               })
        .Again("*")
        .Faults({{"open stat", "TraceSetting.ini", {"ffffffff EN 2"}},
                 {"open stat", "TraceSettingMsg.ini", {"1f EN 0"}},
                 {"read", "TraceSetting.ini", "EIO end", {"ffffffff EN 2", "1f EN 2"}},
                 {"read", "TraceSettingMsg.ini", "EIO end", {"1f EN 0", "1f EN 2"}},
                 {"lasting", {"ffffffff EN 0"}}});
    // The cache does not grow with the names: all providers share one entry.
    c.Of(
        get + ": many providers", "one", [] { return std::make_shared<int>(0); },
        [](int& number) {
            const std::string name = "x" + std::to_string(++number);
            return CTraceUtilityCom::GetSettingInfo(name.c_str());
        });
    b.Of(
         "CTraceBase(char const*)", "done | a directory ",
         [] {
             test::RemoveTree(test::kLogDirectory);
             return std::make_shared<SystemLog>();
         },
         [](SystemLog&) { const CTraceBase base(kUm); },
         [](SystemLog& log) {
             return (test::Exists(test::kLogDirectory) ? "a directory " : "absent ") + Taken(log);
         })
        .Lay([] { test::MakeDirs("/opt/velmora/qor"); })
        .Files({test::kLogDirectory})
        .Component(kUm)
        .Faults({{"mkdir", "", "EEXIST", {"done | absent "}},
                 {"mkdir", {"done | absent update manager: Failed to create log directory. (*)~"}},
                 {"allocation", {"bad_alloc | absent ", "done | a directory "}}});
    um.Plain("~CTraceBase()", "done", [] {
          delete new CTraceBase(kUm);
      }).Faults({{"allocation", {"bad_alloc", "done"}}});
    // Where the time zone cannot be read, times are in UTC.
    um.On<Base>("GetLocalTime()", "true", [](Base& one) {
          return one.base.GetLocalTime().tm_year >= 124;
      }).Faults({{"allocation", {"true"}}});
    um.On<Base>("GetLocalTime(string&)", "19", [](Base& one) {
          std::string text;
          one.base.GetLocalTime(text);
          return text.size();
      }).Faults({{"allocation", {"bad_alloc", "19"}}});
    um.On<Base>("GetLocalDate(string&)", "12", [](Base& one) {
          std::string text;
          one.base.GetLocalDate(text);
          return text.size();
      }).Faults({{"allocation", {"12"}}});
    um.On<Base>("GetDebugLevelString(CTraceUtility::TRACE_DBG_LEVEL)", "--INFO--", [](Base& one) {
        return one.base.GetDebugLevelString(CTraceUtility::TRACE_DBG_INFO);
    });
    struct Logged {
        CTraceBase base{kUm};
        SystemLog log;
    };
    b.On<Logged>(
         "SystemLog(int, char const*, ...)", "done | update manager: a text",
         [](Logged& one) {
             one.log.Empty();
             one.base.SystemLog(6, "%s", "a text");
         },
         [](Logged& one) { return Taken(one.log); })
        .Lay(LayPlain)
        .Component(kUm)
        .Faults({{"socket connect send", {"done | ", "done | update manager: a text"}},
                 {"lasting", {"done | "}},
                 {"allocation", {"done | ", "done | update manager: a text"}}});
    um.On<Base>("CreateFileName(SLogFile*)", "27", [](Base& one) {
          SLogFile file;
          file.suffix = "_dbg";
          one.base.CreateFileName(&file);
          return file.name.size();
      }).Faults({{"allocation", {"bad_alloc", "27"}}});
    b.On<Base>("GetFileList(char const*, char const*, list<string>&)",
               "true QOR_um_dbg_1.log;QOR_um_dbg_2.log;",
               [](Base& one, Result& result) {
                   one.files.clear();
                   Append(result, one.base.GetFileList(kUm, "_dbg", one.files));
                   result += " ";
                   Append(result, one.files);
               })
        .Lay([] {
            for (const char* const name :
                 {"QOR_um_dbg_2.log", "QOR_um_dbg_1.log", "QOR_um_trc_1.log"})
                WriteFile(LogPath(name), "");
        })
        .Faults({{"open stat", {"false "}},
                 {"list", {"true ", "true QOR_um_dbg_1.log;QOR_um_dbg_2.log;"}},
                 {"allocation", {"bad_alloc", "false "}}});
}

// ---- reading

constexpr char kRecords[] =
    "2026/11/15 08:29:18 0x00000001 info    one\n2026/11/15 08:29:19 0x00000002 info    two\n";

struct Steps {
    CTraceRead reader{kUm};
    std::list<std::string> lines = {"2026/11/15 08:29:18 0x00000001 info    one",
                                    "2026/11/15 08:29:19 0x00000002 info    two"};
    std::list<std::string> given;
};

struct Selected : Steps {
    Selected() { reader.SelectReadType(3, lines); }
};

std::string SelectedOf(Steps& steps)
{
    std::list<std::string> selected;
    steps.reader.DeleteMaxRecord(99, selected);
    return std::to_string(selected.size()) + " selected";
}

void AddReading(const Table& t)
{
    const std::string both = "2026/11/15 08:29:18 info    one;2026/11/15 08:29:19 info    two;";
    const Table log = t.In("CTraceRead::")
                          .With(Operation()
                                    .Lay([] {
                                        LayPlain();
                                        WriteFile(LogPath(kLog), kRecords);
                                    })
                                    .Component(kUm));
    const auto rows = [](const std::string& outcome) {
        return std::vector<Row>{{"open read stat list", "/log", {"", outcome}},
                                {"lasting", {""}},
                                {"allocation", {"bad_alloc", "", outcome}}};
    };
    const std::vector<Row> copes = {{"allocation", {"bad_alloc", "done"}}};
    const auto lines = [](const char* outcome) {
        return std::vector<Row>{{"open stat", "/log/", {"0"}},
                                {"read", "/log/", "EIO end", {"0", outcome}}};
    };
    log.In("CTraceUtility::")
        .Plain(
            "ReadTrace(char const*, CTraceUtility::TRACE_READ_TYPE, "
            "unsigned "
            "int, list<string>&, string*)",
            both,
            [](Result& result) {
                std::list<std::string> records;
                std::string from;
                CTraceUtility::ReadTrace(kUm, CTraceUtility::TRACE_READ_ALL, 10, records, &from);
                Append(result, records);
            })
        .Faults(rows(both));
    log.Plain("CTraceRead(char const*)", "done", [] { const CTraceRead one(kUm); }).Faults(copes);
    log.Plain("~CTraceRead()", "done", [] { delete new CTraceRead(kUm); }).Faults(copes);
    log.Plain("ReadOperationLog(unsigned int, unsigned int, list<string>&, string*)",
              "2026/11/15 08:29:19 info    two;",
              [](Result& result) {
                  std::list<std::string> records;
                  std::string from = "2026/11/15 08:29:19";
                  CTraceRead(kUm).ReadOperationLog(3, 5, records, &from);
                  Append(result, records);
              })
        .Faults(rows("2026/11/15 08:29:19 info    two;"));
    log.On<Steps>("IsDateFormat(string)", "false",
                  [](Steps& one) { return one.reader.IsDateFormat(kLong); });
    log.On<Steps>("ReadLog(string, list<string>&)", "2",
                  [](Steps& one) {
                      one.given.clear();
                      one.reader.ReadLog(kLog, one.given);
                      return one.given.size();
                  })
        .Faults(lines("2"));
    log.On<Steps>("ReadLog(string, list<string>&, char const*)", "1",
                  [](Steps& one) {
                      one.given.clear();
                      one.reader.ReadLog(kLog, one.given, "2026/11/15 08:29:19");
                      return one.given.size();
                  })
        .Faults(lines("1"));
    // What is selected before memory ends stays in the reader.
    log.On<Steps>(
           "SelectReadType(unsigned int, list<string>&)", "done | 2 selected",
           [](Steps& one) { one.reader.SelectReadType(3, one.lines); }, SelectedOf)
        .UsedUp()
        .Faults({{"allocation", {"bad_alloc | 0 selected", "bad_alloc | 1 selected"}}});
    log.On<Selected>(
        "DeleteMaxRecord(int, list<string>&)", "2 | 2 selected",
        [](Selected& one) {
            one.given.clear();
            one.reader.DeleteMaxRecord(5, one.given);
            return one.given.size();
        },
        SelectedOf);
    log.On<Steps>("DeleteNewLine(char*)", "a", [](Steps& one) {
        char text[] = "a\n";
        one.reader.DeleteNewLine(text);
        return std::string(text);
    });
}

// ---- the writer itself, whose caller learns of missing memory where the facade's does not

template <Mode mode>
struct WriterOf {
    CTraceWrite writer{kUm, mode};
    SLogFile file;

    WriterOf()
    {
        file.kind = 2;
        file.suffix = "_dbg";
    }
};

using Writer = WriterOf<CTraceUtility::WRITE_MODE_BOTH>;
using DebugWriter = WriterOf<CTraceUtility::WRITE_MODE_DEBUG>;
// Has no debug log yet: two that are opened in different seconds have different names.
using OperationWriter = WriterOf<CTraceUtility::WRITE_MODE_TRACE>;

void AddTraceWriter(const Table& t)
{
    const std::string line = "done | 0x00000001 body";
    const std::string names = "QOR_um_dbg_N.log QOR_um_trc_N.log";
    const Table um = t.In("CTraceWrite::").With(Operation().Lay(LayPlain).Component(kUm));
    const auto make = [] { const CTraceWrite one(kUm, CTraceUtility::WRITE_MODE_BOTH); };
    const std::vector<Row> opening = {{"open", "/log/QOR_um_trc", {"done | QOR_um_dbg_N.log"}},
                                      {"open", "/log/QOR_um_dbg", {"done | QOR_um_trc_N.log"}},
                                      {"lasting", {"done | "}},
                                      {"allocation",
                                       {"bad_alloc | ", "bad_alloc | QOR_um_trc_N.log",
                                        "bad_alloc | " + names, "done | " + names}}};
    um.Plain("CTraceWrite(char const*, CTraceUtility::WRITE_MODE)", "done | " + names, make)
        .State(LogNames)
        .Faults(opening);
    um.Plain("~CTraceWrite()", "done | " + names,
             [] { delete new CTraceWrite(kUm, CTraceUtility::WRITE_MODE_BOTH); })
        .State(LogNames)
        .Faults(opening);
    um.On<Writer>("Open(char const*)", "truetrue", [](Writer& one, Result& result) {
          Append(result, one.writer.Open("_trc") == 0);
          Append(result, one.writer.Open("_dbg") == 0);
      }).Faults({{"allocation", {"bad_alloc", "truetrue"}}});
    um.On<Writer>("WriteOperationLog(char const*, char const*)", line,
                  [](Writer& one) { one.writer.WriteOperationLog("0x00000001", "body"); })
        .State(OperationTexts)
        .Faults({{"write", "/log/", "ENOSPC EIO", {"done | "}},
                 {"lasting", {"done | "}},
                 {"allocation", {"bad_alloc | ", line}}});
    um.On<Writer>(
          "WriteDebugLog(CTraceUtility::TRACE_DBG_LEVEL, char const*)", "done | body",
          [](Writer& one) { one.writer.WriteDebugLog(CTraceUtility::TRACE_DBG_FAIL, "body"); })
        .State(DebugTexts)
        .Faults({{"write", "/log/", "ENOSPC EIO", {"done | "}},
                 {"lasting", {"done | ", "done | a torn record"}},
                 {"allocation", {"bad_alloc | ", "done | body"}}});
    um.On<Writer>("IsDebugWanted(CTraceUtility::TRACE_DBG_LEVEL) const", "true", [](Writer& one) {
        return one.writer.IsDebugWanted(CTraceUtility::TRACE_DBG_FAIL);
    });
    um.On<Writer>("WriteEventLog(unsigned short, char const*)", "done", [](Writer& one) {
          one.writer.WriteEventLog(4, kLong);
      }).Faults({{"allocation", {"bad_alloc", "done"}}});
    um.On<Writer>("GetMessageInfo(char const*, Msg_Info*)", "truetrue",
                  [](Writer& one, Result& result) {
                      Msg_Info info{};
                      Append(result, one.writer.GetMessageInfo("M1", &info));
                      Append(result, one.writer.GetMessageInfo("ABSENT", &info));
                  });
    um.On<Writer>("isSizeOver(SLogFile*, unsigned long)", "true",
                  [](Writer& one) { return one.writer.isSizeOver(&one.file, 1); });
    um.On<OperationWriter>("rotate(SLogFile*)", "done | " + names,
                           [](OperationWriter& one) { one.writer.rotate(&one.file); })
        .State(LogNames)
        .Faults({{"open", "/log/QOR", {"done | QOR_um_trc_N.log"}},
                 {"lasting", {"done | QOR_um_trc_N.log", "done | " + names}},
                 {"allocation",
                  {"bad_alloc | QOR_um_trc_N.log", "bad_alloc | " + names, "done | " + names}}});
    um.On<DebugWriter>("rotate(SLogFile*): with compression", "done",
                       [](DebugWriter& one) {
                           one.writer.rotate(&one.file);  // opens a new file
                           one.writer.rotate(&one.file);  // compresses it
                       })
        .Lay([] { LaySettings("5F"); })
        .Command()
        .Faults({{"allocation", {"bad_alloc", "done"}}});
    um.On<DebugWriter>("compress(string)", "0 | a.gz",
                       [](DebugWriter& one) { return one.writer.compress("/opt/w/a"); })
        .Lay([] {
            LayPlain();
            test::RemoveTree("/opt/w");
            WriteFile("/opt/w/a", "text");
        })
        .State([] { return Names("/opt/w"); })
        .Command()
        .UsedUp()
        .Files({"/opt/w/a.gz"})
        .Faults({{"fork map", {"-1 | a", "32512 | a", "0 | a.gz"}},
                 {"wait", "", "ECHILD", {"-1 | a.gz"}},
                 {"lasting", {"-1 | a"}},
                 {"filesize disk files descriptors", {"256 | a"}},  // gzip's own
                 {"allocation", {"bad_alloc | a"}}});
    um.On<DebugWriter>("compress(string): no file", "256",
                       [](DebugWriter& one) { return one.writer.compress("/opt/absent"); })
        .Command()
        .Faults({{"fork map", {"-1", "32512", "256"}},
                 {"wait", "", "ECHILD", {"-1"}},
                 {"lasting", {"-1"}}});
}

}  // namespace

void AddTraceOperations(const Table& t)
{
    AddFacade(t);
    AddRotation(t);
    AddBase(t);
    AddReading(t);
    AddTraceWriter(t);
}

}  // namespace qor::proof
