// LogRecord.h - one line of a log, put together in memory for one write.
#ifndef QOR_TRACE_LOGRECORD_H
#define QOR_TRACE_LOGRECORD_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/Format.h"
#include "base/LocalTime.h"
#include "base/PieceReader.h"

class CMutexUtil;
class CTraceWrite;
struct SLogFile;

namespace qor {

// What follows the time stamp is appended before the log is locked; the stamp is put in front of it
// under the lock. A record stays on the stack unless its text, or a catalogue's type, is long.
class LogRecord
{
public:
    // rest: bytes after the stamp.
    // cppcheck-suppress uninitMemberVar ; the stack is read only where it was filled
    explicit LogRecord(std::size_t rest)
        : heap_(rest > kStackSize ? new char[kMaxLocalTime + rest] : nullptr),
          begin_((heap_ ? heap_.get() : stack_) + kMaxLocalTime),
          end_(begin_)
    {
    }

    void Append(std::string_view text)
    {
        std::memcpy(end_, text.data(), text.size());
        end_ += text.size();
    }

    void Append(std::size_t count, char character)
    {
        std::memset(end_, character, count);
        end_ += count;
    }

    // As FormatInto: at most size - 1 bytes of text, in a room of `size` bytes.
    void AppendFormatted(std::size_t size, const char* format, std::va_list arguments)
    {
        end_ += FormatInto(end_, size, format, arguments);
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

    std::string_view text() const { return {begin_, static_cast<std::size_t>(end_ - begin_)}; }

    // Ends the record at the first NUL from `offset` on. Returns the text from there, valid as long
    // as the record.
    std::string_view EndAtNul(std::size_t offset)
    {
        const std::string_view rest = BeforeNul(text().substr(offset));
        end_ = begin_ + offset + rest.size();
        return rest;
    }

private:
    static constexpr std::size_t kStackSize = 4096 + 256;

    char stack_[kMaxLocalTime + kStackSize];
    std::unique_ptr<char[]> heap_;
    char* begin_;
    char* end_;
};

// Writes the record to a file of the writer, whose lock is `mutex`. Rotates the file first if the
// record does not fit.
void WriteStamped(CTraceWrite& writer, CMutexUtil& mutex, SLogFile& file, LogRecord& record);

}  // namespace qor

#endif  // QOR_TRACE_LOGRECORD_H
