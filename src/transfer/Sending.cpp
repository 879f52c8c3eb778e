// CFileTransfer's requests: written under a temporary name, then published by rename(2).
//
// Clients of one tag must not publish under one name. A client owns a time stamp while its
// temporary file exists, which is created exclusively. The file is published only when the clock no
// longer shows the stamp, so that nobody can draw it again. A client that drew the same stamp
// earlier and was delayed could still create its file then: a stamp that is old when its file is
// created is drawn again.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/CancelGuard.h"
#include "base/Handles.h"
#include "base/Sleep.h"
#include "base/TimeStamp.h"
#include "CFileTransfer.h"
#include "trace/TraceScope.h"
#include "transfer/Spool.h"

namespace {

constexpr char kSend[] = "int CFileTransfer::SendMessage(std::string)";
constexpr mode_t kMessageMode = 0770;

// How long to wait for a clock that stands still.
struct Patience {
    int pauses;
    int microseconds;  // of a pause
};
constexpr Patience kForAStep = {500, 100};        // longer than a step of a kernel's clock
constexpr Patience kForAFreeName = {300, 10000};  // where a request has the name

// Microseconds that may pass between drawing a stamp and creating its file. Each further try
// doubles the limit, as the disk may be slow.
constexpr long kOldStamp = 200;
constexpr int kOldStamps = 10;

struct Draft {
    timeval moment{};
    std::string name;  // of the temporary file
};

struct Request {
    std::string name;
    std::string path;
};

Request RequestOf(const std::string& directory, const Draft& draft)
{
    std::string name = qor::MessageName(draft.name);
    std::string path = qor::JoinPath(directory, name);
    return {std::move(name), std::move(path)};
}

bool IsSame(const timeval& a, const timeval& b)
{
    return a.tv_usec == b.tv_usec && a.tv_sec == b.tv_sec;
}

// Microseconds.
long AgeOf(const timeval& moment)
{
    const timeval now = qor::Now();
    return (now.tv_sec - moment.tv_sec) * 1000000L + (now.tv_usec - moment.tv_usec);
}

// False when the clock still shows that moment in the end.
bool WaitForClock(const timeval& moment, Patience patience)
{
    while (IsSame(qor::Now(), moment)) {
        if (patience.pauses-- == 0)
            return false;
        qor::SleepMicroseconds(patience.microseconds);
    }
    return true;
}

// Draws stamps until `take` gets the name, without a limit. False when it fails with another errno
// than EEXIST.
template <typename Take>
bool TakeName(const qor::CancelGuard& guard, const std::string& tag, Draft& draft, Take take)
{
    for (;;) {
        const timeval former = draft.moment;
        draft.moment = qor::Now();
        draft.name = qor::TemporaryName(draft.moment, tag);
        if (take(draft.name))
            return true;
        if (errno != EEXIST)
            return false;
        if (IsSame(draft.moment, former)) {
            const qor::CancelWindow window(guard);
            qor::SleepMicroseconds(kForAStep.microseconds);
        }
    }
}

// Empty with errno when no file can be made in the directory.
qor::UniqueFd CreateDraft(const qor::CancelGuard& guard, const std::string& directory,
                          const std::string& tag, Draft& draft)
{
    for (int old = 0;; ++old) {
        qor::UniqueFd file;
        (void)TakeName(guard, tag, draft, [&](const std::string& name) {
            file = qor::UniqueFd(::open(qor::JoinPath(directory, name).c_str(),
                                        O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMessageMode));
            return static_cast<bool>(file);
        });
        if (!file || old == kOldStamps || AgeOf(draft.moment) <= kOldStamp << old)
            return file;
        (void)::unlink(qor::JoinPath(directory, draft.name).c_str());
    }
}

// False with errno, 0 after a short write, when one write(2) does not write all; the file stays.
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

// rename(2) that fails with EEXIST rather than replace anything.
bool RenameUnlessTaken(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EEXIST)
        return false;

    // The file system cannot refuse. Nobody else publishes under this stamp: a name that is free
    // now stays free.
    struct stat status;
    if (::lstat(to.c_str(), &status) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

// Removes a draft when a cancellation ends the thread while it waits for a name.
class WaitingDraft
{
public:
    explicit WaitingDraft(const std::string& path) : path_(&path) {}
    WaitingDraft(const WaitingDraft&) = delete;
    WaitingDraft& operator=(const WaitingDraft&) = delete;
    ~WaitingDraft()
    {
        if (path_ != nullptr)
            (void)::unlink(path_->c_str());
    }
    void Keep() { path_ = nullptr; }

private:
    const std::string* path_;
};

bool IsDirectory(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Publishes the draft as the request that `request` is set to. False with EEXIST, and the draft
// removed, when a request has that name and the clock shows no other time. Any other failure of
// rename(2) is only traced.
bool Publish(const qor::TraceScope& trace, const qor::CancelGuard& guard,
             const std::string& directory, const std::string& tag, Draft draft, Request& request)
{
    for (;;) {
        const std::string from = qor::JoinPath(directory, draft.name);
        request = RequestOf(directory, draft);
        const bool moved = WaitForClock(draft.moment, kForAStep);
        if (RenameUnlessTaken(from, request.path))
            return true;

        // Taken: the clock stands still, or was set back to the time of a request that still lies
        // there.
        bool refused = false;
        if (errno == EEXIST) {
            if (!moved && !WaitForClock(draft.moment, kForAFreeName)) {
                refused = !IsDirectory(request.path);
                errno = refused ? EEXIST : EISDIR;
            } else {
                Draft fresh;
                WaitingDraft waiting(from);
                const bool taken = TakeName(guard, tag, fresh, [&](const std::string& name) {
                    return name == draft.name ||
                           RenameUnlessTaken(from, qor::JoinPath(directory, name));
                });
                waiting.Keep();
                if (taken) {
                    draft = std::move(fresh);
                    continue;
                }
                request = RequestOf(directory, fresh);  // never another client's request
            }
        }
        const int error = errno;
        trace.Fail("%s rename failed (%s)", from.c_str(), std::strerror(error));
        if (refused)
            (void)::unlink(from.c_str());
        errno = error;
        return !refused;
    }
}

}  // namespace

int CFileTransfer::SendMessage(std::string message)
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace(tag_, kSend);
    const int length = static_cast<int>(message.size());
    trace.Enter();
    if (trace.IsWanted(CTraceUtility::TRACE_DBG_INFO)) {
        trace.Write(CTraceUtility::TRACE_DBG_INFO,
                    "- client-send LENGTH=" + std::to_string(length));
        qor::TraceBody(trace, message);
    }

    Draft draft;
    qor::UniqueFd file = CreateDraft(guard, clientDir_, tag_, draft);
    if (!file) {
        trace.Fail("file create error (%s)", std::strerror(errno));
        return -1;
    }
    Request request;
    if (!WriteMessage(trace, message, std::move(file)) ||
        !Publish(trace, guard, clientDir_, tag_, std::move(draft), request))
        return -1;
    currentFile_ = std::move(request.name);

    trace.Info("send file saved to %s (%d)", request.path.c_str(), length);
    trace.Leave();
    return length;
}
