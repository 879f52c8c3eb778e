// CFileTransfer's responses: waited for, read and deleted.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/Handles.h"
#include "base/Sleep.h"
#include "CFileTransfer.h"
#include "trace/TraceScope.h"
#include "transfer/Spool.h"

namespace {

constexpr char kReceive[] = "int CFileTransfer::RecvMessage(char*, int, int)";

constexpr long kPollLimit = 30000000;  // microseconds of sleep while untaken
constexpr int kReadTries = 10;         // of a response that is still empty
constexpr int kReadPause = 100000;     // microseconds between them

// A path whose stat(2) fails for another reason may still exist.
bool IsGone(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// An opened response, or the error that prevented it.
struct Response {
    qor::UniqueFd file;
    off_t size = 0;
    int error = 0;
};

// Only a regular file can be opened: a link is not followed, a FIFO not waited for.
Response OpenResponse(const std::string& path)
{
    Response response;
    struct stat status;
    response.file = qor::OpenRegular(path.c_str(), O_RDONLY | O_NONBLOCK, status);
    if (response.file)
        response.size = status.st_size;
    else if (status.st_mode == 0)
        response.error = errno;
    else
        response.error = S_ISDIR(status.st_mode) ? EISDIR : ENXIO;
    return response;
}

void Pause(const qor::CancelGuard& guard, int microseconds)
{
    const qor::CancelWindow window(guard);
    qor::SleepMicroseconds(microseconds);
}

// Polls until the response exists; `response` is then open or has an error. False when the request
// has been untaken for too long, or the interval is not positive.
bool WaitForResponse(const qor::TraceScope& trace, const qor::CancelGuard& guard,
                     const std::string& path, const std::string& request, int interval,
                     Response& response)
{
    if (interval <= 0) {
        trace.Fail("polling interval is not positive (%d)", interval);
        return false;
    }

    long budget = kPollLimit / interval;
    for (;;) {
        // Opening it finds most responses at once; stat(2) finds those that do not open.
        response = OpenResponse(path);
        if (response.file || (response.error != ENOENT && qor::Exists(path)))
            return true;

        Pause(guard, interval);
        // Intended: once the server has taken the request, waiting costs no budget.
        if (!IsGone(request) && --budget <= 0) {
            trace.Fail("client file timed out (%s)", request.c_str());
            (void)::unlink(request.c_str());  // gone already: the server has just taken it
            return false;
        }
    }
}

// `response`: as it was opened for the first try. False when it cannot be opened.
bool ReadResponse(const qor::TraceScope& trace, const qor::CancelGuard& guard,
                  const std::string& path, Response response, char* buffer, int size, int& length)
{
    int readError = 0;
    for (int tries = 0; tries < kReadTries; ++tries) {
        if (tries > 0)
            response = OpenResponse(path);
        if (!response.file) {
            trace.Fail("failed to open recv file (%s)", std::strerror(response.error));
            return false;
        }
        if (size < response.size)
            trace.Fail("data read buffer is too small (%d/%d)", size,
                       static_cast<int>(response.size));

        length = static_cast<int>(
            ::read(response.file.get(), buffer, static_cast<std::size_t>(std::max(size, 0))));
        readError = errno;
        (void)response.file.Close();
        if (length != 0)
            break;
        Pause(guard, kReadPause);
    }

    if (length != 0)
        buffer[length] = '\0';  // Intended: also at -1 and at `size`; see the header.
    if (length < 0)
        trace.Info("read data length failed (%s, %d)", std::strerror(readError), length);
    return true;
}

}  // namespace

int CFileTransfer::RecvMessage(char* buffer, int size, int)
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace(tag_, kReceive);
    trace.Enter();
    if (buffer == nullptr) {
        trace.Fail("no receive buffer");
        return -1;
    }

    const std::string path = qor::JoinPath(serverDir_, currentFile_);
    trace.Info("wait for %s", path.c_str());
    Response response;
    if (!WaitForResponse(trace, guard, path, qor::JoinPath(clientDir_, currentFile_), interval_,
                         response))
        return -1;

    int length = 0;
    if (!ReadResponse(trace, guard, path, std::move(response), buffer, size, length))
        return -1;

    if (trace.IsWanted(CTraceUtility::TRACE_DBG_INFO)) {
        trace.Write(CTraceUtility::TRACE_DBG_INFO,
                    "- client-recv LENGTH=" + std::to_string(length) + ": " + path);
        if (length > 0)
            qor::TraceBody(trace, std::string_view(buffer, std::strlen(buffer)));
    }
    if (::unlink(path.c_str()) != 0)
        trace.Info("failed to delete file (%s)", std::strerror(errno));
    trace.Leave(", rc=" + std::to_string(length));
    return length;
}
