#include "CTraceWrite.h"

#include <type_traits>

#include "trace/TraceModel.h"
#include "trace/WriterTest.h"

namespace qor::test {
namespace {

static_assert(std::has_virtual_destructor<CTraceWrite>::value, "deleted through its base");

using CTraceWriteTest = WriterTest;

CTraceUtility::TRACE_DBG_LEVEL Level(unsigned int level)
{
    return static_cast<CTraceUtility::TRACE_DBG_LEVEL>(level);
}

TEST_F(CTraceWriteTest, WritesOperationRecords)
{
    CTraceWrite writer("um", kTraceMode);

    writer.WriteOperationLog("0x00000001", "info    Update started");
    EXPECT_EQ("2026/11/15 08:29:18 0x00000001 info    Update started\n", OperationLog());

    SetClock(kMoment + 1);
    writer.WriteOperationLog("code", "%s\tbody");
    EXPECT_EQ(
        "2026/11/15 08:29:18 0x00000001 info    Update started\n"
        "2026/11/15 08:29:19 code %s\tbody\n",
        OperationLog());
    EXPECT_EQ((Strings{"QOR_um_trc_261115082918.log"}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, WritesDebugRecords)
{
    CTraceWrite writer("um", kDebugMode);

    writer.WriteDebugLog(kInfo, "7 devices");
    writer.WriteDebugLog(CTraceUtility::TRACE_DBG_FAIL, "%s");

    EXPECT_EQ(DebugRecord("7 devices") + DebugRecord("%s", "**FAIL**"), DebugLog());
    EXPECT_EQ((Strings{"QOR_um_dbg_261115082918.log"}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, NamesTheThreadOfAForkedChild)
{
    CTraceWrite writer("um", kDebugMode);
    writer.WriteDebugLog(kInfo, "parent");

    ChildProcess child([&] {
        writer.WriteDebugLog(kInfo, "child");
        return 0;
    });
    ASSERT_EQ(0, child.Wait());

    const std::vector<DebugLine> records = DebugTexts("um");
    ASSERT_EQ(2U, records.size());
    EXPECT_EQ(::syscall(SYS_gettid), records[0].thread);
    EXPECT_EQ(child.pid(), records[1].thread);
}

TEST_F(CTraceWriteTest, OpensTheLogsOfItsMode)
{
    static const struct {
        unsigned int mode;
        Strings files;
    } cases[] = {
        {0, {}},
        {kDebugMode, {LogName(kDebugLog)}},
        {kTraceMode, {LogName(kOperationLog)}},
        {kBothModes, {LogName(kDebugLog), LogName(kOperationLog)}},
        {4, {}},
        {6, {LogName(kOperationLog)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        EmptyDirectory(kLogDirectory);
        CTraceWrite writer("um", static_cast<CTraceUtility::WRITE_MODE>(c.mode));
        EXPECT_EQ(c.files, ListDir(kLogDirectory));
        EXPECT_EQ((c.mode & kDebugMode) != 0, writer.IsDebugWanted(kInfo));
    }
}

TEST_F(CTraceWriteTest, WritesNothingToALogThatItsModeLeavesOut)
{
    CTraceWrite operations("um", kTraceMode);
    operations.WriteDebugLog(kInfo, "text");
    EXPECT_EQ((Strings{LogName(kOperationLog)}), ListDir(kLogDirectory));
    EXPECT_EQ("", OperationLog());

    CTraceWrite debug("som", kDebugMode);
    debug.WriteOperationLog("0x1", "body");
    EXPECT_EQ((Strings{"QOR_som_dbg_261115082918.log", LogName(kOperationLog)}),
              ListDir(kLogDirectory));
    EXPECT_EQ("", ReadNewestLog("som", kDebugLog));
}

TEST_F(CTraceWriteTest, CountsEveryRequestedLogAsOpenByIntent)
{
    RemoveTree(kLogDirectory);
    CTraceWrite writer("um", kBothModes);

    EXPECT_TRUE(writer.IsDebugWanted(kInfo));

    MakeLogDirectory();
    writer.WriteDebugLog(kInfo, "text");
    writer.WriteOperationLog("0x1", "body");
    EXPECT_EQ(DebugRecord("text"), DebugLog());
    EXPECT_EQ("2026/11/15 08:29:18 0x1 body\n", OperationLog());
}

TEST_F(CTraceWriteTest, DoesNothingForANullComponentOrOneWithoutSettings)
{
    CTraceUtilityCom::settingInfoMap["um"] = nullptr;
    for (const char* const component : {static_cast<const char*>(nullptr), "um"}) {
        CTraceWrite writer(component, kBothModes);
        Msg_Info info;

        writer.WriteOperationLog("0x1", "body");
        writer.WriteDebugLog(kInfo, "text");

        EXPECT_FALSE(writer.IsDebugWanted(kInfo));
        EXPECT_FALSE(writer.GetMessageInfo("ID", &info));
        EXPECT_TRUE(ListDir(kLogDirectory).empty());
    }
}

TEST_F(CTraceWriteTest, WritesNothingForNullTexts)
{
    CTraceWrite writer("um", kBothModes);

    writer.WriteOperationLog(nullptr, "body");
    writer.WriteOperationLog("0x1", nullptr);
    writer.WriteDebugLog(kInfo, nullptr);

    EXPECT_EQ("", OperationLog());
    EXPECT_EQ("", DebugLog());
}

TEST_F(CTraceWriteTest, FiltersDebugRecordsByTheBitsOfTheTraceLevel)
{
    static const struct {
        const char* traceLevel;
        std::vector<unsigned int> written;  // of all single bits and 0, 3, 6
    } cases[] = {
        {"0", {}},
        {"1", {1, 3}},
        {"2", {2, 3, 6}},
        {"1D", {1, 4, 8, 16, 3, 6}},
        {"20", {32}},
        {"3F", {1, 2, 4, 8, 16, 32, 3, 6}},
        {"40", {64}},
        {"80", {128}},
        {"FFFFFFFF", {1, 2, 4, 8, 16, 32, 64, 128, 3, 6}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.traceLevel);
        SetLevel(c.traceLevel);
        CTraceUtilityCom::settingInfoMap.clear();
        EmptyDirectory(kLogDirectory);
        CTraceWrite writer("um", kDebugMode);

        for (const unsigned int level : {0U, 1U, 2U, 4U, 8U, 16U, 32U, 64U, 128U, 3U, 6U})
            writer.WriteDebugLog(Level(level), std::to_string(level).c_str());

        std::vector<unsigned int> written;
        for (const DebugLine& line : DebugTexts("um")) {
            written.push_back(static_cast<unsigned int>(std::stoul(line.text)));
            EXPECT_EQ(writer.GetDebugLevelString(Level(written.back())), line.level);
        }
        EXPECT_EQ(c.written, written);
    }
}

TEST_F(CTraceWriteTest, GoesOnInTheOldestFileThatIsNotCompressedByIntent)
{
    static const struct {
        const char* name;
        Strings files;
        const char* taken;
    } cases[] = {
        {"no file", {}, "QOR_um_dbg_261115082918.log"},
        {"the oldest", {"QOR_um_dbg_3.log", "QOR_um_dbg_2.log"}, "QOR_um_dbg_2.log"},
        {"compressed ones before it",
         {"QOR_um_dbg_1.log.gz", "QOR_um_dbg_2.log.gz", "QOR_um_dbg_3.log", "QOR_um_dbg_4.log"},
         "QOR_um_dbg_3.log"},
        {"a compressed one after it",
         {"QOR_um_dbg_1.log", "QOR_um_dbg_2.log.gz"},
         "QOR_um_dbg_1.log"},
        {"compressed ones alone", {"QOR_um_dbg_1.log.gz"}, "QOR_um_dbg_261115082918.log"},
        {"another kind", {"QOR_um_trc_1.log"}, "QOR_um_dbg_261115082918.log"},
        {"another component", {"QOR_umx_dbg_1.log"}, "QOR_um_dbg_261115082918.log"},
        {"an editor's file", {".QOR_um_dbg_1.log.swp"}, "QOR_um_dbg_261115082918.log"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EmptyDirectory(kLogDirectory);
        for (const std::string& file : c.files)
            WriteFile(LogPath(file), "before\n");
        const bool isNew = !Exists(LogPath(c.taken));
        CTraceWrite("um", kDebugMode).WriteDebugLog(kInfo, "text");
        EXPECT_EQ((isNew ? "" : "before\n") + DebugRecord("text"), ReadFile(LogPath(c.taken)));
        EXPECT_EQ(c.files.size() + (isNew ? 1 : 0), ListDir(kLogDirectory).size());
    }
}

TEST_F(CTraceWriteTest, OpensAnyOtherKindAsTheDebugLog)
{
    Writer writer("um", static_cast<CTraceUtility::WRITE_MODE>(0));

    EXPECT_EQ(0, writer.Open("_trc"));
    EXPECT_TRUE(writer.operationLog_->stream.is_open());
    EXPECT_FALSE(writer.debugLog_->stream.is_open());

    EXPECT_EQ(0, writer.Open("_other"));
    EXPECT_EQ(2, writer.debugLog_->kind);
    EXPECT_EQ("_dbg", writer.debugLog_->suffix);
    EXPECT_EQ(0, writer.Open(nullptr));
    EXPECT_EQ((Strings{LogName(kDebugLog), LogName(kOperationLog)}), ListDir(kLogDirectory));
}

TEST_F(CTraceWriteTest, FindsMessagesInTheCatalogue)
{
    SetCatalogue("[ID]\nFormatEng=text %d\nType=warn\nRead=0x00000010\nEvent=3\n");
    CTraceWrite writer("um", kTraceMode);
    Msg_Info info;

    EXPECT_TRUE(writer.GetMessageInfo("ID", &info));

    EXPECT_EQ(MessageFields("text %d", "0x00000010", "warn", 3), FieldsOf(info));
}

TEST_F(CTraceWriteTest, DescribesAnUnknownMessage)
{
    SetCatalogue("[ID]\nFormatEng=text\nType=warn\nRead=0x00000010\nEvent=3\n");
    CTraceWrite writer("um", kTraceMode);
    for (const char* const id : {"OTHER", "id", "", "ID ", "50%", "an identifier of some length"}) {
        SCOPED_TRACE(id);
        Msg_Info info = {"former", "former", "former", 7};
        EXPECT_TRUE(writer.GetMessageInfo(id, &info));
        const std::string text = std::string("[Error] Message ID Not Found!! id=(") + id + ")";
        EXPECT_EQ(MessageFields(text, "0xFFFFFFFF", "", 0), FieldsOf(info));
    }
}

TEST_F(CTraceWriteTest, FindsNoMessageForNull)
{
    CTraceWrite writer("um", kTraceMode);
    Msg_Info info = {"former", "former", "former", 7};

    EXPECT_FALSE(writer.GetMessageInfo(nullptr, &info));
    EXPECT_FALSE(writer.GetMessageInfo("ID", nullptr));

    EXPECT_EQ(MessageFields("former", "former", "former", 7), FieldsOf(info));
}

TEST_F(CTraceWriteTest, MapsEventTypesToPriorities)
{
    static const struct {
        unsigned short type;
        int priority;
    } cases[] = {{1, LOG_ERR}, {2, LOG_WARNING}, {4, LOG_INFO}};
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        log.Clear();
        writer.WriteEventLog(c.type, "text");
        EXPECT_EQ((SentEvents{{c.priority, "text"}}), Sent(log));
    }
}

TEST_F(CTraceWriteTest, SendsNothingForOtherEventTypesAndNull)
{
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);

    for (const int type : {0, 3, 5, 6, 7, 8, 16, 65535})
        writer.WriteEventLog(static_cast<unsigned short>(type), "text");
    writer.WriteEventLog(1, nullptr);

    EXPECT_TRUE(log.Received().empty());
}

TEST_F(CTraceWriteTest, SendsALongEventWhole)
{
    const std::string text(20000, 'x');
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);

    writer.WriteEventLog(4, text.c_str());
    writer.WriteEventLog(4, (text + "%10000d").c_str());

    const std::vector<SyslogMessage> sent = log.Messages();
    ASSERT_EQ(2U, sent.size());
    EXPECT_EQ(text, sent[0].text);
    EXPECT_EQ(text.size() + 7 + 8191, sent[1].text.size());
}

TEST_F(CTraceWriteTest, TakesTheTextOfAnEventAsAFormatByIntent)
{
    static const struct {
        const char* text;
        const char* sent;
    } cases[] = {
        {"plain", "plain"},
        {"", ""},
        {"100%%", "100%"},
        {"%%%%", "%%"},
        {"disk 100%", "disk 100%"},
        {"a %n b", "a  b"},
        {"a %d b", "a 0 b"},
        {"a %s b", "a (null) b"},
        {"%08lx|%5.1f", "00000000|  0.0"},
        {"%s%s%n%n%s%p", "(null)(null)(null)(nil)"},
    };
    SyslogSocket log;
    CTraceWrite writer("um", kTraceMode);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        log.Clear();
        writer.WriteEventLog(1, c.text);
        EXPECT_EQ((SentEvents{{LOG_ERR, c.sent}}), Sent(log));
    }
}

}  // namespace
}  // namespace qor::test
