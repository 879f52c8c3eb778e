// Writes to the two logs of the component "um": the operation log, whose texts come from the
// catalogue /opt/velmora/qor/um/TraceSettingMsg.ini, and the debug log.
#include <string>

#include "CTraceUtility.h"

namespace {

const char kComponent[] = "um";

void Update(const std::string& version, int packages)
{
    CTraceUtility::WriteTrace(kComponent, "UPDATE_STARTED", version.c_str());
    for (int i = 1; i <= packages; ++i) {
        CTraceUtility::WriteDebug(kComponent, CTraceUtility::TRACE_DBG_INFO,
                                  "package %d of %d installed", i, packages);
    }
    // Text from elsewhere goes in by "%s": it may hold conversions of its own.
    const std::string remark = "disk 80% full";
    CTraceUtility::WriteDebug(kComponent, CTraceUtility::TRACE_DBG_WARN, "%s", remark.c_str());
    CTraceUtility::WriteTrace(kComponent, "UPDATE_DONE", packages);
}

}  // namespace

int main()
{
    // Once, at the start, on one thread: opens both logs and keeps them open.
    CTraceUtility::Initialize(kComponent, CTraceUtility::WRITE_MODE_BOTH);
    Update("2.4.1", 2);
    CTraceUtility::Terminate(kComponent);
}
