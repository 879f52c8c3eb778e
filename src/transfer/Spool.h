// Spool.h - names and paths of the files that carry messages, and the debug records of their text.
#ifndef QOR_TRANSFER_SPOOL_H
#define QOR_TRANSFER_SPOOL_H

#include <sys/time.h>

#include <string>
#include <string_view>

#include "trace/TraceScope.h"

namespace qor {

// A part of the names of published messages.
constexpr char kMessageExtension[] = ".snd";

// The name of a file that is being written: time stamp, tag, ".tmp".
std::string TemporaryName(const timeval& moment, const std::string& tag);

// The name under which that file is published: cut before its first ".tmp", with ".snd" appended.
std::string MessageName(const std::string& temporaryName);

// The directory, "/" unless it ends in one, the name.
std::string JoinPath(const std::string& directory, std::string_view name);

// Records a message's bytes at level TRACE_DBG_INFO, in pieces that a record has room for.
void TraceBody(const TraceScope& trace, std::string_view body);

}  // namespace qor

#endif  // QOR_TRANSFER_SPOOL_H
