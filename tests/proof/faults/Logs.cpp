// The logs: settings, opening, records with and without rotation, reading back, the system log.
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <list>
#include <memory>
#include <sstream>

#include "CTraceBase.h"
#include "CTraceException.h"
#include "CTraceRead.h"
#include "CTraceUtility.h"
#include "CTraceUtilityCom.h"
#include "CTraceWrite.h"
#include "proof/faults/Operation.h"
#include "QorException.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using test::LogPath;
using test::WriteFile;

constexpr char kUm[] = "um";
constexpr char kSettings[] = "/opt/velmora/qor/um/TraceSetting.ini";
constexpr char kCatalogue[] = "/opt/velmora/qor/um/TraceSettingMsg.ini";

// level: "1F" all but compression, "5F" with it.
void LaySettings(const char* level)
{
    test::MakeLogDirectory();
    WriteFile(kSettings, std::string("[APP_SETTING]\nTraceLevel=") + level + "\nLang=EN\n");
    WriteFile(kCatalogue,
              "[M1]\nFormatEng=Update %d\nType=info\nRead=0x00000001\nEvent=0\n"
              "[M2]\nFormatEng=Failed %d\nType=fail\nRead=0x00000002\nEvent=1\n");
}

void LayPlain()
{
    LaySettings("1F");
}

// Logging keeps errno. What it could not write, nobody is told.
Prepared Logging(const std::function<void()>& write, bool initialised)
{
    if (initialised)
        CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_BOTH);
    const auto kept = std::make_shared<bool>(false);
    return {[=] {
                errno = EDOM;
                write();
                *kept = errno == EDOM;
            },
            [=] { return std::string(*kept ? "errno kept" : "errno changed"); }};
}

void WriteLine7()
{
    CTraceUtility::WriteDebug(kUm, CTraceUtility::TRACE_DBG_INFO, "line %d", 7);
}

std::string DebugTexts()
{
    std::string texts;
    for (const test::DebugLine& line : DebugRecords(kUm))
        texts += (texts.empty() ? "" : "; ") + line.text;
    return texts;
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

// A system log that keeps what comes. Few records: nobody reads meanwhile.
class SystemLog
{
public:
    SystemLog() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/dev/log");
        if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            test::ThrowErrno("bind /dev/log");
    }

    // Of all messages so far, from the ident on, without the process id.
    std::string Take()
    {
        std::string texts;
        char buffer[4096];
        for (;;) {
            const ssize_t length = ::recv(socket_.get(), buffer, sizeof buffer, 0);
            if (length < 0)
                return texts;
            const std::string text(buffer, static_cast<std::size_t>(length));
            const auto process = text.find('[');
            constexpr std::size_t kStamp = 15;
            const auto ident = text.find('>') + 1 + kStamp + 1;
            texts += text.substr(ident, process - ident) + text.substr(text.find("]") + 1);
        }
    }

    void Close() { socket_.Reset(); }

private:
    test::OwnedFd socket_;
};

Operations OpeningOperations()
{
    return {
        {"CTraceUtility.Initialize",
         "registered | QOR_um_dbg_N.log QOR_um_trc_N.log",
         {{"open", "/log/QOR_um_trc", "", {"registered | QOR_um_dbg_N.log"}},
          {"open", "/log/QOR_um_dbg", "", {"registered | QOR_um_trc_N.log"}},
          {"lasting", "", "", {"registered | "}},
          {"allocation",
           "",
           "",
           {"absent | ", "absent | QOR_um_trc_N.log", "absent | QOR_um_dbg_N.log QOR_um_trc_N.log",
            "registered | QOR_um_dbg_N.log QOR_um_trc_N.log"}}},
         LayPlain,
         [] {
             return Prepared{
                 [] { CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_BOTH); },
                 [] { return std::string(getTraceObject(kUm) ? "registered" : "absent"); }};
         },
         LogNames,
         "=",
         kUm},
        {"CTraceUtility.Terminate",
         "absent | QOR_um_dbg_N.log QOR_um_trc_N.log",
         {},
         LayPlain,
         [] {
             CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_BOTH);
             return Prepared{
                 [] { CTraceUtility::Terminate(kUm); },
                 [] { return std::string(getTraceObject(kUm) ? "registered" : "absent"); }};
         },
         LogNames,
         "=",
         kUm},
        // A file that cannot be read counts as missing, for the life of the process.
        {"CTraceUtilityCom.GetSettingInfo",
         "1f EN 2 messages | ",
         {{"open stat", "TraceSetting.ini", "", {"ffffffff EN 2 messages | "}},
          {"open stat", "TraceSettingMsg.ini", "", {"1f EN 0 messages | "}},
          {"read",
           "TraceSetting.ini",
           "EIO end",
           {"ffffffff EN 2 messages | ", "1f EN 2 messages | "}},
          {"read",
           "TraceSettingMsg.ini",
           "EIO end",
           {"1f EN 0 messages | ", "1f EN 2 messages | "}},
          {"lasting", "", "", {"ffffffff EN 0 messages | "}},
          {"allocation", "", "", {"bad_alloc | "}}},
         LayPlain,
         [] {
             const auto got = std::make_shared<const Setting_Info*>(nullptr);
             return Prepared{[=] { *got = CTraceUtilityCom::GetSettingInfo(kUm); },
                             [=] {
                                 char level[16];
                                 std::snprintf(level, sizeof level, "%x", (*got)->traceLevel);
                                 return std::string(level) + " " + (*got)->language + " " +
                                        std::to_string((*got)->messages.size()) + " messages";
                             }};
         },
         LogNames,
         nullptr,
         kUm},
        {"CTraceBase.CTraceBase",
         "nothing told | a directory",
         {{"mkdir", "", "EEXIST", {"nothing told | absent"}},
          {"mkdir", "", "", {"update manager: Failed to create log directory. (*)~ | absent"}},
          {"allocation", "", "", {"bad_alloc | absent", "nothing told | a directory"}}},
         [] { test::MakeDirs("/opt/velmora/qor"); },
         [] {
             const auto log = std::make_shared<SystemLog>();
             return Prepared{[] { const CTraceBase base(kUm); },
                             [=] {
                                 std::string told = log->Take();
                                 if (!told.empty() && told.back() == '\n')
                                     told.back() = '~';
                                 return told.empty() ? "nothing told" : told;
                             },
                             [=] { log->Close(); }};
         },
         [] { return std::string(test::Exists(test::kLogDirectory) ? "a directory" : "absent"); },
         "nothing told",
         kUm},
        {"CTraceBase.GetFileList",
         "true QOR_um_dbg_1.log QOR_um_dbg_2.log | ",
         {{"open stat", "", "", {"false | "}},
          {"list", "", "", {"true | ", "true QOR_um_dbg_1.log QOR_um_dbg_2.log | "}},
          {"allocation", "", "", {"bad_alloc | ", "false | "}}},
         [] {
             WriteFile(LogPath("QOR_um_dbg_2.log"), "");
             WriteFile(LogPath("QOR_um_dbg_1.log"), "");
             WriteFile(LogPath("QOR_um_trc_1.log"), "");
         },
         [] {
             const auto base = std::make_shared<CTraceBase>(kUm);
             const auto files = std::make_shared<std::list<std::string>>();
             const auto listed = std::make_shared<bool>(false);
             return Prepared{[=] { *listed = base->GetFileList(kUm, "_dbg", *files); },
                             [=] {
                                 std::string text = *listed ? "true" : "false";
                                 for (const std::string& file : *files)
                                     text += " " + file;
                                 return text;
                             }};
         },
         [] { return std::string(); },
         "=",
         "som"},
    };
}

Operations RecordOperations()
{
    const std::vector<Row> debugRows = {
        {"write", "/log/", "ENOSPC EIO", {"errno kept | "}},
        {"lasting", "", "", {"errno kept | ", "errno kept | a torn record"}},
        {"allocation", "", "", {"errno kept | ", "errno kept | line 7"}},
    };
    const char* const operationLine = "errno kept | 0x00000001 info    Update 7";
    const std::vector<Row> operationRows = {
        {"write", "/log/", "ENOSPC EIO", {"errno kept | "}},
        {"lasting", "", "", {"errno kept | "}},
        // The record tells that its settings could not be read.
        {"open read stat",
         "TraceSettingMsg.ini",
         "",
         {"errno kept | 0xFFFFFFFF         [[]Error] Message ID Not Found!! id=(M1)",
          "errno kept | 0xFFFFFFFF         [Error] Message ID Not Found!! id=(M1)", operationLine}},
        {"allocation", "", "", {"errno kept | ", operationLine}},
    };
    const auto writeTrace = [] { CTraceUtility::WriteTrace(kUm, "M1", 7); };
    return {
        {"CTraceUtility.WriteDebug", "errno kept | line 7", debugRows, LayPlain,
         [] { return Logging(WriteLine7, true); }, DebugTexts, "=", kUm},
        {"CTraceUtility.WriteDebug.uninitialised", "errno kept | line 7", debugRows, LayPlain,
         [] { return Logging(WriteLine7, false); }, DebugTexts, "=", kUm},
        {"CTraceUtility.WriteTrace", operationLine, operationRows, LayPlain,
         [=] { return Logging(writeTrace, true); }, OperationTexts, "=", kUm},
        {"CTraceUtility.WriteTrace.uninitialised", operationLine, operationRows, LayPlain,
         [=] { return Logging(writeTrace, false); }, OperationTexts, "=", kUm},
        // The system log is a second place: what one of the two misses, the other has.
        {"CTraceUtility.WriteTrace.event",
         "update manager: fail    Failed 7 | 0x00000002 fail    Failed 7",
         {{"write", "/log/", "ENOSPC EIO", {"update manager: fail    Failed 7 | "}},
          {"socket connect send",
           "",
           "",
           {" | 0x00000002 fail    Failed 7",
            "update manager: fail    Failed 7 | 0x00000002 fail    Failed 7"}},
          {"allocation",
           "",
           "",
           {" | ", " | 0x00000002 fail    Failed 7",
            "update manager: fail    Failed 7 | 0x00000002 fail    Failed 7"}},
          {"lasting",
           "",
           "",
           {" | ", " | 0x00000002 fail    Failed 7", "update manager: fail    Failed 7 | "}}},
         LayPlain,
         [] {
             CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_BOTH);
             const auto log = std::make_shared<SystemLog>();
             return Prepared{[] { CTraceUtility::WriteTrace(kUm, "M2", 7); },
                             [=] { return log->Take(); }, [=] { log->Close(); }};
         },
         OperationTexts,
         "=",
         kUm},
    };
}

constexpr std::uint64_t kFullSize = 10485759;  // bytes; one more would be 10 MiB

void LayFull(const std::string& name)
{
    WriteFile(LogPath(name), "");
    if (::truncate(LogPath(name).c_str(), kFullSize) != 0)
        test::ThrowErrno("truncate");
}

// "02.gz" for "QOR_um_dbg_02.log.gz"; names of another kind stay whole.
std::string Short(std::string name)
{
    constexpr char kPrefix[] = "QOR_um_dbg_";
    constexpr char kExtension[] = ".log";
    const auto extension = name.find(kExtension);
    if (name.rfind(kPrefix, 0) != 0 || extension == std::string::npos)
        return name;
    name.erase(extension, std::strlen(kExtension));
    return name.erase(0, std::strlen(kPrefix));
}

// All names, short, and what the newest file holds.
std::string Rotated()
{
    std::istringstream in(LogNames());
    std::string state;
    for (std::string name; in >> name;)
        state += (state.empty() ? "" : " ") + Short(name);
    state += ": ";
    for (const std::string& line : test::Lines(test::ReadNewestLog(kUm, test::kDebugLog))) {
        const auto dashes = line.find("-- ");
        state += dashes == std::string::npos ? "a torn record" : line.substr(dashes + 3);
    }
    return state;
}

Operations RotationOperations()
{
    return {
        // What could not be listed or removed goes with the next rotation.
        {"CTraceUtility.WriteDebug.rotation",
         "errno kept | 02 03 04 05 N: line 7",
         {{"write", "/log/", "ENOSPC EIO", {"errno kept | 02 03 04 05 N: "}},
          {"open", "/log/QOR", "", {"errno kept | 02 03 04 05: "}},
          {"control", "/log/QOR", "", {"errno kept | 02 03 04 05 N: "}},
          {"seek", "", "", {"errno kept | 02 03 04 05 N: ", "errno kept | 02 03 04 05 N: line 7"}},
          {"open stat list unlink",
           "",
           "",
           {"errno kept | 01 02 03 04 05 N: line 7", "errno kept | 02 03 04 05 N: line 7"}},
          {"lasting",
           "",
           "",
           {"errno kept | 01 02 03 04 05: ", "errno kept | 02 03 04 05: ",
            "errno kept | 02 03 04 05 N: ", "errno kept | 02 03 04 05 N: a torn record"}},
          {"allocation",
           "",
           "",
           {"errno kept | 01 02 03 04 05: ", "errno kept | 01 02 03 04 05 N: line 7",
            "errno kept | 02 03 04 05: ", "errno kept | 02 03 04 05 N: ",
            "errno kept | 02 03 04 05 N: line 7"}}},
         [] {
             LayPlain();
             LayFull("QOR_um_dbg_01.log");
             for (const char* const name : {"QOR_um_dbg_02.log", "QOR_um_dbg_03.log",
                                            "QOR_um_dbg_04.log", "QOR_um_dbg_05.log"})
                 WriteFile(LogPath(name), "");
         },
         [] {
             CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_DEBUG);
             return Logging(WriteLine7, false);
         },
         Rotated,
         "=",
         kUm},
        {"CTraceUtility.WriteDebug.compression",
         "errno kept | 02.gz 03.gz 04.gz 05.gz N: line 7",
         {{"write", "/log/", "ENOSPC EIO", {"errno kept | 02.gz 03.gz 04.gz 05.gz N: "}},
          // Not compressed, the file stays and counts toward the five.
          {"fork map wait access",
           "",
           "",
           {"errno kept | 02.gz 03.gz 04.gz 05 N: line 7",
            "errno kept | 02.gz 03.gz 04.gz 05.gz N: line 7"}},
          {"open", "/log/QOR", "", {"errno kept | 02.gz 03.gz 04.gz 05.gz: "}},
          {"control", "/log/QOR", "", {"errno kept | 02.gz 03.gz 04.gz 05.gz N: "}},
          {"seek",
           "",
           "",
           {"errno kept | 02.gz 03.gz 04.gz 05.gz N: ",
            "errno kept | 02.gz 03.gz 04.gz 05.gz N: line 7"}},
          {"open stat list unlink",
           "",
           "",
           {"errno kept | 01.gz 02.gz 03.gz 04.gz 05.gz N: line 7",
            "errno kept | 02.gz 03.gz 04.gz 05.gz N: line 7"}},
          {"lasting",
           "",
           "",
           {"errno kept | 01.gz 02.gz 03.gz 04.gz 05.gz: ",
            "errno kept | 02.gz 03.gz 04.gz 05.gz: "}},
          // gzip meets them too: it leaves the file as it is.
          {"filesize disk files",
           "",
           "",
           {"errno kept | 02.gz 03.gz 04.gz 05 N: ", "errno kept | 02.gz 03.gz 04.gz 05 N: line 7",
            "errno kept | 02.gz 03.gz 04.gz 05 N: a torn record"}},
          {"descriptors", "", "", {"errno kept | 02.gz 03.gz 04.gz 05 N: line 7"}},
          {"allocation",
           "",
           "",
           {"errno kept | 01.gz 02.gz 03.gz 04.gz 05: ",
            "errno kept | 01.gz 02.gz 03.gz 04.gz 05.gz: ",
            "errno kept | 01.gz 02.gz 03.gz 04.gz 05.gz N: line 7",
            "errno kept | 02.gz 03.gz 04.gz 05.gz: ", "errno kept | 02.gz 03.gz 04.gz 05.gz N: ",
            "errno kept | 02.gz 03.gz 04.gz 05.gz N: line 7"}}},
         [] {
             LaySettings("5F");
             for (const char* const name : {"QOR_um_dbg_01.log.gz", "QOR_um_dbg_02.log.gz",
                                            "QOR_um_dbg_03.log.gz", "QOR_um_dbg_04.log.gz"})
                 WriteFile(LogPath(name), "");
             LayFull("QOR_um_dbg_05.log");
         },
         [] {
             CTraceUtility::Initialize(kUm, CTraceUtility::WRITE_MODE_DEBUG);
             return Logging(WriteLine7, false);
         },
         Rotated,
         "=",
         kUm},
    };
}

constexpr char kRecords[] =
    "2026/11/15 08:29:18 0x00000001 info    one\n2026/11/15 08:29:19 0x00000002 info    two\n";

struct Report : CTraceException {
    explicit Report(const CTraceException& caught) : CTraceException(caught) {}
    const char* what() const noexcept override { return CException::what(); }
};

Operation Exception(const char* name, const std::function<CTraceException()>& make)
{
    return {name,
            "a long message for the heap | ",
            {{"allocation", "", "", {"bad_alloc | ", "a long message for the heap | "}}},
            [] {},
            [=] {
                const auto made = std::make_shared<std::unique_ptr<Report>>();
                return Prepared{[=] { *made = std::make_unique<Report>(make()); },
                                [=] { return std::string((*made)->what()); }};
            },
            [] { return std::string(); }};
}

// A log is read line by line, from a date on in one of the two ways.
Operation Reading(const char* name, const char* outcome,
                  const std::function<void(CTraceRead&, std::list<std::string>&)>& read)
{
    return {name,
            outcome,
            {{"open", "/log/", "", {"0 | as before"}},
             {"read", "/log/", "EIO end", {"0 | as before", outcome}},
             {"allocation", "", "", {"bad_alloc | as before"}}},
            [] {
                LayPlain();
                WriteFile(LogPath("QOR_um_trc_1.log"), kRecords);
            },
            [=] {
                const auto reader = std::make_shared<CTraceRead>(kUm);
                const auto lines = std::make_shared<std::list<std::string>>();
                return Prepared{[=] {
                                    lines->clear();
                                    read(*reader, *lines);
                                },
                                [=] { return std::to_string(lines->size()); }};
            },
            [] {
                return Holds(LogPath("QOR_um_trc_1.log"), {{"as before", kRecords}});
            },
            "=",
            kUm};
}

Operations OtherOperations()
{
    const std::string both = "2026/11/15 08:29:18 info    one;2026/11/15 08:29:19 info    two;";
    static const std::string success = both + " | as before";
    return {
        {"CTraceUtility.ReadTrace",
         success.c_str(),
         {{"open read stat list", "/log", "", {" | as before", success.c_str()}},
          {"lasting", "", "", {" | as before"}},
          {"allocation", "", "", {"bad_alloc | as before", " | as before", success.c_str()}}},
         [] {
             LayPlain();
             WriteFile(LogPath("QOR_um_trc_1.log"), kRecords);
         },
         [] {
             const auto records = std::make_shared<std::list<std::string>>();
             const auto from = std::make_shared<std::string>();
             return Prepared{[=] {
                                 CTraceUtility::ReadTrace(kUm, CTraceUtility::TRACE_READ_ALL, 10,
                                                          *records, from.get());
                             },
                             [=] {
                                 std::string text;
                                 for (const std::string& record : *records)
                                     text += record + ";";
                                 return text;
                             }};
         },
         [] {
             return Holds(LogPath("QOR_um_trc_1.log"), {{"as before", kRecords}});
         },
         "=",
         kUm},
        Exception("CTraceException.CTraceException",
                  [] { return CTraceException("a long message for the heap"); }),
        Exception("CTraceException.CTraceException.place",
                  [] { return CTraceException("a long message for the heap", "f.cpp", "Run", 7); }),
        // What the standard error stream cannot take is lost.
        {"CTraceException.printStackTrace",
         "done | ",
         {{"allocation", "", "", {"bad_alloc | ", "done | "}}},
         [] {},
         [] {
             const auto made = std::make_shared<Report>(CTraceException("a long message"));
             return Prepared{[=] { made->printStackTrace(); }, [] { return std::string("done"); }};
         },
         [] { return std::string(); }},
        // It must not throw, as a std::exception's: without memory for the report the process ends.
        {"CTraceException.what",
         "a text | ",
         {{"allocation", "", "", {"a text | ", "ended by signal 6"}}},
         [] {},
         [] {
             const auto made = std::make_shared<Report>(CTraceException("a long message"));
             const auto told = std::make_shared<bool>(false);
             return Prepared{[=] { *told = made->CTraceException::what() != nullptr; },
                             [=] { return std::string(*told ? "a text" : "none"); }};
         },
         [] { return std::string(); }},
        {"QorException.QorException",
         "number 7 | ",
         {{"allocation", "", "", {"bad_alloc | "}}},
         [] {},
         [] {
             const auto made = std::make_shared<std::unique_ptr<QorException>>();
             return Prepared{[=] { *made = std::make_unique<QorException>("number %d", 7); },
                             [=] { return std::string((*made)->what()); }};
         },
         [] { return std::string(); }},
    };
}

// The steps of reading, called alone.
struct Steps {
    CTraceRead reader{kUm};
    std::list<std::string> lines;
    std::list<std::string> given;

    Steps()
    {
        for (const std::string& line : test::Lines(kRecords))
            lines.push_back(line);
    }
};

Operation Step(const char* name, const char* outcome, const std::vector<const char*>& withoutMemory,
               const std::function<void(Steps&)>& before, const std::function<void(Steps&)>& run)
{
    const auto current = std::make_shared<std::shared_ptr<Steps>>();
    return {name,
            outcome,
            {{"allocation", "", "", withoutMemory}},
            LayPlain,
            [=] {
                const auto steps = std::make_shared<Steps>();
                before(*steps);
                *current = steps;
                return Prepared{[=] { run(*steps); },
                                [=] { return std::to_string(steps->given.size()) + " given"; }};
            },
            [=] {
                std::list<std::string> selected;
                (*current)->reader.DeleteMaxRecord(99, selected);
                return std::to_string(selected.size()) + " selected";
            },
            nullptr,
            kUm};
}

// What a log's writer and reader have in common.
Operation OfBase(const char* name, const char* outcome, const std::vector<Row>& rows,
                 const std::function<std::string(CTraceBase&)>& ask)
{
    return {name,
            outcome,
            rows,
            LayPlain,
            [=] {
                const auto base = std::make_shared<CTraceBase>(kUm);
                const auto told = std::make_shared<std::string>();
                return Prepared{[=] { *told = ask(*base); }, [=] { return *told; }};
            },
            [] { return std::string(); },
            "=",
            kUm};
}

// The writer itself, whose caller is told of missing memory where the facade's is not.
Operations WriterOperations()
{
    const char* const line = "done | 0x00000001 body";
    return {
        {"CTraceWrite.CTraceWrite",
         "made | QOR_um_dbg_N.log QOR_um_trc_N.log",
         {{"open", "/log/QOR_um_trc", "", {"made | QOR_um_dbg_N.log"}},
          {"open", "/log/QOR_um_dbg", "", {"made | QOR_um_trc_N.log"}},
          {"lasting", "", "", {"made | "}},
          {"allocation",
           "",
           "",
           {"bad_alloc | ", "bad_alloc | QOR_um_trc_N.log",
            "bad_alloc | QOR_um_dbg_N.log QOR_um_trc_N.log",
            "made | QOR_um_dbg_N.log QOR_um_trc_N.log"}}},
         LayPlain,
         [] {
             const auto writer = std::make_shared<std::unique_ptr<CTraceWrite>>();
             return Prepared{[=] {
                                 *writer = std::make_unique<CTraceWrite>(
                                     kUm, CTraceUtility::WRITE_MODE_BOTH);
                             },
                             [] { return std::string("made"); }, [=] { writer->reset(); }};
         },
         LogNames,
         "=",
         kUm},
        {"CTraceWrite.WriteOperationLog",
         line,
         {{"write", "/log/", "ENOSPC EIO", {"done | "}},
          {"lasting", "", "", {"done | "}},
          {"allocation", "", "", {"bad_alloc | ", line}}},
         LayPlain,
         [] {
             const auto writer = std::make_shared<std::unique_ptr<CTraceWrite>>(
                 std::make_unique<CTraceWrite>(kUm, CTraceUtility::WRITE_MODE_TRACE));
             return Prepared{[=] { (*writer)->WriteOperationLog("0x00000001", "body"); },
                             [] { return std::string("done"); }, [=] { writer->reset(); }};
         },
         OperationTexts,
         "=",
         kUm},
        {"CTraceWrite.compress",
         "0 | a.gz",
         {{"fork map", "", "", {"-1 | a", "32512 | a", "0 | a.gz"}},
          {"wait", "", "ECHILD", {"-1 | a.gz"}},
          {"lasting", "", "", {"-1 | a"}},
          {"filesize disk files descriptors", "", "", {"256 | a"}},  // gzip's own failure
          {"allocation", "", "", {"bad_alloc | a"}}},
         [] {
             LayPlain();
             WriteFile("/opt/w/a", "text");
         },
         [] {
             const auto writer = std::make_shared<std::unique_ptr<CTraceWrite>>(
                 std::make_unique<CTraceWrite>(kUm, CTraceUtility::WRITE_MODE_DEBUG));
             const auto status = std::make_shared<int>(0);
             return Prepared{[=] { *status = (*writer)->compress("/opt/w/a"); },
                             [=] { return std::to_string(*status); }, [=] { writer->reset(); }};
         },
         [] { return Names("/opt/w"); },
         nullptr,
         kUm},
        Reading("CTraceRead.ReadLog", "2 | as before",
                [](CTraceRead& reader, std::list<std::string>& lines) {
                    reader.ReadLog("QOR_um_trc_1.log", lines);
                }),
        Reading("CTraceRead.ReadLog.date", "1 | as before",
                [](CTraceRead& reader, std::list<std::string>& lines) {
                    reader.ReadLog("QOR_um_trc_1.log", lines, "2026/11/15 08:29:19");
                }),
        // What is selected before memory ends stays in the reader.
        Step(
            "CTraceRead.SelectReadType", "0 given | 2 selected",
            {"bad_alloc | 0 selected", "bad_alloc | 1 selected"}, [](Steps&) {},
            [](Steps& steps) { steps.reader.SelectReadType(3, steps.lines); }),
        Step(
            "CTraceRead.DeleteMaxRecord", "2 given | 2 selected", {"bad_alloc | 2 selected"},
            [](Steps& steps) { steps.reader.SelectReadType(3, steps.lines); },
            [](Steps& steps) { steps.reader.DeleteMaxRecord(5, steps.given); }),
        // Where the time zone cannot be read, times are told in UTC.
        OfBase("CTraceBase.GetLocalTime", "a year | ", {},
               [](CTraceBase& base) {
                   return base.GetLocalTime().tm_year >= 124 ? "a year" : "none";
               }),
        OfBase("CTraceBase.GetLocalTime.text", "19 | ",
               {{"allocation", "", "", {"bad_alloc | ", "19 | "}}},
               [](CTraceBase& base) {
                   std::string text;
                   base.GetLocalTime(text);
                   return std::to_string(text.size());
               }),
        OfBase("CTraceBase.GetLocalDate", "12 | ", {},
               [](CTraceBase& base) {
                   std::string text;
                   base.GetLocalDate(text);
                   return std::to_string(text.size());
               }),
    };
}

}  // namespace

Operations LogOperations()
{
    Operations all;
    for (const Operations& some : {OpeningOperations(), RecordOperations(), RotationOperations(),
                                   OtherOperations(), WriterOperations()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace qor::proof
