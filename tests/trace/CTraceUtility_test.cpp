#include "CTraceUtility.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <list>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "CTraceWrite.h"
#include "support/Allocations.h"
#include "support/Cancellation.h"
#include "support/Descriptors.h"
#include "support/Processes.h"
#include "support/SyslogSocket.h"
#include "support/Threads.h"
#include "trace/TraceTest.h"

namespace {

// While it is set: for each open(2) below /opt, "close-on-exec"; else the path where it is not, or
// where a log got a standard descriptor.
std::vector<std::string>* g_opened = nullptr;

}  // namespace

extern "C" int open(const char* path, int flags, ...)
{
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    static auto* const next =
        reinterpret_cast<int (*)(const char*, int, ...)>(::dlsym(RTLD_NEXT, "open"));
    const int fd = next(path, flags, mode);
    if (g_opened != nullptr && std::string(path).find("/opt/") == 0) {
        const bool standard = (flags & O_APPEND) != 0 && fd >= 0 && fd <= STDERR_FILENO;
        g_opened->push_back((flags & O_CLOEXEC) != 0 && !standard ? "close-on-exec" : path);
    }
    return fd;
}

namespace qor::test {
namespace {

constexpr auto kFail = CTraceUtility::TRACE_DBG_FAIL;

const char kCatalogue[] =
    "[START]\nFormatEng=Update %s started, %d files\nType=info\nRead=0x00000001\nEvent=0\n"
    "[FAILED]\nFormatEng=Update failed (%d)\nType=fail\nRead=0x00000004\nEvent=1\n"
    "[SHOUTED]\nFormatEng=Update failed (%d)\nType=FAIL\nRead=0x00000004\nEvent=-1\n"
    "[PERCENT]\nFormatEng=100%%%% done\nType=info\nRead=0x00000001\nEvent=1\n"
    "[TEXT]\nFormatEng=%s\nType=info\nRead=0x00000001\nEvent=1\n";

class CTraceUtilityTest : public TraceTest
{
protected:
    CTraceUtilityTest() { SetCatalogue(kCatalogue); }

    static std::string Stamped(const std::string& rest) { return kStamp + (" " + rest) + "\n"; }
};

TEST_F(CTraceUtilityTest, RegistersAndWritesNothingForNull)
{
    const char* const none = nullptr;

    CTraceUtility::Initialize(none, CTraceUtility::WRITE_MODE_BOTH);
    CTraceUtility::WriteTrace(none, "START", "A", 7);
    CTraceUtility::WriteTrace("um", none);
    CTraceUtility::WriteDebug(none, kInfo, "text");
    CTraceUtility::WriteDebug("um", kInfo, none);

    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

TEST_F(CTraceUtilityTest, WritesMessagesOfTheCatalogue)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_TRACE);

    CTraceUtility::WriteTrace("um", "START", "A", 7);
    CTraceUtility::WriteTrace("um", "FAILED", -1);

    EXPECT_EQ(Stamped("0x00000001 info    Update A started, 7 files") +
                  Stamped("0x00000004 fail    Update failed (-1)"),
              OperationLog());
}

TEST_F(CTraceUtilityTest, WritesMessagesWithoutInitialize)
{
    CTraceUtility::WriteTrace("um", "START", "A", 7);
    CTraceUtility::WriteTrace("um", "START", "B", 8);

    EXPECT_EQ(Stamped("0x00000001 info    Update A started, 7 files") +
                  Stamped("0x00000001 info    Update B started, 8 files"),
              OperationLog());
    EXPECT_EQ((Strings{LogName(kOperationLog)}), ListDir(kLogDirectory));
    EXPECT_EQ(nullptr, getTraceObject("um"));
}

TEST_F(CTraceUtilityTest, WritesNoMessageOfAComponentWithoutSettings)
{
    CTraceUtilityCom::settingInfoMap["um"] = nullptr;
    CTraceUtility::WriteTrace("um", "START", "A", 7);
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    CTraceUtility::WriteTrace("um", "START", "A", 7);

    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

TEST_F(CTraceUtilityTest, PadsTheTypeToEightCharacters)
{
    static const struct {
        const char* type;
        const char* padded;
    } cases[] = {
        {"", "        "},
        {"a", "a       "},
        {"info", "info    "},
        {"sixsix", "sixsix  "},
        {"seven77", "seven77 "},
        {"eight888", "eight888 "},
        {"twelve121212", "twelve121212 "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        SetCatalogue(std::string("[ID]\nFormatEng=text\nRead=0x1\nEvent=0\nType=") + c.type + "\n");
        CTraceUtilityCom::settingInfoMap.clear();
        EmptyDirectory(kLogDirectory);
        CTraceUtility::WriteTrace("um", "ID");
        EXPECT_EQ(Stamped(std::string("0x1 ") + c.padded + "text"), OperationLog());
    }
}

TEST_F(CTraceUtilityTest, WritesTheIdentifierOfAnUnknownMessage)
{
    for (const char* const component : {"um", "som"}) {  // with and without a catalogue
        SCOPED_TRACE(component);
        SyslogSocket log;
        CTraceUtility::WriteTrace(component, "NO_SUCH_ID", 7);
        EXPECT_EQ(Stamped("0xFFFFFFFF         [Error] Message ID Not Found!! id=(NO_SUCH_ID)"),
                  ReadNewestLog(component, kOperationLog));
        EXPECT_TRUE(log.Received().empty());
    }
}

TEST_F(CTraceUtilityTest, ShowsAnUnknownIdentifierAsItIs)
{
    int untouched = 7;

    CTraceUtility::WriteTrace("um", "50% %s %n %d", &untouched, &untouched);

    EXPECT_EQ(Stamped("0xFFFFFFFF         [Error] Message ID Not Found!! id=(50% %s %n %d)"),
              OperationLog());
    EXPECT_EQ(7, untouched);
}

TEST_F(CTraceUtilityTest, FormatsAMessageWhoseIdentifierHoldsAPercentSign)
{
    SetCatalogue("[50%]\nFormatEng=half of %d\nType=info\nRead=0x1\nEvent=0\n");

    CTraceUtility::WriteTrace("um", "50%", 7);

    EXPECT_EQ(Stamped("0x1 info    half of 7"), OperationLog());
}

TEST_F(CTraceUtilityTest, WritesACatalogueTextThatWouldStoreAsItStands)
{
    static const char* const texts[] = {"50% new disks", "%n",    "%1$n",
                                        "%5hhn done",    "%ql%n", "%w32n"};
    for (const char* const text : texts) {
        SCOPED_TRACE(text);
        RemoveTree("/opt/velmora/qor/log");
        CTraceUtilityCom::settingInfoMap.clear();
        SetCatalogue(std::string("[M]\nFormatEng=") + text + "\nType=info\nRead=0x1\nEvent=0\n");
        int untouched = 7;

        CTraceUtility::WriteTrace("um", "M", &untouched);

        EXPECT_EQ(Stamped(std::string("0x1 info    ") + text), OperationLog());
        EXPECT_EQ(7, untouched);
    }
}

TEST_F(CTraceUtilityTest, FormatsATranslationThatUsesTheSecondArgumentAlone)
{
    SetCatalogue("[M]\nFormatEng=%2$d files\nType=info\nRead=0x1\nEvent=0\n");

    CTraceUtility::WriteTrace("um", "M", 1, 2);

    EXPECT_EQ(Stamped("0x1 info    2 files"), OperationLog());
}

TEST_F(CTraceUtilityTest, CutsAMessageAt4095Bytes)
{
    SyslogSocket log;
    const std::string text(5000, 'x');

    CTraceUtility::WriteTrace("um", "TEXT", text.c_str());

    const std::string body = "info    " + text.substr(0, 4095);
    EXPECT_EQ(Stamped("0x00000001 " + body), OperationLog());
    EXPECT_EQ(body, log.Messages().at(0).text);
}

TEST_F(CTraceUtilityTest, EndsAMessageAtANul)
{
    SyslogSocket log;
    Msg_Info zero{"a%cb", "0x1", "info", 1};
    Msg_Info odd{std::string("text\0more", 9), std::string("0x\0001", 4), std::string("in\0fo", 5),
                 1};
    CTraceUtilityCom::GetSettingInfo("um")->messages["ZERO"] = zero;
    CTraceUtilityCom::GetSettingInfo("um")->messages["ODD"] = odd;

    CTraceUtility::WriteTrace("um", "ZERO", 0);
    CTraceUtility::WriteTrace("um", "ODD");

    EXPECT_EQ(Stamped("0x1 info    a") + Stamped("0x in"), OperationLog());
    EXPECT_EQ((SentEvents{{LOG_INFO, "info    a"}, {LOG_INFO, "in"}}), Sent(log));
}

TEST_F(CTraceUtilityTest, CutsAnUnknownIdentifierAt4095Bytes)
{
    for (const std::string& id : {std::string(5000, 'x'), "%" + std::string(5000, 'x')}) {
        EmptyDirectory(kLogDirectory);
        CTraceUtility::WriteTrace("um", id.c_str());
        const std::string text = ("[Error] Message ID Not Found!! id=(" + id).substr(0, 4095);
        EXPECT_EQ(Stamped("0xFFFFFFFF         " + text), OperationLog());
    }
}

TEST_F(CTraceUtilityTest, SendsEventsToTheSystemLog)
{
    static const struct {
        const char* id;
        int priority;
        const char* text;
    } cases[] = {
        {"FAILED", LOG_ERR, "fail    Update failed (5)"},
        {"SHOUTED", LOG_INFO, "FAIL    Update failed (5)"},
    };
    SyslogSocket log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        log.Clear();
        CTraceUtility::WriteTrace("um", c.id, 5);
        EXPECT_EQ((SentEvents{{c.priority, c.text}}), Sent(log));
    }
}

TEST_F(CTraceUtilityTest, KeepsMessagesWithoutEventFromTheSystemLog)
{
    SyslogSocket log;

    CTraceUtility::WriteTrace("um", "START", "A", 7);

    EXPECT_TRUE(log.Received().empty());
}

TEST_F(CTraceUtilityTest, SendsEventsByTheirIdentAfterOthersHaveClosedTheConnection)
{
    SyslogSocket log;
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_TRACE);
    std::list<std::string> records;
    std::string all;

    CTraceUtility::WriteTrace("um", "FAILED", 1);
    CTraceUtility::WriteDebug("som", kInfo, "a temporary writer");
    CTraceUtility::WriteTrace("um", "FAILED", 2);
    CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 9, records, &all);
    CTraceUtility::WriteTrace("um", "FAILED", 3);

    EXPECT_EQ((SentEvents{{LOG_ERR, "fail    Update failed (1)"},
                          {LOG_ERR, "fail    Update failed (2)"},
                          {LOG_ERR, "fail    Update failed (3)"}}),
              Sent(log));
}

TEST_F(CTraceUtilityTest, SendsTheFormattedTextAsAFormatOnceMore)
{
    SyslogSocket log;

    CTraceUtility::WriteTrace("um", "PERCENT");
    EXPECT_EQ(Stamped("0x00000001 info    100%% done"), OperationLog());
    EXPECT_EQ("info    100% done", log.Messages().at(0).text);

    log.Clear();
    CTraceUtility::WriteTrace("um", "TEXT", "%s and %n and 50%");
    EXPECT_EQ("info    (null) and  and 50%", log.Messages().at(0).text);
    EXPECT_NE(std::string::npos, OperationLog().find("info    %s and %n and 50%\n"));
}

TEST_F(CTraceUtilityTest, SendsAnEventWhoseRecordIsNotWritten)
{
    SyslogSocket log;
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);

    CTraceUtility::WriteTrace("um", "FAILED", 5);

    EXPECT_EQ((Strings{LogName(kDebugLog)}), ListDir(kLogDirectory));
    EXPECT_EQ("fail    Update failed (5)", log.Messages().at(0).text);
}

TEST_F(CTraceUtilityTest, WritesDebugRecords)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);

    CTraceUtility::WriteDebug("um", kFail, "%s: %d%%", "disk", 50);

    EXPECT_EQ(DebugRecord("disk: 50%", "**FAIL**"), DebugLog());
}

TEST_F(CTraceUtilityTest, WritesDebugRecordsWithoutInitialize)
{
    CTraceUtility::WriteDebug("um", kInfo, "first %d", 1);
    CTraceUtility::WriteDebug("um", kFail, "second");

    EXPECT_EQ((Strings{"--INFO-- first 1", "**FAIL** second"}), Records("um"));
    EXPECT_EQ((Strings{LogName(kDebugLog)}), ListDir(kLogDirectory));
    EXPECT_EQ(nullptr, getTraceObject("um"));
}

TEST_F(CTraceUtilityTest, CutsADebugRecordAt4095Bytes)
{
    const std::string text(5000, 'x');
    for (const std::size_t length : {4094U, 4095U, 4096U, 5000U}) {
        SCOPED_TRACE(length);
        EmptyDirectory(kLogDirectory);
        CTraceUtility::WriteDebug("um", kInfo, "%s", text.substr(0, length).c_str());
        EXPECT_EQ(text.substr(0, std::min<std::size_t>(length, 4095)), DebugTexts("um").at(0).text);
    }
}

TEST_F(CTraceUtilityTest, KeepsTheTextBeforeAStrayPercentSign)
{
    CTraceUtility::WriteDebug("um", kInfo, "100%");
    CTraceUtility::WriteDebug("um", kInfo, "done");

    EXPECT_EQ((Strings{"--INFO-- 100", "--INFO-- done"}), Records("um"));
}

TEST_F(CTraceUtilityTest, StaysSilentForNamesThatMakeNoFile)
{
    for (const std::string& name : {std::string("a/b"), std::string("../../x"),
                                    std::string(300, 'x'), std::string(100000, 'x')}) {
        SCOPED_TRACE(name.substr(0, 20));
        EXPECT_EQ("", CaptureStderr([&] {
                      CTraceUtility::WriteDebug(name.c_str(), kInfo, "text");
                      CTraceUtility::WriteTrace(name.c_str(), "ID");
                  }));
        EXPECT_TRUE(ListDir(kLogDirectory).empty());
    }
}

TEST_F(CTraceUtilityTest, FiltersDebugRecordsByLevel)
{
    SetLevel("1D");
    for (const bool registered : {false, true}) {
        SCOPED_TRACE(registered);
        EmptyDirectory(kLogDirectory);
        if (registered)
            CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);
        CTraceUtility::WriteDebug("um", kFail, "rejected");
        EXPECT_EQ((Strings{LogName(kDebugLog)}), ListDir(kLogDirectory));
        CTraceUtility::WriteDebug("um", kInfo, "accepted");
        EXPECT_EQ((Strings{"--INFO-- accepted"}), Records("um"));
    }
}

TEST_F(CTraceUtilityTest, NeitherFormatsNorAllocatesForARejectedDebugRecord)
{
    SetLevel("1D");
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);
    int formatted = -1;
    const AllocationCount count;

    for (int i = 0; i < 1000; ++i)
        CTraceUtility::WriteDebug("um", kFail, "%d devices%n", i, &formatted);

    EXPECT_EQ(0U, count.Made());
    EXPECT_EQ(-1, formatted);
    EXPECT_EQ("", DebugLog());
}

TEST_F(CTraceUtilityTest, FormatsTheErrorOfItsCallerWithoutInitialize)
{
    errno = EPERM;
    CTraceUtility::WriteDebug("um", kInfo, "disk: %m");

    EXPECT_EQ((Strings{"--INFO-- disk: Operation not permitted"}), Records("um"));
}

TEST_F(CTraceUtilityTest, KeepsErrno)
{
    RemoveTree("/opt/velmora/qor/log");
    std::list<std::string> records;
    std::string all;
    const auto keeps = [](const auto& operation) {
        errno = 4711;
        operation();
        return errno == 4711;
    };

    EXPECT_TRUE(keeps([] { CTraceUtility::WriteDebug("um", kInfo, "%d", 1); }));
    EXPECT_TRUE(keeps([] { CTraceUtility::WriteTrace("um", "FAILED", 1); }));
    EXPECT_TRUE(keeps(
        [&] { CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 1, records, &all); }));
    RemoveTree("/opt/velmora/qor/log");
    EXPECT_TRUE(keeps([] { CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH); }));
    EXPECT_TRUE(keeps([] { CTraceUtility::WriteDebug("um", kInfo, "%d", 1); }));
    EXPECT_TRUE(keeps([] { CTraceUtility::WriteTrace("um", "FAILED", 1); }));
    EXPECT_TRUE(keeps([] { CTraceUtility::Terminate("um"); }));
}

TEST_F(CTraceUtilityTest, NeedsNoMemoryForARecordOfAnOpenLog)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    const std::string text(5000, 'x');
    {
        const AllocationLimit none(0);
        CTraceUtility::WriteTrace("um", "START", text.c_str(), 7);
        CTraceUtility::WriteDebug("um", kInfo, "%s", text.c_str());
    }
    EXPECT_EQ(Stamped("0x00000001 info    Update " + text.substr(0, 4088)), OperationLog());
    EXPECT_EQ((Strings{"--INFO-- " + text.substr(0, 4095)}), Records("um"));
}

TEST_F(CTraceUtilityTest, DropsARecordWithoutMemoryForIt)
{
    const std::string longest(240, 'x');
    SetCatalogue(std::string(kCatalogue) + "[LONG]\nFormatEng=%s\nType=" + longest +
                 "\nRead=" + longest + "\nEvent=0\n");
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    const std::string text(3000, 'x');
    {
        const AllocationLimit limit(100);
        EXPECT_NO_THROW(CTraceUtility::WriteTrace("um", "LONG", text.c_str()));
        EXPECT_NO_THROW(CTraceUtility::WriteTrace("som", "TEXT", text.c_str()));
        EXPECT_NO_THROW(CTraceUtility::WriteDebug("som", kInfo, "text"));
    }
    EXPECT_EQ("", OperationLog());

    CTraceUtility::WriteTrace("um", "LONG", text.c_str());
    EXPECT_EQ(Stamped(longest + " " + longest + " " + text), OperationLog());
}

TEST_F(CTraceUtilityTest, StaysUninitialisedWithoutMemoryAndLogsAllTheSame)
{
    {
        const AllocationLimit none(0);
        EXPECT_NO_THROW(CTraceUtility::WriteDebug("um", kInfo, "dropped"));
        EXPECT_NO_THROW(CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH));
    }
    EXPECT_EQ(nullptr, getTraceObject("um"));

    CTraceUtility::WriteTrace("um", "START", "A", 7);
    EXPECT_EQ(Stamped("0x00000001 info    Update A started, 7 files"), OperationLog());
}

TEST_F(CTraceUtilityTest, WritesOfSeveralThreadsNeverMix)
{
    constexpr int kThreads = 4;
    constexpr int kRecords = 2000;
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    OnThreads(kThreads, [](std::size_t t) {
        for (int i = 0; i < kRecords; ++i) {
            CTraceUtility::WriteDebug("um", kInfo, "%zu/%d", t, i);
            CTraceUtility::WriteTrace("um", "START", std::to_string(t).c_str(), i);
        }
    });

    std::vector<int> nextDebug(kThreads, 0);
    for (const DebugLine& line : DebugTexts("um")) {
        const auto t = static_cast<std::size_t>(std::stoi(line.text));
        ASSERT_EQ(std::to_string(t) + "/" + std::to_string(nextDebug.at(t)++), line.text);
    }
    std::vector<int> nextOperation(kThreads, 0);
    const std::string head = std::string(kStamp) + " 0x00000001 info    Update ";
    for (const std::string& line : Lines(OperationLog())) {
        ASSERT_EQ(0U, line.find(head));
        const auto t = static_cast<std::size_t>(std::stoi(line.substr(head.size())));
        ASSERT_EQ(head + std::to_string(t) + " started, " + std::to_string(nextOperation.at(t)++) +
                      " files",
                  line);
    }
    EXPECT_EQ(std::vector<int>(kThreads, kRecords), nextDebug);
    EXPECT_EQ(std::vector<int>(kThreads, kRecords), nextOperation);
}

// Begun before the thread's first record, so that it ends after all that the library keeps for
// the thread.
struct LogsAtTheEndOfItsThread {
    ~LogsAtTheEndOfItsThread()
    {
        CTraceUtility::WriteDebug("um", kInfo, "last words");
        CTraceUtility::WriteTrace("um", "A_MESSAGE_WITH_A_LONG_IDENTIFIER", "last words");
    }
    int begun = 0;
};

TEST_F(CTraceUtilityTest, WritesWhileAThreadEnds)
{
    SetCatalogue("[A_MESSAGE_WITH_A_LONG_IDENTIFIER]\nFormatEng=%s\nType=info\nRead=0x1\nEvent=0");
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);

    std::thread([] {
        static thread_local LogsAtTheEndOfItsThread atEnd;
        ++atEnd.begun;
        CTraceUtility::WriteDebug("um", kInfo, "first words");
        CTraceUtility::WriteTrace("um", "A_MESSAGE_WITH_A_LONG_IDENTIFIER", "first words");
    }).join();

    const std::vector<DebugLine> records = DebugTexts("um");
    ASSERT_EQ(2U, records.size());
    EXPECT_EQ(kStamp, records[1].stamp);
    EXPECT_EQ("last words", records[1].text);
    EXPECT_EQ(Stamped("0x1 info    first words") + Stamped("0x1 info    last words"),
              OperationLog());
}

TEST_F(CTraceUtilityTest, ReadsRecordsBack)
{
    CTraceUtility::WriteTrace("um", "START", "A", 7);
    CTraceUtility::WriteTrace("um", "FAILED", 5);
    std::list<std::string> records = {"former"};
    std::string from = kStamp;

    CTraceUtility::ReadTrace("um", static_cast<CTraceUtility::TRACE_READ_TYPE>(4), 10, records,
                             &from);

    EXPECT_EQ((std::list<std::string>{"2026/11/15 08:29:18 fail    Update failed (5)"}), records);
}

TEST_F(CTraceUtilityTest, ReadsNothingForNull)
{
    CTraceUtility::WriteTrace("um", "START", "A", 7);
    std::string from;

    std::list<std::string> records = {"former"};
    CTraceUtility::ReadTrace(nullptr, CTraceUtility::TRACE_READ_ALL, 10, records, &from);
    EXPECT_TRUE(records.empty());

    records = {"former"};
    CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 10, records, nullptr);
    EXPECT_TRUE(records.empty());
}

TEST_F(CTraceUtilityTest, TakesALongRecordForTwoWhereItsTextLooksLikeOneByIntent)
{
    const std::string text(216, 'x');
    std::list<std::string> records;
    std::string all;
    const auto read = [&](const std::string& tail) {
        EmptyDirectory(kLogDirectory);
        CTraceUtility::WriteTrace("um", "TEXT", (text + tail).c_str());
        CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 10, records, &all);
    };

    read("2099/01/01 00:00:00 0x00000001 fail    forged");
    EXPECT_EQ((std::list<std::string>{kStamp + (" info    " + text),
                                      "2099/01/01 00:00:00 fail    forged"}),
              records);
    EXPECT_THROW(read("0x1 short"), std::out_of_range);
    EXPECT_THROW(read("\n0x1 short"), std::out_of_range);
}

TEST_F(CTraceUtilityTest, LosesRecordsAtALimitOfTheSizeOfFilesOrEndsByItsSignal)
{
    const auto logUpToTheLimit = [](void (*atTheLimit)(int)) {
        return InChild([atTheLimit] {
            const rlimit limit{100, 100};
            (void)std::signal(SIGXFSZ, atTheLimit);
            (void)::setrlimit(RLIMIT_FSIZE, &limit);
            for (int i = 0; i < 10; ++i)
                CTraceUtility::WriteDebug("um", kInfo, "some text");
            return 0;
        });
    };

    EXPECT_EQ(128 + SIGXFSZ, logUpToTheLimit(SIG_DFL));
    EXPECT_EQ(0, logUpToTheLimit(SIG_IGN));
    EXPECT_EQ(100U, FileSize(LogPath(LogName(kDebugLog))));
}

TEST_F(CTraceUtilityTest, TakesArgumentsThatLieInTheListThatItFills)
{
    const std::string name = "a component of so long a name that it lies on the heap";
    WriteFile(LogPath("QOR_" + name + "_trc_1.log"),
              "2026/11/15 08:29:17 0x00000001 early\n2026/11/15 08:29:18 0x00000001 late\n");
    std::list<std::string> records = {name, "2026/11/15 08:29:18, a date with a long tail"};

    CTraceUtility::ReadTrace(records.front().c_str(), CTraceUtility::TRACE_READ_ALL, 10, records,
                             &records.back());

    EXPECT_EQ((std::list<std::string>{"2026/11/15 08:29:18 late"}), records);
}

TEST_F(CTraceUtilityTest, OpensEachFileCloseOnExec)
{
    std::list<std::string> records;
    std::string all;
    Strings opened;
    CTraceUtilityCom::settingInfoMap.clear();
    g_opened = &opened;
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    CTraceUtility::WriteTrace("um", "START", "A", 1);
    CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 9, records, &all);
    g_opened = nullptr;

    EXPECT_EQ(1U, records.size());
    // Both settings files, both logs, and the log that is read.
    EXPECT_EQ(Strings(5, "close-on-exec"), opened);
}

// Not even for a moment: another thread could write to it.
TEST_F(CTraceUtilityTest, OpensNoLogAsAStandardDescriptor)
{
    EXPECT_EQ(0, InChild([] {
                  for (const int standard : {0, 1, 2})
                      (void)::close(standard);
                  Strings opened;
                  g_opened = &opened;
                  CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
                  const bool good = std::count(opened.begin(), opened.end(), "close-on-exec") ==
                                    static_cast<long>(opened.size());
                  return good && opened.size() >= 2 ? 0 : 1;
              }));
}

TEST_F(CTraceUtilityTest, CompletesOnACancelledThread)
{
    std::list<std::string> records;
    std::string all;
    SLogFile file;
    const struct {
        const char* name;
        std::function<void()> call;
    } cases[] = {
        {"a temporary writer", [] { CTraceUtility::WriteDebug("um", kInfo, "%d", 1); }},
        {"a temporary writer of messages",
         [] { CTraceUtility::WriteTrace("um", "START", "A", 1); }},
        {"Initialize", [] { CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH); }},
        {"WriteDebug", [] { CTraceUtility::WriteDebug("um", kInfo, "%d", 2); }},
        {"WriteTrace", [] { CTraceUtility::WriteTrace("um", "FAILED", 2); }},
        {"ReadTrace",
         [&] { CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 9, records, &all); }},
        {"rotate",
         [&file] {
             file.kind = 2;
             file.suffix = "_dbg";
             file.path = LogPath(LogName(kDebugLog));
             getTraceObject("um")->rotate(&file);
         }},
        {"Terminate", [] { CTraceUtility::Terminate("um"); }},
    };
    CTraceUtilityCom::settingInfoMap.clear();
    const DescriptorMap before = OpenDescriptors();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CancelledRun run = RunCancelled(c.call);
        EXPECT_TRUE(run.returned);
        EXPECT_TRUE(run.cancelled);
    }

    file.stream.close();
    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
    EXPECT_EQ(2U, records.size());
    EXPECT_NE("", RunShell("zcat " + LogPath(LogName(kDebugLog) + ".gz")).output);
}

TEST_F(CTraceUtilityTest, LetsTheErrorOfAShortRecordThroughWithAnEmptyList)
{
    WriteFile(LogPath(LogName(kOperationLog)),
              "2026/11/15 08:29:18 0x00000001 info    fine\n2026/11/15 08:29:18 0x1 short\n");
    std::list<std::string> records = {"former"};
    std::string from;

    EXPECT_THROW(CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 10, records, &from),
                 std::out_of_range);

    EXPECT_TRUE(records.empty());
}

}  // namespace
}  // namespace qor::test
