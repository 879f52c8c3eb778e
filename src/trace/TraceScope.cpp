#include "trace/TraceScope.h"

#include <cerrno>

#include "base/Format.h"
#include "CTraceUtilityCom.h"
#include "CTraceWrite.h"

namespace qor {

namespace {

constexpr std::size_t kMessageSize = 4096;  // as much as a debug record holds

}  // namespace

void TraceScope::Enter(const std::string& suffix) const
{
    CTraceUtility::WriteDebug(tag_.c_str(), CTraceUtility::TRACE_DBG_FUNC, "[ENTER] %s%s",
                              signature_, suffix.c_str());
}

void TraceScope::Leave(const std::string& suffix) const
{
    CTraceUtility::WriteDebug(tag_.c_str(), CTraceUtility::TRACE_DBG_FUNC, "[LEAVE] %s%s",
                              signature_, suffix.c_str());
}

void TraceScope::Fail(const char* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    WriteMessage(CTraceUtility::TRACE_DBG_FAIL, format, arguments);
    va_end(arguments);
}

void TraceScope::Info(const char* format, ...) const
{
    if (!IsWanted(CTraceUtility::TRACE_DBG_INFO))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    WriteMessage(CTraceUtility::TRACE_DBG_INFO, format, arguments);
    va_end(arguments);
}

void TraceScope::WriteMessage(CTraceUtility::TRACE_DBG_LEVEL level, const char* format,
                              std::va_list arguments) const
{
    char message[kMessageSize];
    (void)FormatInto(message, sizeof message, format, arguments);
    CTraceUtility::WriteDebug(tag_.c_str(), level, "%s %s", signature_, message);
}

void TraceScope::Write(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& text) const
{
    CTraceUtility::WriteDebug(tag_.c_str(), level, "%s", text.c_str());
}

bool TraceScope::IsWanted(CTraceUtility::TRACE_DBG_LEVEL level) const
{
    if (const CTraceWrite* const writer = getTraceObject(tag_.c_str()))
        return writer->IsDebugWanted(level);

    const int error = errno;  // reading the settings may change it
    const Setting_Info* const settings = CTraceUtilityCom::GetSettingInfo(tag_.c_str());
    errno = error;
    if (settings != nullptr && (settings->traceLevel & level) != 0)
        return true;
    // The record would not be written, but the file of a component that nobody initialised made.
    CTraceUtility::WriteDebug(tag_.c_str(), level, "%s", "");
    return false;
}

}  // namespace qor
