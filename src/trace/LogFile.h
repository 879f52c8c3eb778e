// LogFile.h - the open file of a log: opening it, its size, writing a record.
#ifndef QOR_TRACE_LOGFILE_H
#define QOR_TRACE_LOGFILE_H

#include <string>
#include <string_view>

#include "CTraceBase.h"

namespace qor {

// The kinds of logs: SLogFile::kind and SLogFile::suffix.
constexpr int kOperationKind = 1;
constexpr int kDebugKind = 2;
constexpr char kOperationSuffix[] = "_trc";
constexpr char kDebugSuffix[] = "_dbg";

constexpr unsigned long kMaxFileSize = 0x9FFFFF;  // bytes; no write makes a file 10 MiB long

// By its name alone.
inline bool IsCompressed(const std::string& name)
{
    return name.find(".gz") != std::string::npos;
}

// Sets the file's path and opens it for appending, positioned at its end. Follows no link, and
// opens no FIFO, socket or directory. On failure the stream's failbit is set.
void OpenLog(SLogFile& file, const std::string& directory);

// Whether a record of `length` bytes does not fit into the file, or the position is unknown.
bool IsFull(SLogFile& file, unsigned long length);

// One write of the record, after what a derived class has put into the stream. Does nothing if the
// stream is not open; what does not fit on the disk is lost.
void WriteRecord(SLogFile& file, std::string_view record);

}  // namespace qor

#endif  // QOR_TRACE_LOGFILE_H
