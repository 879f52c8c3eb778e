#include "transfer/Spool.h"

#include <algorithm>

#include "base/TimeStamp.h"

namespace qor {

namespace {

constexpr char kTemporaryExtension[] = ".tmp";
constexpr std::size_t kTracePiece = 1024;  // bytes of a message in one debug record

}  // namespace

std::string TemporaryName(const timeval& moment, const std::string& tag)
{
    return FormatTimeStamp(moment) + tag + kTemporaryExtension;
}

std::string MessageName(const std::string& temporaryName)
{
    return temporaryName.substr(0, temporaryName.find(kTemporaryExtension)) + kMessageExtension;
}

std::string JoinPath(const std::string& directory, std::string_view name)
{
    std::string path;
    path.reserve(directory.size() + 1 + name.size());  // one allocation
    path = directory;
    if (directory.empty() || directory.back() != '/')
        path += '/';
    return path += name;
}

void TraceBody(const TraceScope& trace, std::string_view body)
{
    for (; !body.empty(); body.remove_prefix(std::min(body.size(), kTracePiece)))
        trace.Write(CTraceUtility::TRACE_DBG_INFO, "\t" + std::string(body.substr(0, kTracePiece)));
}

}  // namespace qor
