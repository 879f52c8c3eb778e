#include "CTraceBase.h"

#include <sys/stat.h>
#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <mutex>

#include "base/CancelGuard.h"
#include "base/Format.h"
#include "base/Handles.h"
#include "base/LocalTime.h"
#include "base/Paths.h"
#include "base/StandardNumbers.h"

namespace {

constexpr mode_t kLogDirectoryMode = 0644;  // Intended: see the header.

// Held from openlog(3) to the message, so that no other object's closelog(3), which forgets the
// ident, comes between.
std::mutex g_systemLog;

void OpenSystemLog()
{
    // openlog(3) keeps the pointer. It is never freed, so that it outlives an unloading of the
    // library.
    static const char* ident = nullptr;
    if (ident == nullptr)
        ident = ::strdup("update manager");
    ::openlog(ident, LOG_PID, LOG_USER);
}

bool Contains(const char* text, const char* part)
{
    return std::strstr(text, part) != nullptr;
}

}  // namespace

CTraceBase::CTraceBase(const char* component)
    : component_(component == nullptr ? "" : component),
      logDirectory_(qor::paths::kLogDirectory),
      operationLog_(new SLogFile),
      debugLog_(new SLogFile)
{
    const qor::CancelGuard guard;
    {
        const std::lock_guard<std::mutex> lock(g_systemLog);
        OpenSystemLog();
    }
    if (::mkdir(logDirectory_.c_str(), kLogDirectoryMode) != 0 && errno != EEXIST)
        SystemLog(LOG_ERR, "Failed to create log directory. (%d)\n", errno);
}

CTraceBase::~CTraceBase()
{
    const qor::CancelGuard guard;
    {
        const std::lock_guard<std::mutex> lock(g_systemLog);
        ::closelog();
    }
    operationLog_.reset();  // here, under the guard: close(2) is a cancellation point
    debugLog_.reset();
}

std::tm CTraceBase::GetLocalTime()
{
    const qor::CancelGuard guard;  // the time zone may be read from a file
    return qor::BreakDownLocalTime(std::time(nullptr));
}

void CTraceBase::GetLocalTime(std::string& out)
{
    out = qor::FormatLocalTime(GetLocalTime());
}

void CTraceBase::GetLocalDate(std::string& out)
{
    const std::tm local = GetLocalTime();
    out = qor::Format("%02d%02d%02d%02d%02d%02d", local.tm_year + 1900 - 2000, local.tm_mon + 1,
                      local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

const char* CTraceBase::GetDebugLevelString(CTraceUtility::TRACE_DBG_LEVEL level)
{
    switch (level) {
        case CTraceUtility::TRACE_DBG_INFO:
            return "--INFO--";
        case CTraceUtility::TRACE_DBG_FAIL:
            return "**FAIL**";
        case CTraceUtility::TRACE_DBG_FUNC:
            return "--FUNC--";
        case CTraceUtility::TRACE_DBG_EXCP:
            return "**EXCP**";
        case CTraceUtility::TRACE_DBG_WARN:
            return "==WARN==";
        case CTraceUtility::TRACE_DBG_DBUG:
            return "--DBUG--";
    }
    return "--????"
           "--";  // in two, or it would hold a trigraph
}

void CTraceBase::SystemLog(int priority, const char* format, ...)
{
    if (format == nullptr)
        return;
    const qor::CancelGuard guard;
    const std::lock_guard<std::mutex> lock(g_systemLog);
    OpenSystemLog();
    const int error = errno;             // for "%m"
    const qor::StandardNumbers numbers;  // the message makes a connection that stays open
    errno = error;

    std::va_list arguments;
    va_start(arguments, format);
    ::vsyslog(priority, format, arguments);
    va_end(arguments);
}

void CTraceBase::CreateFileName(SLogFile* file)
{
    if (file == nullptr)
        return;
    std::string stamp;
    GetLocalDate(stamp);
    file->name = "QOR_" + component_ + file->suffix + "_" + stamp + ".log";
}

bool CTraceBase::GetFileList(const char* component, const char* kind, std::list<std::string>& files)
{
    std::list<std::string> former;  // the arguments may lie in it
    former.swap(files);
    if (component == nullptr || kind == nullptr)
        return false;
    const qor::CancelGuard guard;
    const qor::UniqueDir directory(::opendir(logDirectory_.c_str()));
    if (!directory)
        return false;

    const std::string mark = std::string("QOR_") + component + kind;
    while (const dirent* const entry = ::readdir(directory.get())) {
        if (Contains(entry->d_name, mark.c_str()) && Contains(entry->d_name, ".log") &&
            !Contains(entry->d_name, ".swp"))
            files.emplace_back(entry->d_name);
    }
    files.sort();
    return true;
}
