#include "CTraceUtility.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Format.h"
#include "base/Paths.h"
#include "CTraceRead.h"
#include "CTraceWrite.h"
#include "trace/Catalogue.h"
#include "trace/LogRecord.h"
#include "trace/OperationLog.h"
#include "trace/WriterRegistry.h"

namespace {

constexpr std::size_t kTextSize = 4096;  // of a record's formatted text, NUL included
constexpr std::size_t kTypeWidth = 8;
constexpr unsigned short kErrorEvent = 1;
constexpr unsigned short kInformationEvent = 4;

// Tracing must not change what its caller is about to report.
class ErrnoKeeper
{
public:
    ErrnoKeeper() : saved_(errno) {}
    ~ErrnoKeeper() { errno = saved_; }
    // Sets errno to the caller's, for "%m".
    void Restore() const { errno = saved_; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    int saved_;
};

// The registered writer of a component, or one made for this call.
class WriterForCall
{
public:
    WriterForCall(CTraceWrite* registered, const char* component, CTraceUtility::WRITE_MODE mode)
        : writer_(registered)
    {
        if (writer_ == nullptr) {
            temporary_ = std::make_unique<CTraceWrite>(component, mode);
            writer_ = temporary_.get();
        }
    }
    CTraceWrite* operator->() const { return writer_; }
    CTraceWrite& operator*() const { return *writer_; }

private:
    std::unique_ptr<CTraceWrite> temporary_;
    CTraceWrite* writer_;
};

// Apart from WriteDebug, so that a rejected record needs neither the room nor the set-up of a text.
[[gnu::noinline]] void WriteFormatted(CTraceWrite* registered, const char* component,
                                      CTraceUtility::TRACE_DBG_LEVEL level, const char* format,
                                      std::va_list arguments)
{
    const ErrnoKeeper keeper;
    try {
        const WriterForCall writer(registered, component, CTraceUtility::WRITE_MODE_DEBUG);
        if (writer->IsDebugWanted(level)) {
            char text[kTextSize];
            keeper.Restore();
            (void)qor::FormatInto(text, sizeof text, format, arguments);
            writer->WriteDebugLog(level, text);
        }
    } catch (...) {
        // The record is dropped: logging never fails its caller.
    }
}

// The width of the type with its padding.
std::size_t WidthOf(const std::string& type)
{
    return std::max(type.size() + 1, kTypeWidth);
}

std::size_t RoomFor(const Msg_Info& message)
{
    return message.read.size() + WidthOf(message.type) + kTextSize + 3;  // blanks, line feed
}

// Appends " READ BODY\n" and returns the body: the type, padded, and the text.
std::string_view AppendMessage(qor::LogRecord& record, const Msg_Info& message, bool isFormat,
                               std::va_list arguments)
{
    record.Append(" ");
    record.Append(message.read.c_str());
    record.Append(" ");
    const std::size_t body = record.text().size();
    record.Append(message.type);
    record.Append(WidthOf(message.type) - message.type.size(), ' ');
    const char* const text = message.format.c_str();
    if (isFormat)
        record.AppendFormatted(kTextSize, text, arguments);
    else
        record.Append(std::string_view(text).substr(0, kTextSize - 1));
    const std::string_view appended = record.EndAtNul(body);
    record.Append("\n");
    return appended;
}

}  // namespace

void CTraceUtility::Initialize(const char* component, WRITE_MODE mode)
{
    if (component == nullptr || getTraceObject(component) != nullptr)
        return;
    const ErrnoKeeper keeper;
    try {
        qor::WriterRegistry::Add(component, std::make_unique<CTraceWrite>(component, mode));
    } catch (...) {
        // The component stays as it was: each of its records gets its own writer.
    }
}

void CTraceUtility::Terminate(const char* component)
{
    if (component == nullptr)
        return;
    const ErrnoKeeper keeper;
    qor::WriterRegistry::Remove(component);
}

void CTraceUtility::WriteTrace(const char* component, const char* messageId, ...)
{
    if (component == nullptr || messageId == nullptr)
        return;

    const ErrnoKeeper keeper;
    std::va_list arguments;
    va_start(arguments, messageId);
    try {
        const WriterForCall writer(getTraceObject(component), component, WRITE_MODE_TRACE);
        const Setting_Info* const settings = writer->settings_;
        const Msg_Info* const known =
            settings == nullptr ? nullptr : qor::FindMessage(*settings, messageId);
        std::optional<Msg_Info> unknown;
        if (known != nullptr || writer->GetMessageInfo(messageId, &unknown.emplace())) {
            const Msg_Info& message = known != nullptr ? *known : *unknown;
            qor::LogRecord record(RoomFor(message));
            // Two kinds of text are not formats: that of an unknown identifier, which names the
            // identifier, and one with "%n" ("50% new" holds one), which would store through an
            // argument.
            const bool isFormat =
                known != nullptr && !qor::MayStoreThroughArgument(message.format.c_str());
            keeper.Restore();
            const std::string_view body = AppendMessage(record, message, isFormat, arguments);
            if ((writer->mode_ & WRITE_MODE_TRACE) != 0)
                qor::WriteStamped(*writer, *writer->mutex_, *writer->operationLog_, record);
            if (message.event != 0)
                writer->WriteEventLog(message.type == "fail" ? kErrorEvent : kInformationEvent,
                                      std::string(body).c_str());
        }
    } catch (...) {
        // The record is dropped: logging never fails its caller.
    }
    va_end(arguments);
}

void CTraceUtility::WriteDebug(const char* component, TRACE_DBG_LEVEL level, const char* format,
                               ...)
{
    if (component == nullptr || format == nullptr)
        return;
    // As IsDebugWanted, but in place: most records are rejected here, without a single call.
    CTraceWrite* const writer = qor::WriterRegistry::Find(component);
    if (writer != nullptr &&
        (writer->settings_ == nullptr || (writer->mode_ & WRITE_MODE_DEBUG) == 0 ||
         (writer->settings_->traceLevel & level) == 0))
        return;

    std::va_list arguments;
    va_start(arguments, format);
    WriteFormatted(writer, component, level, format, arguments);
    va_end(arguments);
}

void CTraceUtility::ReadTrace(const char* component, TRACE_READ_TYPE type, unsigned int count,
                              std::list<std::string>& records, std::string* fromDate)
{
    const ErrnoKeeper keeper;
    const std::list<std::string> former =
        std::exchange(records, {});  // the arguments may lie in it
    if (component == nullptr || fromDate == nullptr)
        return;
    // As ReadOperationLog, without the working list, which nobody would read.
    CTraceRead reader(component);
    std::list<std::string> found;
    qor::ReadRecords(reader, qor::paths::kLogDirectory, component, type, *fromDate,
                     [&](const qor::StoredRecord& record, std::size_t) {
                         if (found.size() < count)
                             found.push_back(record.Text());
                     });
    records = std::move(found);
}

CTraceWrite* getTraceObject(const char* component)
{
    return component == nullptr ? nullptr : qor::WriterRegistry::Find(component);
}
