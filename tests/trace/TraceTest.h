// TraceTest.h - the fixture of tests about logs: an empty log directory, settings that are read
// again, a clock that stands still in UTC.
//
// The component is "um" unless a test says otherwise. Without settings files it traces all levels
// and compresses.
#ifndef QOR_TEST_TRACETEST_H
#define QOR_TEST_TRACETEST_H

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CTraceUtility.h"
#include "CTraceUtilityCom.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "support/LogFiles.h"
#include "support/PrivateDiskTest.h"
#include "support/ScopedEnv.h"
#include "support/SyslogSocket.h"

namespace qor::test {

inline constexpr auto kInfo = CTraceUtility::TRACE_DBG_INFO;

// The level text of any value that is no level; in two, or it would hold a trigraph.
inline constexpr char kOtherLevel[] =
    "--????"
    "--";

// What the library has sent to the system log from this process: level and text.
using SentEvents = std::vector<std::pair<int, std::string>>;
inline SentEvents Sent(SyslogSocket& log)
{
    SentEvents events;
    for (const SyslogMessage& message : log.Messages()) {
        EXPECT_EQ("update manager", message.ident);
        EXPECT_EQ(::getpid(), message.pid);
        EXPECT_EQ(LOG_USER, message.priority & LOG_FACMASK);
        events.emplace_back(message.priority & LOG_PRIMASK, message.text);
    }
    return events;
}

class TraceTest : public PrivateDiskTest
{
protected:
    // The moment at which the clock stands, as the logs and the names of their files show it.
    static constexpr std::time_t kMoment = 1794731358;
    static constexpr char kStamp[] = "2026/11/15 08:29:18";
    static constexpr char kFileStamp[] = "261115082918";

    TraceTest()
    {
        MakeLogDirectory();
        CTraceUtilityCom::settingInfoMap.clear();
        SetClock(kMoment);
    }

    ~TraceTest() override
    {
        for (const char* const component : {"um", "som", "cli", "lan", "hdd"})
            CTraceUtility::Terminate(component);
    }

    void SetClock(std::time_t seconds) { clock_.emplace(seconds); }

    static void SetLevel(const std::string& level)
    {
        WriteFile("/opt/velmora/qor/um/TraceSetting.ini",
                  "[APP_SETTING]\nTraceLevel=" + level + "\n");
    }

    static void SetCatalogue(const std::string& text)
    {
        WriteFile("/opt/velmora/qor/um/TraceSettingMsg.ini", text);
    }

    // For example LogName(kDebugLog) is "QOR_um_dbg_261115082918.log".
    static std::string LogName(const std::string& kind, const std::string& stamp = kFileStamp)
    {
        return "QOR_um" + kind + "_" + stamp + ".log";
    }

    // A record of the debug log, of this thread.
    static std::string DebugRecord(const std::string& text, const char* level = "--INFO--")
    {
        char head[64];
        (void)std::snprintf(head, sizeof head, "%s ThId:0x%08lx %s ", kStamp, ::syscall(SYS_gettid),
                            level);
        return head + text + "\n";
    }

    // What the newest file holds.
    static std::string OperationLog() { return ReadNewestLog("um", kOperationLog); }
    static std::string DebugLog() { return ReadNewestLog("um", kDebugLog); }

private:
    ScopedTimeZone zone_{"UTC0"};
    std::optional<FrozenTime> clock_;
};

}  // namespace qor::test

#endif  // QOR_TEST_TRACETEST_H
