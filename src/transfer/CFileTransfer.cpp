// CFileTransfer's settings, names and accessors.
#include "CFileTransfer.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "base/Numbers.h"
#include "base/Paths.h"
#include "base/TimeStamp.h"
#include "transfer/Spool.h"
#include "winapi.h"

namespace {

constexpr char kDefaultTag[] = "som";
constexpr mode_t kDirectoryMode = 0770;

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

void CFileTransfer::GetTmpFileName(std::string& out)
{
    out = qor::TemporaryName(qor::Now(), tag_);
}

void CFileTransfer::GetSndFileName(std::string tmpName, std::string& out)
{
    out = qor::MessageName(tmpName);
}

void CFileTransfer::AppendFullPath(std::string dir, std::string& path)
{
    path = qor::JoinPath(dir, path);
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
