// CFileTransfer's scan of the client directory, and the expiry of what lies there.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/Handles.h"
#include "base/TimeStamp.h"
#include "CFileTransfer.h"
#include "trace/TraceScope.h"
#include "transfer/Spool.h"

namespace {

constexpr char kIsTransFile[] = "bool CFileTransfer::IsTransFile()";
constexpr char kOpenStream[] = "bool CFileTransfer::OpenStream()";
constexpr char kDeleteExpiredFile[] = "void CFileTransfer::DeleteExpiredFile(const char*)";

constexpr long kExpirySeconds = 2L * 24 * 60 * 60;

// Some file systems do not give the type: then lstat(2) does.
bool IsRegularEntry(const dirent& entry, const std::string& directory)
{
    return entry.d_type == DT_UNKNOWN ? qor::IsRegularFile(qor::JoinPath(directory, entry.d_name))
                                      : entry.d_type == DT_REG;
}

// Empty unless the file is still regular and has only this name: those who may write to the
// directory could link a file there that is not theirs.
qor::UniqueFd OpenRequest(const std::string& path)
{
    struct stat status;
    qor::UniqueFd file = qor::OpenRegular(path.c_str(), O_RDWR, status);
    if (file && status.st_nlink > 1)
        (void)file.Close();
    return file;
}

bool IsOpen(const std::shared_ptr<DIR*>& scan)
{
    return scan != nullptr && *scan != nullptr;
}

}  // namespace

bool CFileTransfer::OpenStream()
{
    const qor::CancelGuard guard;
    if (scan_.use_count() == 1)  // not shared
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
    if (entry_ == nullptr || !IsOpen(scan_) || !IsRegularEntry(*entry_, clientDir_))
        return false;
    const qor::CancelGuard guard;

    currentFile_ = entry_->d_name;
    if (IsExpiredFile(entry_->d_name)) {
        DeleteExpiredFile(entry_->d_name);
        return false;
    }
    if (currentFile_.find(qor::kMessageExtension) == std::string::npos)
        return false;

    const std::string path = qor::JoinPath(clientDir_, currentFile_);
    fileHandle_ = OpenRequest(path).Release();
    if (fileHandle_ == -1)
        return false;
    qor::TraceScope(tag_, kIsTransFile)
        .Info("processing file (%s) found (fd=%d)", path.c_str(), fileHandle_);
    return true;
}

void CFileTransfer::CloseStream()
{
    const qor::CancelGuard guard;
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
    if (limit.tv_sec < 0)
        return false;  // there is no stamp of two days ago
    return std::strncmp(name, qor::TimeStamp(limit).c_str(), qor::kTimeStampLength) <= 0;
}

void CFileTransfer::DeleteExpiredFile(const char* name)
{
    if (name == nullptr)
        return;
    const qor::CancelGuard guard;
    const qor::TraceScope trace(tag_, kDeleteExpiredFile);

    // Another process may sweep too: a file that is gone is no failure.
    const std::string request = qor::JoinPath(clientDir_, name);
    trace.Info("delete old file (%s)", request.c_str());
    (void)::unlink(request.c_str());

    const std::string response = qor::JoinPath(serverDir_, name);
    if (qor::Exists(response)) {
        trace.Info("delete old file (%s)", response.c_str());
        (void)::unlink(response.c_str());
    }
}
