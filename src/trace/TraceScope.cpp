#include "trace/TraceScope.h"

#include <cerrno>

#include "base/Format.h"
#include "CTraceUtilityCom.h"
#include "CTraceWrite.h"

namespace qor {

namespace {

constexpr std::size_t kMessageSize = 4096;  // as much as a debug record holds

bool IsWantedBySettings(const char* component, CTraceUtility::TRACE_DBG_LEVEL level)
{
    const int error = errno;  // reading the settings may change it
    const Setting_Info* const settings = CTraceUtilityCom::GetSettingInfo(component);
    errno = error;
    return settings != nullptr && (settings->traceLevel & level) != 0;
}

}  // namespace

void TraceScope::Enter(const char* suffix) const
{
    CTraceUtility::WriteDebug(tag_, CTraceUtility::TRACE_DBG_FUNC, "[ENTER] %s%s", signature_,
                              suffix);
}

void TraceScope::Leave(const char* suffix) const
{
    CTraceUtility::WriteDebug(tag_, CTraceUtility::TRACE_DBG_FUNC, "[LEAVE] %s%s", signature_,
                              suffix);
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
    std::va_list arguments;
    va_start(arguments, format);
    WriteMessage(CTraceUtility::TRACE_DBG_INFO, format, arguments);
    va_end(arguments);
}

void TraceScope::WriteMessage(CTraceUtility::TRACE_DBG_LEVEL level, const char* format,
                              std::va_list arguments) const
{
    if (!Wants(level))
        return;
    char message[kMessageSize];
    (void)FormatInto(message, sizeof message, format, arguments);
    CTraceUtility::WriteDebug(tag_, level, "%s %s", signature_, message);
}

void TraceScope::Write(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& text) const
{
    CTraceUtility::WriteDebug(tag_, level, "%s", text.c_str());
}

bool TraceScope::IsWanted(CTraceUtility::TRACE_DBG_LEVEL level) const
{
    if (const CTraceWrite* const writer = getTraceObject(tag_))
        return writer->IsDebugWanted(level);
    return IsWantedBySettings(tag_, level);
}

bool TraceScope::Wants(CTraceUtility::TRACE_DBG_LEVEL level) const
{
    if (const CTraceWrite* const writer = getTraceObject(tag_))
        return writer->IsDebugWanted(level);
    const bool wanted = IsWantedBySettings(tag_, level);
    // Nothing is written, but a component that nobody initialised gets its file.
    if (!wanted)
        CTraceUtility::WriteDebug(tag_, level, "%s", "");
    return wanted;
}

}  // namespace qor
