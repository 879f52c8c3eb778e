#include "CTraceWrite.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>
#include <ext/stdio_filebuf.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/Files.h"
#include "base/Format.h"
#include "base/LocalTime.h"
#include "base/ThreadId.h"

namespace {

constexpr char kOperationSuffix[] = "_trc";
constexpr char kDebugSuffix[] = "_dbg";
constexpr int kOperationKind = 1;
constexpr int kDebugKind = 2;

constexpr unsigned int kCompressLevel = 64;       // bit of the trace level
constexpr unsigned long kMaxFileSize = 0x9FFFFF;  // bytes; no write makes a file 10 MiB long
constexpr std::size_t kMaxOldFiles = 4;           // beside the new one
constexpr std::size_t kMaxCommand = 1024;         // bytes, NUL included
constexpr std::size_t kMaxEventGrowth = 8191;     // bytes that conversions may add to an event
constexpr std::size_t kUnbuffered = 1;            // size of a stream buffer that holds nothing
constexpr mode_t kLogFileMode = 0666;             // before the umask, as streams make files

// Holds a writer's lock as long as it lives.
class WriterLock
{
public:
    explicit WriterLock(CMutexUtil& mutex) : mutex_(mutex) { (void)mutex_.Lock(-1); }
    ~WriterLock() { mutex_.Unlock(); }
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;

private:
    CMutexUtil& mutex_;
};

// A record. What follows its time stamp is put together before the lock is taken, the stamp goes in
// front of it under the lock. It stays on the stack unless its text, or a catalogue's type, is
// long.
class Record
{
public:
    // rest: bytes behind the stamp.
    // cppcheck-suppress uninitMemberVar ; the stack is read only where it was filled
    explicit Record(std::size_t rest)
        : heap_(rest > kStackSize ? new char[qor::kMaxLocalTime + rest] : nullptr),
          begin_((heap_ ? heap_.get() : stack_) + qor::kMaxLocalTime),
          end_(begin_)
    {
    }

    void Append(std::string_view text)
    {
        std::memcpy(end_, text.data(), text.size());
        end_ += text.size();
    }

    // "%08x"
    void AppendHex(std::uint32_t number)
    {
        for (int shift = 28; shift >= 0; shift -= 4)
            *end_++ = "0123456789abcdef"[(number >> shift) & 0xF];
    }

    void Stamp(std::string_view stamp)
    {
        begin_ -= stamp.size();
        std::memcpy(begin_, stamp.data(), stamp.size());
    }

    const char* data() const { return begin_; }
    std::size_t size() const { return static_cast<std::size_t>(end_ - begin_); }

private:
    static constexpr std::size_t kStackSize = 4096 + 256;

    char stack_[qor::kMaxLocalTime + kStackSize];
    std::unique_ptr<char[]> heap_;
    char* begin_;
    char* end_;
};

// Knows a file buffer's descriptor, as __gnu_cxx::stdio_filebuf does for those that it made.
struct FileBuffer : std::filebuf {
    static int Descriptor(std::filebuf& buffer) { return (buffer.*&FileBuffer::_M_file).fd(); }
};

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
        if (Open(kOperationSuffix) != 0)
            return;
        mode_ = mode | CTraceUtility::WRITE_MODE_TRACE;
    }
    if ((mode & CTraceUtility::WRITE_MODE_DEBUG) != 0) {
        if (Open(kDebugSuffix) != 0)
            return;
        mode_ = mode | CTraceUtility::WRITE_MODE_DEBUG;
    }
}

CTraceWrite::~CTraceWrite() = default;

int CTraceWrite::Open(const char* kind)
{
    const bool isOperationLog = kind != nullptr && std::strcmp(kind, kOperationSuffix) == 0;
    SLogFile* const file = isOperationLog ? operationLog_.get() : debugLog_.get();
    file->kind = isOperationLog ? kOperationKind : kDebugKind;
    file->suffix = isOperationLog ? kOperationSuffix : kDebugSuffix;

    std::list<std::string> names;
    (void)GetFileList(component_.c_str(), file->suffix.c_str(), names);  // none when it fails
    while (!names.empty() && names.front().find(".gz") != std::string::npos)
        names.pop_front();
    if (names.empty())
        CreateFileName(file);
    else
        file->name = names.front();  // Intended: the oldest; see the header.

    OpenStream(file);
    return 0;
}

void CTraceWrite::OpenStream(SLogFile* file)
{
    file->path = logDirectory_ + "/" + file->name;
    file->stream.close();
    file->stream.clear();

    qor::UniqueFd fd(
        ::open(file->path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kLogFileMode));
    if (!fd || ::lseek(fd.get(), 0, SEEK_END) < 0) {
        file->stream.setstate(std::ios::failbit);
        return;
    }

    // A stream cannot be told to open close-on-exec, so it is given the open descriptor; without
    // a buffer of its own, since each record is one write.
    const int number = fd.Release();  // the buffer closes it, unless it cannot take it over
    __gnu_cxx::stdio_filebuf<char> opened(number, std::ios::out | std::ios::app, kUnbuffered);
    if (!opened.is_open()) {
        (void)::close(number);
        file->stream.setstate(std::ios::failbit);
        return;
    }
    *file->stream.rdbuf() = std::move(opened);
}

void CTraceWrite::WriteOperationLog(const char* read, const char* body)
{
    if (read == nullptr || body == nullptr || (mode_ & CTraceUtility::WRITE_MODE_TRACE) == 0)
        return;

    const std::size_t readLength = std::strlen(read);
    const std::size_t bodyLength = std::strlen(body);
    Record record(readLength + bodyLength + 3);
    record.Append(" ");
    record.Append({read, readLength});
    record.Append(" ");
    record.Append({body, bodyLength});
    record.Append("\n");

    const WriterLock lock(*mutex_);
    record.Stamp(qor::LocalTimeOfThisSecond());  // under the lock: a file's stamps ascend
    WriteLine(operationLog_.get(), record.data(), record.size());
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
        Record record(kHeadSize + length);
        record.Append(" ThId:0x");
        record.AppendHex(static_cast<std::uint32_t>(qor::ThreadId()));
        record.Append(" ");
        record.Append(GetDebugLevelString(level));
        record.Append(" ");
        record.Append({text, length});
        record.Append("\n");

        const WriterLock lock(*mutex_);
        record.Stamp(qor::LocalTimeOfThisSecond());  // under the lock: a file's stamps ascend
        WriteLine(debugLog_.get(), record.data(), record.size());
    } catch (const std::bad_alloc&) {
        // The record is dropped.
    }
}

// With the lock held.
void CTraceWrite::WriteLine(SLogFile* file, const char* line, unsigned long length)
{
    if (isSizeOver(file, length))
        rotate(file);
    if (!file->stream.is_open())
        return;

    // What a derived class has put into the stream comes first. The record itself goes past the
    // stream, which would have to be cleared of the failure on a full disk: an error that stayed
    // would look like an unknown position, and each further record would rotate an older file away.
    std::filebuf& buffer = *file->stream.rdbuf();
    (void)buffer.pubsync();
    (void)qor::WriteAll(FileBuffer::Descriptor(buffer), {line, length});  // a full disk loses it
}

void CTraceWrite::WriteEventLog(unsigned short eventType, const char* text)
{
    if (text == nullptr)
        return;

    int priority;
    switch (eventType) {
        case 1:
            priority = LOG_ERR;
            break;
        case 2:
            priority = LOG_WARNING;
            break;
        case 4:
            priority = LOG_INFO;
            break;
        default:
            return;
    }
    // Intended: the text is the format; see the header.
    const std::size_t limit = std::strlen(text) + kMaxEventGrowth;
    SystemLog(priority, "%s", qor::ExpandWithoutArguments(text, limit).c_str());
}

const Msg_Info* CTraceWrite::FindMessage(const char* id) const
{
    if (settings_ == nullptr)
        return nullptr;
    const auto entry = settings_->messages.find(id);
    return entry == settings_->messages.end() ? nullptr : &entry->second;
}

bool CTraceWrite::GetMessageInfo(const char* id, Msg_Info* info)
{
    if (id == nullptr || info == nullptr || settings_ == nullptr)
        return false;

    if (const Msg_Info* const entry = FindMessage(id)) {
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
    if (file == nullptr || !file->stream.is_open())
        return true;
    const std::streamoff position = file->stream.tellp();
    return position < 0 || length > kMaxFileSize ||
           static_cast<unsigned long>(position) > kMaxFileSize - length;
}

void CTraceWrite::rotate(SLogFile* file)
{
    if (file == nullptr)
        return;

    file->stream.close();
    // Where somebody has removed the file there is nothing to compress; where the result is there
    // already, gzip would ask on a terminal whether to overwrite it.
    const bool compressible = qor::Exists(file->path) && !qor::Exists(file->path + ".gz");
    if (compress_ && compressible && compress(file->path) == 0) {
        file->name.clear();
        file->path.clear();
    }

    std::list<std::string> names;
    const char* const suffix = file->kind == kOperationKind ? kOperationSuffix : kDebugSuffix;
    (void)GetFileList(component_.c_str(), suffix, names);  // none when it fails
    while (names.size() > kMaxOldFiles) {
        (void)::unlink((logDirectory_ + "/" + names.front()).c_str());  // next time, if it fails
        names.pop_front();
    }

    CreateFileName(file);
    OpenStream(file);
}

int CTraceWrite::compress(std::string path)
{
    char command[kMaxCommand];
    (void)std::snprintf(command, sizeof command, "gzip -9 %s", path.c_str());
    return std::system(command);
}
