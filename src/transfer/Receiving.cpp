// CFileTransfer's responses: waited for, read and deleted.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/Files.h"
#include "base/Handles.h"
#include "CFileTransfer.h"
#include "trace/TraceScope.h"
#include "transfer/Spool.h"

namespace {

constexpr char kSignature[] = "int CFileTransfer::RecvMessage(char*, int, int)";

constexpr long kPollLimit = 30000000;      // microseconds of sleep while untaken
constexpr int kReadTries = 10;             // of a response that is still empty
constexpr useconds_t kReadPause = 100000;  // microseconds between them

// A path that cannot be looked at is not known to be gone.
bool IsGone(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// Polls until the response is there, and opens it in `file` unless it cannot be opened. False when
// the request has lain untaken for too long.
bool WaitForResponse(const qor::TraceScope& trace, const std::string& response,
                     const std::string& request, int interval, qor::UniqueFd& file)
{
    if (interval <= 0) {
        trace.Fail("polling interval is not positive (%d)", interval);
        return false;
    }

    long budget = kPollLimit / interval;
    for (;;) {
        // A response is mostly seen by opening it at once; stat(2) tells the others.
        file = qor::OpenForReading(response);
        if (file || (errno != ENOENT && qor::Exists(response)))
            return true;

        (void)::usleep(static_cast<useconds_t>(interval));  // a signal only shortens one poll
        // Intended: once the server has taken the request, waiting costs no budget.
        if (!IsGone(request) && --budget <= 0) {
            trace.Fail("client file timed out (%s)", request.c_str());
            (void)::unlink(request.c_str());  // gone already: the server has just taken it
            return false;
        }
    }
}

// Only a record depends on the size of the file, so it is not asked for without one.
void TraceTooLong(const qor::TraceScope& trace, int file, int size)
{
    if (!trace.IsWanted(CTraceUtility::TRACE_DBG_FAIL))
        return;
    struct stat status;
    if (::fstat(file, &status) == 0 && size < status.st_size)
        trace.Fail("data read buffer is too small (%d/%d)", size, static_cast<int>(status.st_size));
}

// `file`: the response, where it is open already. False when it cannot be opened.
bool ReadResponse(const qor::TraceScope& trace, const std::string& response, qor::UniqueFd file,
                  char* buffer, int size, int& length)
{
    int readError = 0;
    for (int tries = 0; tries < kReadTries; ++tries) {
        if (!file)
            file = qor::OpenForReading(response);
        if (!file) {
            trace.Fail("failed to open recv file (%s)", std::strerror(errno));
            return false;
        }
        TraceTooLong(trace, file.get(), size);

        length = static_cast<int>(
            ::read(file.get(), buffer, static_cast<std::size_t>(std::max(size, 0))));
        readError = errno;
        (void)file.Close();
        if (length != 0)
            break;
        (void)::usleep(kReadPause);
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
    const qor::TraceScope trace(tag_, kSignature);
    trace.Enter();
    if (buffer == nullptr) {
        trace.Fail("no receive buffer");
        return -1;
    }

    const std::string response = qor::JoinPath(serverDir_, currentFile_);
    trace.Info("wait for %s", response.c_str());
    qor::UniqueFd file;
    if (!WaitForResponse(trace, response, qor::JoinPath(clientDir_, currentFile_), interval_, file))
        return -1;

    int length = 0;
    if (!ReadResponse(trace, response, std::move(file), buffer, size, length))
        return -1;

    if (trace.IsWanted(CTraceUtility::TRACE_DBG_INFO)) {
        trace.Write(CTraceUtility::TRACE_DBG_INFO,
                    "- client-recv LENGTH=" + std::to_string(length) + ": " + response);
        if (length > 0)
            qor::TraceBody(trace, std::string_view(buffer, std::strlen(buffer)));
    }
    if (::unlink(response.c_str()) != 0)
        trace.Info("failed to delete file (%s)", std::strerror(errno));
    trace.Leave(", rc=" + std::to_string(length));
    return length;
}
