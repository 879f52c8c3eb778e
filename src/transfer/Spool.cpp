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
    const bool endsInSlash = !directory.empty() && directory.back() == '/';
    std::string path(directory.size() + (endsInSlash ? 0 : 1) + name.size(), '/');
    directory.copy(&path[0], directory.size());
    name.copy(&path[path.size() - name.size()], name.size());
    return path;
}

void TraceBody(const TraceScope& trace, std::string_view body)
{
    for (; !body.empty(); body.remove_prefix(std::min(body.size(), kTracePiece)))
        trace.Write(CTraceUtility::TRACE_DBG_INFO, "\t" + std::string(body.substr(0, kTracePiece)));
}

}  // namespace qor
