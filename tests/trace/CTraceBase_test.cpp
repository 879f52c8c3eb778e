#include "CTraceBase.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <list>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Cancellation.h"
#include "support/Descriptors.h"
#include "support/Processes.h"
#include "support/SyslogSocket.h"
#include "support/Threads.h"
#include "trace/TraceTest.h"

namespace qor::test {
namespace {

static_assert(std::is_convertible<const char*, CTraceBase>::value, "a component will do");

using CTraceBaseTest = TraceTest;

using Names = std::list<std::string>;

// Shows what derived classes see.
struct OpenBase : CTraceBase {
    using CTraceBase::component_;
    using CTraceBase::CTraceBase;
    using CTraceBase::debugLog_;
    using CTraceBase::logDirectory_;
    using CTraceBase::operationLog_;
};

TEST_F(CTraceBaseTest, BeginsWithBothFilesClosed)
{
    const OpenBase base("um");

    EXPECT_EQ("um", base.component_);
    EXPECT_EQ(kLogDirectory, base.logDirectory_);
    for (const SLogFile* const file : {base.operationLog_.get(), base.debugLog_.get()}) {
        EXPECT_FALSE(file->stream.is_open());
        EXPECT_EQ("", file->name + file->path + file->suffix);
    }
}

TEST_F(CTraceBaseTest, MakesTheLogDirectoryWithoutSearchPermissionByIntent)
{
    RemoveTree(kLogDirectory);

    const CTraceBase base("um");

    EXPECT_EQ(mode_t{0644}, FileMode(kLogDirectory));
    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

TEST_F(CTraceBaseTest, KeepsALogDirectoryThatIsThereInSilence)
{
    SyslogSocket log;
    ASSERT_EQ(0, ::chmod(kLogDirectory, 0750));

    const CTraceBase base("um");

    EXPECT_EQ(mode_t{0750}, FileMode(kLogDirectory));
    EXPECT_TRUE(log.Received().empty());
}

TEST_F(CTraceBaseTest, ReportsAMissingParentOfTheLogDirectory)
{
    SyslogSocket log;
    RemoveTree("/opt/velmora/qor");

    const CTraceBase base("um");

    EXPECT_EQ((SentEvents{{LOG_ERR, "Failed to create log directory. (2)\n"}}), Sent(log));
    EXPECT_FALSE(Exists("/opt/velmora/qor"));
}

TEST_F(CTraceBaseTest, ReportsAnyOtherReasonByItsNumber)
{
    SyslogSocket log;
    RemoveTree("/opt/velmora/qor");
    WriteFile("/opt/velmora/qor", "no directory");

    const CTraceBase base("um");

    EXPECT_EQ("Failed to create log directory. (20)\n", log.Messages().at(0).text);
}

TEST_F(CTraceBaseTest, BreaksDownLocalTime)
{
    const ScopedTimeZone tokyo("JST-9");

    const std::tm local = CTraceBase("um").GetLocalTime();

    EXPECT_EQ(126, local.tm_year);
    EXPECT_EQ(10, local.tm_mon);
    EXPECT_EQ(15, local.tm_mday);
    EXPECT_EQ(17, local.tm_hour);
    EXPECT_EQ(29, local.tm_min);
    EXPECT_EQ(18, local.tm_sec);
    EXPECT_EQ(0, local.tm_wday);
}

TEST_F(CTraceBaseTest, WritesLocalTimeAsText)
{
    static const struct {
        std::time_t moment;
        const char* stamp;
        const char* date;
    } cases[] = {
        {kMoment, "2026/11/15 08:29:18", "261115082918"},
        {946782245, "2000/01/02 03:04:05", "000102030405"},
        {951868799, "2000/02/29 23:59:59", "000229235959"},
        {4102444799, "2099/12/31 23:59:59", "991231235959"},
        {4102444800, "2100/01/01 00:00:00", "1000101000000"},
    };
    CTraceBase base("um");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.stamp);
        SetClock(c.moment);
        std::string text = "former";
        base.GetLocalTime(text);
        EXPECT_EQ(c.stamp, text);
        base.GetLocalDate(text);
        EXPECT_EQ(c.date, text);
    }
}

TEST_F(CTraceBaseTest, NamesDebugLevels)
{
    static const struct {
        unsigned int level;
        const char* text;
    } cases[] = {
        {CTraceUtility::TRACE_DBG_INFO, "--INFO--"},
        {CTraceUtility::TRACE_DBG_FAIL, "**FAIL**"},
        {CTraceUtility::TRACE_DBG_FUNC, "--FUNC--"},
        {CTraceUtility::TRACE_DBG_EXCP, "**EXCP**"},
        {CTraceUtility::TRACE_DBG_WARN, "==WARN=="},
        {CTraceUtility::TRACE_DBG_DBUG, "--DBUG--"},
        {0, kOtherLevel},
        {3, kOtherLevel},
        {64, kOtherLevel},
        {128, kOtherLevel},
        {0xFFFFFFFFU, kOtherLevel},
    };
    CTraceBase base("um");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.level);
        EXPECT_STREQ(
            c.text, base.GetDebugLevelString(static_cast<CTraceUtility::TRACE_DBG_LEVEL>(c.level)));
    }
}

TEST_F(CTraceBaseTest, NumbersItsEnumerators)
{
    EXPECT_EQ(1U, CTraceUtility::TRACE_DBG_INFO);
    EXPECT_EQ(2U, CTraceUtility::TRACE_DBG_FAIL);
    EXPECT_EQ(4U, CTraceUtility::TRACE_DBG_FUNC);
    EXPECT_EQ(8U, CTraceUtility::TRACE_DBG_EXCP);
    EXPECT_EQ(16U, CTraceUtility::TRACE_DBG_WARN);
    EXPECT_EQ(32U, CTraceUtility::TRACE_DBG_DBUG);
    EXPECT_EQ(1U, CTraceUtility::WRITE_MODE_DEBUG);
    EXPECT_EQ(2U, CTraceUtility::WRITE_MODE_TRACE);
    EXPECT_EQ(3U, CTraceUtility::WRITE_MODE_BOTH);
    static_assert(sizeof(CTraceUtility::TRACE_DBG_LEVEL) == 4, "32 bits");
    static_assert(sizeof(CTraceUtility::WRITE_MODE) == 4, "32 bits");
    static_assert(sizeof(CTraceUtility::TRACE_READ_TYPE) == 4, "32 bits");
}

TEST_F(CTraceBaseTest, SendsFormattedTextToTheSystemLog)
{
    SyslogSocket log;
    CTraceBase base("um");

    base.SystemLog(LOG_WARNING, "%s: 50%% of %d", "disk", 7);

    EXPECT_EQ((SentEvents{{LOG_WARNING, "disk: 50% of 7"}}), Sent(log));
}

TEST_F(CTraceBaseTest, OpensTheSystemLogForTheWholeProgram)
{
    SyslogSocket log;
    const CTraceBase base("um");

    ::syslog(LOG_NOTICE, "the program's own");

    EXPECT_EQ((SentEvents{{LOG_NOTICE, "the program's own"}}), Sent(log));
}

TEST_F(CTraceBaseTest, SendsNothingForANullFormat)
{
    SyslogSocket log;
    const char* const none = nullptr;

    CTraceBase("um").SystemLog(LOG_ERR, none);

    EXPECT_TRUE(log.Received().empty());
}

TEST_F(CTraceBaseTest, StaysSilentWithoutASystemLog)
{
    ASSERT_FALSE(Exists("/dev/log"));

    EXPECT_EQ("", CaptureStderr([] { CTraceBase("um").SystemLog(LOG_ERR, "nobody listens"); }));
}

TEST_F(CTraceBaseTest, KeepsItsIdentAfterAnotherHasClosedTheConnection)
{
    SyslogSocket log;
    CTraceBase base("um");
    {
        CTraceBase("som").SystemLog(LOG_ERR, "first");
    }

    base.SystemLog(LOG_ERR, "second");

    EXPECT_EQ((SentEvents{{LOG_ERR, "first"}, {LOG_ERR, "second"}}), Sent(log));
}

TEST_F(CTraceBaseTest, KeepsItsIdentBesideAProgramWithAnother)
{
    SyslogSocket log;
    CTraceBase base("um");
    ::openlog("other", 0, LOG_DAEMON);

    base.SystemLog(LOG_INFO, "ours");

    EXPECT_EQ((SentEvents{{LOG_INFO, "ours"}}), Sent(log));
}

TEST_F(CTraceBaseTest, KeepsItsIdentOnSeveralThreadsAtOnce)
{
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kMessages = 100;
    SyslogSocket log;
    OnThreads(kThreads, [](std::size_t) {
        for (std::size_t i = 0; i < kMessages; ++i)
            CTraceBase("um").SystemLog(LOG_ERR, "text");
    });

    EXPECT_EQ(SentEvents(kThreads * kMessages, {LOG_ERR, "text"}), Sent(log));
}

// What another thread prints would reach the system log.
TEST_F(CTraceBaseTest, KeepsTheConnectionAwayFromTheStandardDescriptors)
{
    SyslogSocket log;
    EXPECT_EQ(0, InChild([] {
                  for (const int standard : {0, 1, 2})
                      (void)::close(standard);
                  CTraceBase base("um");
                  errno = EACCES;
                  base.SystemLog(LOG_ERR, "%m");
                  for (const int standard : {0, 1, 2}) {
                      if (::fcntl(standard, F_GETFD) != -1)
                          return 1 + standard;
                  }
                  return 0;
              }));
    EXPECT_EQ("Permission denied", log.Messages().at(0).text);
}

TEST_F(CTraceBaseTest, ClosesTheSystemLogAtItsEnd)
{
    static_assert(std::has_virtual_destructor<CTraceBase>::value, "a base class");
    const SyslogSocket log;
    const DescriptorMap before = OpenDescriptors();
    {
        CTraceBase base("um");
        base.SystemLog(LOG_ERR, "text");
        EXPECT_NE("", DescriptorChanges(before, OpenDescriptors()));
    }
    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
}

TEST_F(CTraceBaseTest, NamesANewFileByComponentKindAndTime)
{
    static const struct {
        const char* component;
        const char* suffix;
        const char* name;
    } cases[] = {
        {"um", "_trc", "QOR_um_trc_261115082918.log"},
        {"som", "_dbg", "QOR_som_dbg_261115082918.log"},
        {"", "_dbg", "QOR__dbg_261115082918.log"},
        {nullptr, "_dbg", "QOR__dbg_261115082918.log"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.component) + c.suffix);
        SLogFile file;
        file.suffix = c.suffix;
        file.path = "untouched";
        CTraceBase(c.component).CreateFileName(&file);
        EXPECT_EQ(c.name, file.name);
        EXPECT_EQ("untouched", file.path);
        EXPECT_EQ(0, file.kind);
    }
    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

TEST_F(CTraceBaseTest, NamesNothingForANullFile)
{
    CTraceBase("um").CreateFileName(nullptr);

    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

TEST_F(CTraceBaseTest, ListsTheFilesOfAComponentAndKindByName)
{
    for (const char* const name : {
             "QOR_um_trc_261115082918.log",       // kept
             "QOR_um_trc_251115082918.log.gz",    // kept, the oldest by its stamp
             "old.QOR_um_trc_1.log",              // kept: anywhere in the name
             "QOR_um_trc.logbook",                // kept
             "QOR_um_trc_271115082918.log.swp",   // an editor's
             ".QOR_um_trc_271115082918.log.swp",  //
             "QOR_um_trc_.swp.log",               //
             "QOR_um_dbg_261115082918.log",       // another kind
             "QOR_umx_trc_261115082918.log",      // another component
             "QOR_som_trc_261115082918.log",      //
             "qor_um_trc_261115082918.log",       //
             "QOR_um_trc_261115082918.txt",       // no log
         })
        WriteFile(LogPath(name), "");
    Names files = {"former"};

    EXPECT_TRUE(CTraceBase("som").GetFileList("um", "_trc", files));

    EXPECT_EQ((Names{"QOR_um_trc.logbook", "QOR_um_trc_251115082918.log.gz",
                     "QOR_um_trc_261115082918.log", "old.QOR_um_trc_1.log"}),
              files);
}

TEST_F(CTraceBaseTest, TakesArgumentsThatLieInTheListThatItFills)
{
    const std::string name = "a component of so long a name that it lies on the heap";
    WriteFile(LogPath("QOR_" + name + "_trc_1.log"), "");
    Names names = {name, "_trc_1.log, shortened to its kind"};
    names.back().resize(4);

    EXPECT_TRUE(CTraceBase("um").GetFileList(names.front().c_str(), names.back().c_str(), names));

    EXPECT_EQ((Names{"QOR_" + name + "_trc_1.log"}), names);
}

TEST_F(CTraceBaseTest, CompletesOnACancelledThread)
{
    SyslogSocket log;
    ExpectCompleteWhenCancelled([] {
        CTraceBase base("um");
        Names names;
        std::string text;
        base.SystemLog(LOG_INFO, "%s", "sent");
        base.GetLocalTime(text);
        EXPECT_TRUE(base.GetFileList("um", "_trc", names));
    });
    EXPECT_EQ("sent", log.Messages().at(0).text);
}

TEST_F(CTraceBaseTest, ListsByByteOrder)
{
    for (const char* const name : {"QOR_um_trc_2.log", "QOR_um_trc_10.log", "QOR_um_trc_B.log",
                                   "QOR_um_trc_a.log", "QOR_um_trc_\xc3.log"})
        WriteFile(LogPath(name), "");
    Names files;

    EXPECT_TRUE(CTraceBase("um").GetFileList("um", "_trc", files));

    EXPECT_EQ((Names{"QOR_um_trc_10.log", "QOR_um_trc_2.log", "QOR_um_trc_B.log",
                     "QOR_um_trc_a.log", "QOR_um_trc_\xc3.log"}),
              files);
}

TEST_F(CTraceBaseTest, ListsAnEmptyDirectory)
{
    Names files = {"former"};

    EXPECT_TRUE(CTraceBase("um").GetFileList("um", "_trc", files));

    EXPECT_TRUE(files.empty());
}

TEST_F(CTraceBaseTest, FailsToListAMissingDirectory)
{
    CTraceBase base("um");
    RemoveTree(kLogDirectory);
    Names files = {"former"};

    EXPECT_FALSE(base.GetFileList("um", "_trc", files));

    EXPECT_TRUE(files.empty());
}

TEST_F(CTraceBaseTest, FailsToListForNull)
{
    WriteFile(LogPath(LogName(kOperationLog)), "");
    CTraceBase base("um");
    Names files = {"former"};

    EXPECT_FALSE(base.GetFileList(nullptr, "_trc", files));
    EXPECT_TRUE(files.empty());

    files = {"former"};
    EXPECT_FALSE(base.GetFileList("um", nullptr, files));
    EXPECT_TRUE(files.empty());
}

}  // namespace
}  // namespace qor::test
