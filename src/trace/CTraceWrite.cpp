#include "CTraceWrite.h"

#include <syslog.h>

#include <cstring>
#include <new>

#include "base/CancelGuard.h"
#include "base/Format.h"
#include "base/ThreadId.h"
#include "trace/Catalogue.h"
#include "trace/LogFile.h"
#include "trace/LogRecord.h"
#include "trace/Rotation.h"

namespace {

constexpr unsigned int kCompressLevel = 64;    // bit of the trace level
constexpr std::size_t kMaxEventGrowth = 8191;  // bytes that conversions may add to an event

// -1: not an event type.
int PriorityOfEvent(unsigned short eventType)
{
    switch (eventType) {
        case 1:
            return LOG_ERR;
        case 2:
            return LOG_WARNING;
        case 4:
            return LOG_INFO;
        default:
            return -1;
    }
}

}  // namespace

CTraceWrite::CTraceWrite(const char* component, CTraceUtility::WRITE_MODE mode)
    : CTraceBase(component), mode_(0), compress_(false), settings_(nullptr)
{
    if (component == nullptr)
        return;
    mutex_.reset(new CMutexUtil);
    (void)mutex_->Create(1);
    settings_ = CTraceUtilityCom::GetSettingInfo(component);
    if (settings_ == nullptr)
        return;
    compress_ = (settings_->traceLevel & kCompressLevel) != 0;

    if ((mode & CTraceUtility::WRITE_MODE_TRACE) != 0) {
        if (Open(qor::kOperationSuffix) != 0)
            return;  // GCOVR_EXCL_LINE: Open returns 0 always; the step sets the order
        mode_ = mode | CTraceUtility::WRITE_MODE_TRACE;
    }
    if ((mode & CTraceUtility::WRITE_MODE_DEBUG) != 0) {
        if (Open(qor::kDebugSuffix) != 0)
            return;  // GCOVR_EXCL_LINE: as above
        mode_ = mode | CTraceUtility::WRITE_MODE_DEBUG;
    }
}

CTraceWrite::~CTraceWrite() = default;

int CTraceWrite::Open(const char* kind)
{
    const qor::CancelGuard guard;
    const bool isOperationLog = kind != nullptr && std::strcmp(kind, qor::kOperationSuffix) == 0;
    SLogFile* const file = isOperationLog ? operationLog_.get() : debugLog_.get();
    file->kind = isOperationLog ? qor::kOperationKind : qor::kDebugKind;
    file->suffix = isOperationLog ? qor::kOperationSuffix : qor::kDebugSuffix;

    std::list<std::string> names;
    (void)GetFileList(component_.c_str(), file->suffix.c_str(), names);  // none when it fails
    while (!names.empty() && qor::IsCompressed(names.front()))
        names.pop_front();
    if (names.empty())
        CreateFileName(file);
    else
        file->name = names.front();  // Intended: the oldest; see the header.

    qor::OpenLog(*file, logDirectory_);
    return 0;
}

void CTraceWrite::WriteOperationLog(const char* read, const char* body)
{
    if (read == nullptr || body == nullptr || (mode_ & CTraceUtility::WRITE_MODE_TRACE) == 0)
        return;

    const std::size_t readLength = std::strlen(read);
    const std::size_t bodyLength = std::strlen(body);
    qor::LogRecord record(readLength + bodyLength + 3);
    record.Append(" ");
    record.Append({read, readLength});
    record.Append(" ");
    record.Append({body, bodyLength});
    record.Append("\n");
    qor::WriteStamped(*this, *mutex_, *operationLog_, record);
}

bool CTraceWrite::IsDebugWanted(CTraceUtility::TRACE_DBG_LEVEL level) const
{
    return settings_ != nullptr && (mode_ & CTraceUtility::WRITE_MODE_DEBUG) != 0 &&
           (settings_->traceLevel & level) != 0;
}

void CTraceWrite::WriteDebugLog(CTraceUtility::TRACE_DBG_LEVEL level, const char* text)
{
    if (text == nullptr || !IsDebugWanted(level))
        return;
    try {
        constexpr std::size_t kHeadSize = 32;  // thread, level text, what is around them
        const std::size_t length = std::strlen(text);
        qor::LogRecord record(kHeadSize + length);
        record.Append(" ThId:0x");
        record.AppendHex(static_cast<std::uint32_t>(qor::ThreadId()));
        record.Append(" ");
        record.Append(GetDebugLevelString(level));
        record.Append(" ");
        record.Append({text, length});
        record.Append("\n");
        qor::WriteStamped(*this, *mutex_, *debugLog_, record);
    } catch (const std::bad_alloc&) {
        // The record is dropped.
    }
}

void CTraceWrite::WriteEventLog(unsigned short eventType, const char* text)
{
    const int priority = PriorityOfEvent(eventType);
    if (text == nullptr || priority < 0)
        return;
    // Intended: the text is the format; see the header.
    const std::size_t limit = std::strlen(text) + kMaxEventGrowth;
    SystemLog(priority, "%s", qor::ExpandWithoutArguments(text, limit).c_str());
}

bool CTraceWrite::GetMessageInfo(const char* id, Msg_Info* info)
{
    if (id == nullptr || info == nullptr || settings_ == nullptr)
        return false;

    if (const Msg_Info* const entry = qor::FindMessage(*settings_, id)) {
        *info = *entry;
    } else {
        info->format = std::string("[Error] Message ID Not Found!! id=(") + id + ")";
        info->read = "0xFFFFFFFF";
        info->type.clear();
        info->event = 0;
    }
    return true;
}

bool CTraceWrite::isSizeOver(SLogFile* file, unsigned long length)
{
    return file == nullptr || qor::IsFull(*file, length);
}

void CTraceWrite::rotate(SLogFile* file)
{
    if (file == nullptr)
        return;

    const qor::CancelGuard guard;
    file->stream.close();
    if (compress_ && qor::CompressRotated(file->path)) {
        file->name.clear();
        file->path.clear();
    }

    std::list<std::string> names;
    const bool isOperationLog = file->kind == qor::kOperationKind;
    (void)GetFileList(component_.c_str(),
                      isOperationLog ? qor::kOperationSuffix : qor::kDebugSuffix,
                      names);  // none when it fails
    qor::RemoveOldest(logDirectory_, names);

    CreateFileName(file);
    qor::OpenLog(*file, logDirectory_);
}

int CTraceWrite::compress(std::string path)
{
    const qor::CancelGuard guard;
    return qor::Compress(path);
}
