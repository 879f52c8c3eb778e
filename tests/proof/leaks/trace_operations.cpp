// Tracing: CTraceBase.h, CTraceRead.h, CTraceUtility.h, CTraceUtilityCom.h, CTraceWrite.h. The
// debug levels are all on, so that logs rotate many times.
#include <list>
#include <memory>
#include <string>

#include "CTraceBase.h"
#include "CTraceRead.h"
#include "CTraceUtility.h"
#include "CTraceUtilityCom.h"
#include "CTraceWrite.h"
#include "leaks/Operations.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

const char kText[] = "a text that is too long for a string to keep it inside itself";

void SetCatalogue(const std::string& event)
{
    test::WriteFile(
        "/opt/velmora/qor/um/TraceSettingMsg.ini",
        "[PACKAGE]\nFormatEng=Update of %s\nType=info\nRead=0x00000001\nEvent=" + event + "\n");
}

void AddBase(Operations& table, const std::string& name, std::function<void(CTraceBase&)> use)
{
    Add(table, "CTraceBase::" + name, [use = std::move(use)] {
        test::WriteFile(test::LogPath("QOR_um_trc_261115082918.log"), "a\n");
        auto base = std::make_shared<CTraceBase>("um");
        return [use, base] { use(*base); };
    });
}

void AddTraceBase(Operations& table)
{
    AddBase(table, "CTraceBase(char const*)", [](CTraceBase&) { const CTraceBase other("um"); });
    AddBase(table, "~CTraceBase()", [](CTraceBase&) { delete new CTraceBase("um"); });
    AddBase(table, "GetLocalTime()", [](CTraceBase& base) { (void)base.GetLocalTime(); });
    AddBase(table, "GetLocalTime(string&)", [](CTraceBase& base) {
        std::string out;
        base.GetLocalTime(out);
    });
    AddBase(table, "GetLocalDate(string&)", [](CTraceBase& base) {
        std::string out;
        base.GetLocalDate(out);
    });
    AddBase(table, "GetDebugLevelString(CTraceUtility::TRACE_DBG_LEVEL)", [](CTraceBase& base) {
        (void)base.GetDebugLevelString(CTraceUtility::TRACE_DBG_INFO);
    });
    AddBase(table, "SystemLog(int, char const*, ...)",
            [](CTraceBase& base) { base.SystemLog(6, "%s", kText); });
    AddBase(table, "CreateFileName(SLogFile*)", [](CTraceBase& base) {
        SLogFile file;
        file.suffix = "_dbg";
        base.CreateFileName(&file);
    });
    AddBase(table, "GetFileList(char const*, char const*, list<string>&)", [](CTraceBase& base) {
        std::list<std::string> files;
        (void)base.GetFileList("um", "_trc", files);
    });
}

const char kLog[] = "QOR_um_trc_261115082918.log";

void AddRead(Operations& table, const std::string& name, std::function<void(CTraceRead&)> use)
{
    Add(table, "CTraceRead::" + name, [use = std::move(use)] {
        std::string log;
        for (int i = 0; i < 10; ++i)
            log += "2026/11/15 08:29:18 0x00000001 info    Update of a package\n";
        test::WriteFile(test::LogPath(kLog), log);
        return [use] {
            CTraceRead reader("um");
            use(reader);
        };
    });
}

void AddTraceRead(Operations& table)
{
    AddRead(table, "CTraceRead(char const*)", [](CTraceRead&) {});
    AddRead(table, "~CTraceRead()", [](CTraceRead&) { delete new CTraceRead("um"); });
    AddRead(table, "ReadOperationLog(unsigned int, unsigned int, list<string>&, string*)",
            [](CTraceRead& reader) {
                std::list<std::string> out;
                std::string from = "2026/11/15 08:00:00";
                reader.ReadOperationLog(1, 5, out, &from);
            });
    AddRead(table, "IsDateFormat(string)",
            [](CTraceRead& reader) { (void)reader.IsDateFormat(kText); });
    AddRead(table, "ReadLog(string, list<string>&, char const*)", [](CTraceRead& reader) {
        std::list<std::string> lines;
        reader.ReadLog(kLog, lines, "2026/11/15 08:00:00");
    });
    AddRead(table, "ReadLog(string, list<string>&)", [](CTraceRead& reader) {
        std::list<std::string> lines;
        reader.ReadLog(kLog, lines);
    });
    AddRead(table, "SelectReadType(unsigned int, list<string>&)", [](CTraceRead& reader) {
        std::list<std::string> lines{"2026/11/15 08:29:18 0x00000001 info    Update of a package"};
        reader.SelectReadType(1, lines);
    });
    AddRead(table, "DeleteMaxRecord(int, list<string>&)", [](CTraceRead& reader) {
        std::list<std::string> lines{"2026/11/15 08:29:18 0x00000001 info    Update of a package"};
        std::list<std::string> out;
        reader.SelectReadType(1, lines);
        reader.DeleteMaxRecord(3, out);
    });
    AddRead(table, "DeleteNewLine(char*)", [](CTraceRead& reader) {
        char text[] = "a\nb";
        reader.DeleteNewLine(text);
    });
}

// Of a component whose logs are open for the process.
void AddOpen(Operations& table, const std::string& name, Body body)
{
    Add(table, name, [body = std::move(body)] {
        SetCatalogue("0");
        CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
        return body;
    });
}

void WriteTwice(const char* component)
{
    CTraceUtility::WriteTrace(component, "PACKAGE", kText);
    CTraceUtility::WriteTrace(component, "ABSENT");
    CTraceUtility::WriteDebug(component, CTraceUtility::TRACE_DBG_INFO, "%s %d", kText, 1);
}

void AddFacade(Operations& table)
{
    const std::string u = "CTraceUtility::";
    Add(table, u + "Initialize(char const*, CTraceUtility::WRITE_MODE)", [] {
        return [] {
            CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
            CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);
            CTraceUtility::Terminate("um");
        };
    });
    Add(table, u + "Terminate(char const*)", [] {
        return [] {
            CTraceUtility::Initialize("a provider with a long, long name",
                                      CTraceUtility::WRITE_MODE_DEBUG);
            CTraceUtility::Terminate("a provider with a long, long name");
            CTraceUtility::Terminate("um");
        };
    });
    AddOpen(table, u + "WriteTrace(char const*, char const*, ...)", [] { WriteTwice("um"); });
    AddOpen(table, u + "WriteDebug(char const*, CTraceUtility::TRACE_DBG_LEVEL, char const*, ...)",
            [] {
                CTraceUtility::WriteDebug("um", CTraceUtility::TRACE_DBG_INFO, "%s", kText);
                CTraceUtility::WriteDebug("um", static_cast<CTraceUtility::TRACE_DBG_LEVEL>(128),
                                          "%s", kText);
            });
    AddOpen(table, u + "WriteTrace, WriteDebug: a component that nobody initialised",
            [] { WriteTwice("som"); });
    table.back().names.clear();
    Add(table, u + "WriteTrace: an event", [] {
        SetCatalogue("1");
        return [] { CTraceUtility::WriteTrace("um", "PACKAGE", kText); };
    });
    table.back().names.clear();
    Add(table,
        u + "ReadTrace(char const*, CTraceUtility::TRACE_READ_TYPE, unsigned int, list<string>&, "
            "string*)",
        [] {
            SetCatalogue("0");
            WriteTwice("um");
            return [] {
                std::list<std::string> records;
                std::string from;
                CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 10, records, &from);
            };
        });
    AddOpen(table, "getTraceObject(char const*)", [] {
        (void)getTraceObject("um");
        (void)getTraceObject("absent");
    });
}

void AddSettings(Operations& table)
{
    const std::string c = "CTraceUtilityCom::";
    AddPlain(table, c + "GetComponentType(char const*)",
             [] { (void)CTraceUtilityCom::GetComponentType("som"); });
    AddPlain(table, c + "GetBasePath(char const*)",
             [] { (void)CTraceUtilityCom::GetBasePath("providerupdater"); });
    AddPlain(table, c + "GetIniFileName(char const*, string&)", [] {
        std::string out;
        CTraceUtilityCom::GetIniFileName("um", out);
    });
    AddPlain(table, c + "GetMsgFileName(char const*, string&)", [] {
        std::string out;
        CTraceUtilityCom::GetMsgFileName("um", out);
    });
    // The cache does not grow with the names: all providers share one entry.
    Add(table, c + "GetSettingInfo(char const*)", [] {
        SetCatalogue("0");
        return [number = 0]() mutable {
            (void)CTraceUtilityCom::GetSettingInfo("um");
            (void)CTraceUtilityCom::GetSettingInfo(("x" + std::to_string(++number)).c_str());
        };
    });
}

void AddWrite(Operations& table, const std::string& name, std::function<void(CTraceWrite&)> use)
{
    Add(table, "CTraceWrite::" + name, [use = std::move(use)] {
        SetCatalogue("0");
        auto writer = std::make_shared<CTraceWrite>("um", CTraceUtility::WRITE_MODE_BOTH);
        return [use, writer] { use(*writer); };
    });
}

void AddTraceWrite(Operations& table)
{
    AddWrite(table, "CTraceWrite(char const*, CTraceUtility::WRITE_MODE)",
             [](CTraceWrite&) { const CTraceWrite other("um", CTraceUtility::WRITE_MODE_BOTH); });
    AddWrite(table, "~CTraceWrite()",
             [](CTraceWrite&) { delete new CTraceWrite("um", CTraceUtility::WRITE_MODE_TRACE); });
    AddWrite(table, "Open(char const*)", [](CTraceWrite& writer) {
        (void)writer.Open("_trc");
        (void)writer.Open("_dbg");
    });
    AddWrite(table, "WriteOperationLog(char const*, char const*)",
             [](CTraceWrite& writer) { writer.WriteOperationLog("0x00000001", kText); });
    AddWrite(
        table, "WriteDebugLog(CTraceUtility::TRACE_DBG_LEVEL, char const*)",
        [](CTraceWrite& writer) { writer.WriteDebugLog(CTraceUtility::TRACE_DBG_FAIL, kText); });
    AddWrite(table, "IsDebugWanted(CTraceUtility::TRACE_DBG_LEVEL) const", [](CTraceWrite& writer) {
        (void)writer.IsDebugWanted(CTraceUtility::TRACE_DBG_FAIL);
    });
    AddWrite(table, "WriteEventLog(unsigned short, char const*)",
             [](CTraceWrite& writer) { writer.WriteEventLog(4, kText); });
    AddWrite(table, "GetMessageInfo(char const*, Msg_Info*)", [](CTraceWrite& writer) {
        Msg_Info info;
        (void)writer.GetMessageInfo("PACKAGE", &info);
        (void)writer.GetMessageInfo("ABSENT", &info);
    });
    AddWrite(table, "isSizeOver(SLogFile*, unsigned long)", [](CTraceWrite& writer) {
        SLogFile file;
        (void)writer.isSizeOver(&file, 1);
    });
    AddWrite(table, "rotate(SLogFile*)", [](CTraceWrite& writer) {
        SLogFile file;
        file.kind = 2;
        file.suffix = "_dbg";
        writer.rotate(&file);
        writer.rotate(&file);
    });
    AddCommand(table, "CTraceWrite::compress(string)", [] {
        auto writer = std::make_shared<CTraceWrite>("um", CTraceUtility::WRITE_MODE_BOTH);
        return [writer] {
            test::WriteFile("/opt/work/a.log", kText);
            (void)writer->compress("/opt/work/a.log");
            (void)writer->compress("/opt/work/absent.log");
            test::RemoveTree("/opt/work/a.log.gz");
        };
    });
    AddCommand(table, "CTraceWrite::rotate: with compression", [] {
        test::WriteFile("/opt/velmora/qor/um/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=7F\n");
        auto writer = std::make_shared<CTraceWrite>("um", CTraceUtility::WRITE_MODE_DEBUG);
        return [writer, file = std::make_shared<SLogFile>()] {
            file->kind = 2;
            file->suffix = "_dbg";
            writer->rotate(file.get());  // opens a new file
            writer->rotate(file.get());  // compresses it
        };
    });
    table.back().names.clear();
}

}  // namespace

void AddTraceOperations(Operations& table)
{
    AddTraceBase(table);
    AddTraceRead(table);
    AddFacade(table);
    AddSettings(table);
    AddTraceWrite(table);
}

}  // namespace qor::proof
