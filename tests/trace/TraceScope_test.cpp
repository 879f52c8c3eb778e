#include "trace/TraceScope.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>

#include "trace/TraceTest.h"

namespace qor::test {
namespace {

const char kSignature[] = "bool CLeaseFile::Take()";

class TraceScopeTest : public TraceTest
{
protected:
    const std::string tag_ = "um";
    const TraceScope scope_{tag_, kSignature};
};

TEST_F(TraceScopeTest, WritesNothingByItself)
{
    {
        const TraceScope scope(tag_, kSignature);
    }

    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

TEST_F(TraceScopeTest, RecordsEntryAndLeave)
{
    scope_.Enter();
    scope_.Enter(" /opt/lib.so");
    scope_.Leave();
    scope_.Leave(", rc=5");

    EXPECT_EQ((Strings{"--FUNC-- [ENTER] bool CLeaseFile::Take()",
                       "--FUNC-- [ENTER] bool CLeaseFile::Take() /opt/lib.so",
                       "--FUNC-- [LEAVE] bool CLeaseFile::Take()",
                       "--FUNC-- [LEAVE] bool CLeaseFile::Take(), rc=5"}),
              Records("um"));
}

TEST_F(TraceScopeTest, RecordsFailuresAndFactsAfterTheSignature)
{
    scope_.Fail("create failed (%s)", "No space left on device");
    scope_.Info("wait for %s, %d s", "/opt/a", 5);

    EXPECT_EQ((Strings{"**FAIL** bool CLeaseFile::Take() create failed (No space left on device)",
                       "--INFO-- bool CLeaseFile::Take() wait for /opt/a, 5 s"}),
              Records("um"));
}

TEST_F(TraceScopeTest, RecordsATextAlone)
{
    scope_.Write(CTraceUtility::TRACE_DBG_WARN, "100% %s %n");

    EXPECT_EQ((Strings{"==WARN== 100% %s %n"}), Records("um"));
}

TEST_F(TraceScopeTest, TakesForeignTextAsItIs)
{
    scope_.Enter(" %s%n");
    scope_.Leave(" %s%n");
    scope_.Fail("%s", "%s%n");
    scope_.Info("%s", "%s%n");

    EXPECT_EQ(
        (Strings{"--FUNC-- [ENTER] bool CLeaseFile::Take() %s%n",
                 "--FUNC-- [LEAVE] bool CLeaseFile::Take() %s%n",
                 "**FAIL** bool CLeaseFile::Take() %s%n", "--INFO-- bool CLeaseFile::Take() %s%n"}),
        Records("um"));
}

TEST_F(TraceScopeTest, CutsOverlongTextAtTheRecord)
{
    const std::string text(10000, 'x');

    scope_.Fail("%s", text.c_str());
    scope_.Info("%s", text.c_str());
    scope_.Enter(text);

    const std::string whole = (kSignature + (" " + text)).substr(0, 4095);
    const std::string entry = ("[ENTER] " + (kSignature + text)).substr(0, 4095);
    EXPECT_EQ((Strings{"**FAIL** " + whole, "--INFO-- " + whole, "--FUNC-- " + entry}),
              Records("um"));
}

TEST_F(TraceScopeTest, KnowsWhichLevelsAreWanted)
{
    SetLevel("6");
    for (const bool registered : {false, true}) {
        SCOPED_TRACE(registered);
        if (registered)
            CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);
        EXPECT_FALSE(scope_.IsWanted(CTraceUtility::TRACE_DBG_INFO));
        EXPECT_TRUE(scope_.IsWanted(CTraceUtility::TRACE_DBG_FAIL));
        EXPECT_TRUE(scope_.IsWanted(CTraceUtility::TRACE_DBG_FUNC));
        EXPECT_FALSE(scope_.IsWanted(CTraceUtility::TRACE_DBG_DBUG));
    }
}

TEST_F(TraceScopeTest, MakesNoFileWhenItIsAsked)
{
    (void)scope_.IsWanted(CTraceUtility::TRACE_DBG_INFO);
    SetLevel("6");
    CTraceUtilityCom::settingInfoMap.clear();
    (void)scope_.IsWanted(CTraceUtility::TRACE_DBG_INFO);

    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

TEST_F(TraceScopeTest, MakesTheFileThatARejectedRecordOfAnUnknownComponentMakes)
{
    SetLevel("0");
    const std::function<void()> records[] = {
        [this] { scope_.Enter(); },
        [this] { scope_.EnterWith([] { return " suffix"; }); },
        [this] { scope_.Fail("%d", 5); },
        [this] { scope_.Info("%d", 5); },
        [this] { scope_.WriteWith(CTraceUtility::TRACE_DBG_WARN, [] { return "text"; }); },
    };
    for (const auto& record : records) {
        EmptyDirectory(kLogDirectory);
        record();
        EXPECT_EQ(1U, LogFileNames("um", kDebugLog).size());
        EXPECT_TRUE(Records("um").empty());
    }
}

TEST_F(TraceScopeTest, FormatsNoRecordThatTheLevelRejects)
{
    SetLevel("0");
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);
    const auto make = [] {
        ADD_FAILURE() << "made";
        return "";
    };
    int stored = 7;  // by "%n", were it formatted

    scope_.Fail("%n", &stored);
    scope_.Info("%n", &stored);
    scope_.EnterWith(make);
    scope_.WriteWith(CTraceUtility::TRACE_DBG_WARN, make);

    EXPECT_EQ(7, stored);
}

TEST_F(TraceScopeTest, RecordsWhatIsMadeOnDemand)
{
    scope_.EnterWith([] { return std::string(" made"); });
    scope_.WriteWith(CTraceUtility::TRACE_DBG_WARN, [] { return "made"; });

    EXPECT_EQ((Strings{"--FUNC-- [ENTER] bool CLeaseFile::Take() made", "==WARN== made"}),
              Records("um"));
}

TEST_F(TraceScopeTest, WantsNothingOfAWriterWithoutDebugLog)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_TRACE);

    EXPECT_FALSE(scope_.IsWanted(CTraceUtility::TRACE_DBG_FAIL));
    scope_.Fail("lost");

    EXPECT_TRUE(Records("um").empty());
}

TEST_F(TraceScopeTest, KeepsErrno)
{
    errno = 4711;
    scope_.Info("%d", 5);  // reads the settings, which are not there
    scope_.Enter();
    scope_.Fail("%d", 5);
    scope_.Write(CTraceUtility::TRACE_DBG_INFO, "text");
    scope_.Leave();

    EXPECT_EQ(4711, errno);
}

}  // namespace
}  // namespace qor::test
