// CFileTransfer's requests: written under a temporary name, then published by rename(2).
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/Handles.h"
#include "base/TimeStamp.h"
#include "CFileTransfer.h"
#include "trace/TraceScope.h"
#include "transfer/Spool.h"

namespace {

constexpr char kSignature[] = "int CFileTransfer::SendMessage(std::string)";
constexpr mode_t kMessageMode = 0770;

// rename(2) that fails with EEXIST rather than replace a file, where the file system can do that.
bool RenameUnlessTaken(const std::string& from, const std::string& to)
{
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
}

// Creates a file of a new name in the directory. Empty with errno when that fails.
qor::UniqueFd CreateTemporary(const std::string& directory, const std::string& tag,
                              std::string& name)
{
    // Exclusive creation makes the name ours; a taken one is retried with a fresh time stamp.
    qor::UniqueFd file;
    do {
        name = qor::TemporaryName(qor::Now(), tag);
        file = qor::UniqueFd(::open(qor::JoinPath(directory, name).c_str(),
                                    O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMessageMode));
    } while (!file && errno == EEXIST);
    return file;
}

// False with errno, and a file that is left behind, when not all is written by one write(2).
bool WriteMessage(const qor::TraceScope& trace, const std::string& message, qor::UniqueFd file)
{
    errno = 0;  // a short write sets none
    const ssize_t written = ::write(file.get(), message.data(), message.size());
    const int error = errno;
    (void)file.Close();
    if (written == static_cast<ssize_t>(message.size()))
        return true;

    trace.Fail("data write error (%s, %d)", std::strerror(error), static_cast<int>(written));
    errno = error;
    return false;
}

// Returns the name under which the file was published, or was to be: a failure is only traced.
std::string Publish(const qor::TraceScope& trace, const std::string& directory,
                    const std::string& tag, std::string name)
{
    const std::string temporary = qor::JoinPath(directory, name);

    // rename(2) publishes the whole message at once. Another client of this tag that drew the same
    // stamp, and whose temporary file is renamed already, has the name: then a fresh stamp is
    // drawn, and only a clock that stands still leaves the name as it is.
    std::string published;
    for (;;) {
        published = qor::MessageName(name);
        if (RenameUnlessTaken(temporary, qor::JoinPath(directory, published)))
            return published;
        if (errno != EEXIST)
            break;
        std::string fresh = qor::TemporaryName(qor::Now(), tag);
        if (fresh == name)
            break;
        name = std::move(fresh);
    }
    if (::rename(temporary.c_str(), qor::JoinPath(directory, published).c_str()) != 0)
        trace.Fail("%s rename failed (%s)", temporary.c_str(), std::strerror(errno));
    return published;
}

}  // namespace

int CFileTransfer::SendMessage(std::string message)
{
    const qor::TraceScope trace(tag_, kSignature);
    const int length = static_cast<int>(message.size());
    trace.Enter();
    if (trace.IsWanted(CTraceUtility::TRACE_DBG_INFO)) {
        trace.Write(CTraceUtility::TRACE_DBG_INFO,
                    "- client-send LENGTH=" + std::to_string(length));
        qor::TraceBody(trace, message);
    }

    std::string temporary;
    qor::UniqueFd file = CreateTemporary(clientDir_, tag_, temporary);
    if (!file) {
        trace.Fail("file create error (%s)", std::strerror(errno));
        return -1;
    }
    if (!WriteMessage(trace, message, std::move(file)))
        return -1;
    currentFile_ = Publish(trace, clientDir_, tag_, std::move(temporary));

    trace.Info("send file saved to %s (%d)", qor::JoinPath(clientDir_, currentFile_).c_str(),
               length);
    trace.Leave();
    return length;
}
