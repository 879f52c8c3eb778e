// Writes records of every kind to the logs of "um", over a rotation, and prints how many there are
// of each: operation records, then debug records of each level.
#include <cstdio>
#include <string>

#include "CTraceUtility.h"

namespace {

const char kComponent[] = "um";

const CTraceUtility::TRACE_DBG_LEVEL kLevels[] = {CTraceUtility::TRACE_DBG_INFO,
                                                  CTraceUtility::TRACE_DBG_FAIL,
                                                  CTraceUtility::TRACE_DBG_FUNC,
                                                  CTraceUtility::TRACE_DBG_EXCP,
                                                  CTraceUtility::TRACE_DBG_WARN,
                                                  CTraceUtility::TRACE_DBG_DBUG,
                                                  static_cast<CTraceUtility::TRACE_DBG_LEVEL>(3)};

int WriteOperationRecords()
{
    CTraceUtility::WriteTrace(kComponent, "UPDATE_STARTED", "2.4.1");
    CTraceUtility::WriteTrace(kComponent, "UPDATE_DONE", 2);
    CTraceUtility::WriteTrace(kComponent, "UPDATE_STARTED", "two\nlines");
    CTraceUtility::WriteTrace(kComponent, "UPDATE_STARTED", std::string(5000, 'x').c_str());
    CTraceUtility::WriteTrace(kComponent, "UPDATE_FAILED", "qord");
    CTraceUtility::WriteTrace(kComponent, "NO_SUCH_MESSAGE");
    return 6;
}

}  // namespace

int main()
{
    CTraceUtility::Initialize(kComponent, CTraceUtility::WRITE_MODE_BOTH);
    const int operations = WriteOperationRecords();

    const std::string longText(4095, 'y');
    int perLevel = 0;
    for (; perLevel < 400; ++perLevel) {
        for (const CTraceUtility::TRACE_DBG_LEVEL level : kLevels)
            CTraceUtility::WriteDebug(kComponent, level, "%s", longText.c_str());
    }
    for (const CTraceUtility::TRACE_DBG_LEVEL level : kLevels) {
        CTraceUtility::WriteDebug(kComponent, level, "two\nlines");
        CTraceUtility::WriteDebug(kComponent, level, "%s", "");
    }
    perLevel += 2;
    CTraceUtility::Terminate(kComponent);
    std::printf("%d %d\n", operations, perLevel);
}
