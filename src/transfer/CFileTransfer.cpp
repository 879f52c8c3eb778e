#include "CFileTransfer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/Files.h"
#include "base/Numbers.h"
#include "base/Paths.h"
#include "base/TimeStamp.h"
#include "trace/TraceScope.h"
#include "winapi.h"

namespace {

constexpr char kDefaultTag[] = "som";
constexpr char kTemporaryExtension[] = ".tmp";
constexpr char kMessageExtension[] = ".snd";

constexpr mode_t kDirectoryMode = 0770;
constexpr mode_t kMessageMode = 0770;

constexpr long kPollLimit = 30000000;  // microseconds of sleep while untaken
constexpr long kExpirySeconds = 2L * 24 * 60 * 60;
constexpr int kReadTries = 10;             // of a response that is still empty
constexpr useconds_t kReadPause = 100000;  // microseconds between them
constexpr std::size_t kTracePiece = 1024;  // bytes of a message in one debug record

constexpr char kSendMessage[] = "int CFileTransfer::SendMessage(std::string)";
constexpr char kRecvMessage[] = "int CFileTransfer::RecvMessage(char*, int, int)";
constexpr char kIsTransFile[] = "bool CFileTransfer::IsTransFile()";
constexpr char kOpenStream[] = "bool CFileTransfer::OpenStream()";
constexpr char kDeleteExpiredFile[] = "void CFileTransfer::DeleteExpiredFile(const char*)";

template <std::size_t Size>
std::string ReadSetting(const char* key, const char* defaultValue, const std::string& file)
{
    char buffer[Size + 1] = {};  // the copy is not terminated when it fills its size
    (void)GetPrivateProfileStringA("filetran", key, defaultValue, buffer, Size, file.c_str());
    return buffer;
}

void MakeMissingDirectory(const std::string& path)
{
    struct stat status;
    if (::stat(path.c_str(), &status) != 0 && errno == ENOENT)
        (void)::mkdir(path.c_str(), kDirectoryMode);  // a failure shows when it is used
}

// As AppendFullPath joins them, in one allocation.
std::string Join(const std::string& dir, std::string_view name)
{
    std::string path;
    path.reserve(dir.size() + 1 + name.size());
    path = dir;
    if (dir.empty() || dir.back() != '/')
        path += '/';
    return path += name;
}

// A path that cannot be looked at is not known to be gone.
bool IsGone(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// rename(2) that fails with EEXIST rather than replace a file, where the file system can do that.
bool RenameUnlessTaken(const std::string& from, const std::string& to)
{
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
}

// Writes a message's bytes to the debug log, "\t" before each piece.
void TraceBody(const qor::TraceScope& trace, std::string_view body)
{
    for (; !body.empty(); body.remove_prefix(std::min(body.size(), kTracePiece)))
        trace.Write(CTraceUtility::TRACE_DBG_INFO, "\t" + std::string(body.substr(0, kTracePiece)));
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

// File systems that do not tell the type leave it to lstat(2).
bool IsRegularFile(const dirent& entry, const std::string& path)
{
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_REG;
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IsOpen(const std::shared_ptr<DIR*>& scan)
{
    return scan != nullptr && *scan != nullptr;
}

}  // namespace

CFileTransfer::CFileTransfer() : CFileTransfer(kDefaultTag, qor::paths::kChannelConfig) {}

CFileTransfer::CFileTransfer(std::string tag, std::string configFile)
    : entry_(nullptr),
      tag_(std::move(tag)),
      clientDir_(ReadSetting<256>("clientdir", qor::paths::kClientDirectory, configFile)),
      serverDir_(ReadSetting<256>("serverdir", qor::paths::kServerDirectory, configFile)),
      fileHandle_(-1),
      interval_(qor::ToInt(ReadSetting<16>("polling_interval", "100", configFile)))
{
    MakeMissingDirectory(clientDir_);
    MakeMissingDirectory(serverDir_);
}

CFileTransfer::CFileTransfer(const CFileTransfer&) = default;

CFileTransfer& CFileTransfer::operator=(const CFileTransfer&) = default;

// Intended: see the header.
CFileTransfer::~CFileTransfer() = default;

int CFileTransfer::SendMessage(std::string message)
{
    const qor::TraceScope trace(tag_, kSendMessage);
    const int length = static_cast<int>(message.size());
    trace.Enter();
    if (trace.IsWanted(CTraceUtility::TRACE_DBG_INFO)) {
        trace.Write(CTraceUtility::TRACE_DBG_INFO,
                    "- client-send LENGTH=" + std::to_string(length));
        TraceBody(trace, message);
    }

    std::string temporaryName;
    if (!WriteTemporaryFile(message, temporaryName))
        return -1;
    const std::string published = Publish(temporaryName);

    trace.Info("send file saved to %s (%d)", published.c_str(), length);
    trace.Leave();
    return length;
}

bool CFileTransfer::WriteTemporaryFile(const std::string& message, std::string& name)
{
    const qor::TraceScope trace(tag_, kSendMessage);

    // Exclusive creation makes the name ours; a taken one is retried with a fresh time stamp.
    qor::UniqueFd file;
    do {
        GetTmpFileName(name);
        file = qor::UniqueFd(::open(Join(clientDir_, name).c_str(),
                                    O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMessageMode));
    } while (!file && errno == EEXIST);
    if (!file) {
        trace.Fail("file create error (%s)", std::strerror(errno));
        return false;
    }

    errno = 0;  // a short write sets none
    const ssize_t written = ::write(file.get(), message.data(), message.size());
    const int writeError = errno;
    (void)file.Close();
    if (written != static_cast<ssize_t>(message.size())) {
        trace.Fail("data write error (%s, %d)", std::strerror(writeError),
                   static_cast<int>(written));
        errno = writeError;
        return false;
    }
    return true;
}

std::string CFileTransfer::Publish(std::string name)
{
    const std::string temporary = Join(clientDir_, name);

    // rename(2) publishes the whole message at once. Another client of this tag that drew the same
    // stamp, and whose temporary file is renamed already, has the name: then a fresh stamp is
    // drawn, and only a clock that stands still leaves the name as it is.
    std::string published;
    for (;;) {
        GetSndFileName(name, currentFile_);
        published = Join(clientDir_, currentFile_);
        if (RenameUnlessTaken(temporary, published))
            return published;
        if (errno != EEXIST)
            break;
        std::string fresh;
        GetTmpFileName(fresh);
        if (fresh == name)
            break;
        name = fresh;
    }
    if (::rename(temporary.c_str(), published.c_str()) != 0)
        qor::TraceScope(tag_, kSendMessage)
            .Fail("%s rename failed (%s)", temporary.c_str(), std::strerror(errno));
    return published;
}

int CFileTransfer::RecvMessage(char* buffer, int size, int)
{
    const qor::TraceScope trace(tag_, kRecvMessage);
    trace.Enter();
    if (buffer == nullptr) {
        trace.Fail("no receive buffer");
        return -1;
    }

    const std::string response = Join(serverDir_, currentFile_);
    trace.Info("wait for %s", response.c_str());
    qor::UniqueFd file;
    if (!WaitForResponse(trace, response, Join(clientDir_, currentFile_), interval_, file))
        return -1;

    int length = 0;
    if (!ReadResponse(trace, response, std::move(file), buffer, size, length))
        return -1;

    if (trace.IsWanted(CTraceUtility::TRACE_DBG_INFO)) {
        trace.Write(CTraceUtility::TRACE_DBG_INFO,
                    "- client-recv LENGTH=" + std::to_string(length) + ": " + response);
        if (length > 0)
            TraceBody(trace, std::string_view(buffer, std::strlen(buffer)));
    }
    if (::unlink(response.c_str()) != 0)
        trace.Info("failed to delete file (%s)", std::strerror(errno));
    trace.Leave(", rc=" + std::to_string(length));
    return length;
}

bool CFileTransfer::OpenStream()
{
    if (scan_.use_count() == 1)  // nobody else's
        CloseStream();
    entry_ = nullptr;
    scan_ = std::make_shared<DIR*>(nullptr);
    *scan_ = ::opendir(clientDir_.c_str());
    if (*scan_ == nullptr) {
        qor::TraceScope(tag_, kOpenStream)
            .Fail("opendir failed (%s : %s)", std::strerror(errno), clientDir_.c_str());
        return false;
    }
    return true;
}

bool CFileTransfer::IsEndStream()
{
    entry_ = IsOpen(scan_) ? ::readdir(*scan_) : nullptr;
    return entry_ == nullptr;
}

bool CFileTransfer::IsTransFile()
{
    if (entry_ == nullptr || !IsOpen(scan_))
        return false;
    const std::string path = Join(clientDir_, entry_->d_name);
    if (!IsRegularFile(*entry_, path))
        return false;

    currentFile_ = entry_->d_name;
    if (IsExpiredFile(entry_->d_name)) {
        DeleteExpiredFile(entry_->d_name);
        return false;
    }
    if (currentFile_.find(kMessageExtension) == std::string::npos)
        return false;

    fileHandle_ = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    if (fileHandle_ == -1)
        return false;
    qor::TraceScope(tag_, kIsTransFile)
        .Info("processing file (%s) found (fd=%d)", path.c_str(), fileHandle_);
    return true;
}

void CFileTransfer::CloseStream()
{
    if (IsOpen(scan_)) {
        (void)::closedir(*scan_);  // fails for an invalid stream only
        *scan_ = nullptr;
    }
    entry_ = nullptr;
}

bool CFileTransfer::IsExpiredFile(const char* name)
{
    if (name == nullptr)
        return false;
    timeval limit = qor::Now();
    limit.tv_sec -= kExpirySeconds;
    return std::strncmp(name, qor::FormatTimeStamp(limit).c_str(), qor::kTimeStampLength) <= 0;
}

void CFileTransfer::DeleteExpiredFile(const char* name)
{
    if (name == nullptr)
        return;
    const qor::TraceScope trace(tag_, kDeleteExpiredFile);

    // Another process may sweep too: a file that is gone is no failure.
    const std::string request = Join(clientDir_, name);
    trace.Info("delete old file (%s)", request.c_str());
    (void)::unlink(request.c_str());

    const std::string response = Join(serverDir_, name);
    if (qor::Exists(response)) {
        trace.Info("delete old file (%s)", response.c_str());
        (void)::unlink(response.c_str());
    }
}

void CFileTransfer::GetTmpFileName(std::string& out)
{
    out = qor::FormatTimeStamp(qor::Now()) + tag_ + kTemporaryExtension;
}

void CFileTransfer::GetSndFileName(std::string tmpName, std::string& out)
{
    out = tmpName.substr(0, tmpName.find(kTemporaryExtension)) + kMessageExtension;
}

void CFileTransfer::AppendFullPath(std::string dir, std::string& path)
{
    path = Join(dir, path);
}

void CFileTransfer::GetRecvDir(std::string& out)
{
    out = clientDir_;
}

void CFileTransfer::GetSendDir(std::string& out)
{
    out = serverDir_;
}

void CFileTransfer::GetTransFile(std::string& out)
{
    out = currentFile_;
}

void CFileTransfer::SetCurrentFile(std::string name)
{
    currentFile_ = std::move(name);
}

int CFileTransfer::GetFileHandle()
{
    return fileHandle_;
}

int CFileTransfer::Interval()
{
    return interval_;
}
