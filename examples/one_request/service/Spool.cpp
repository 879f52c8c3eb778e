#include "service/Spool.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "QorException.h"

namespace one_request {
namespace {

constexpr mode_t kAnswerMode = 0660;

// `call`: what failed, errno being its own.
[[noreturn]] void Fail(const std::string& call)
{
    throw std::system_error(errno, std::generic_category(), call);
}

// False with errno when it cannot be read to its end.
bool ReadAll(int fd, std::string& text)
{
    text.clear();
    char piece[4096];
    while (text.size() <= kMaxRequestLength) {
        const ssize_t length = ::read(fd, piece, sizeof piece);
        if (length < 0 && errno != EINTR)
            return false;
        if (length == 0)
            break;
        if (length > 0)
            text.append(piece, static_cast<std::size_t>(length));
    }
    return true;
}

void WriteAll(int fd, const std::string& text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t length = ::write(fd, text.data() + done, text.size() - done);
        if (length < 0 && errno != EINTR)
            Fail("write");
        if (length > 0)
            done += static_cast<std::size_t>(length);
    }
}

class OpenScan
{
public:
    explicit OpenScan(CFileTransfer& channel) : channel_(channel)
    {
        if (!channel_.OpenStream())
            throw QorException("the client directory cannot be read");  // why: the debug log
    }
    OpenScan(const OpenScan&) = delete;
    OpenScan& operator=(const OpenScan&) = delete;
    ~OpenScan() { channel_.CloseStream(); }

private:
    CFileTransfer& channel_;
};

void CheckDirectory(const std::string& path)
{
    if (::access(path.c_str(), R_OK | W_OK | X_OK) != 0)
        Fail("spool directory " + path);
}

}  // namespace

Spool::Spool(const std::string& configFile)
    : channel_(kComponent, configFile),
      lock_(::open(ClientDirectory().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (channel_.Interval() <= 0)
        throw QorException("polling_interval in %s is not positive", configFile.c_str());
    CheckDirectory(ClientDirectory());
    CheckDirectory(ServerDirectory());
    if (::flock(lock_.Get(), LOCK_EX | LOCK_NB) == 0)
        return;
    if (errno == EWOULDBLOCK)
        throw SpoolTaken("another service takes the requests in " + ClientDirectory());
    Fail("flock " + ClientDirectory());
}

void Spool::DeleteExpiredAnswers()
{
    for (const auto& entry : std::filesystem::directory_iterator(ServerDirectory())) {
        const std::string name = entry.path().filename();
        if (name[0] != '.' && channel_.IsExpiredFile(name.c_str()))
            channel_.DeleteExpiredFile(name.c_str());
    }
}

void Spool::Scan(StopSignal& stop, const std::function<void(const TakenRequest&)>& serve)
{
    const OpenScan scan(channel_);
    TakenRequest request;
    while (!stop.Wait(std::chrono::microseconds::zero()) && !channel_.IsEndStream()) {
        if (channel_.IsTransFile() && Take(request))
            serve(request);
    }
}

void Spool::Publish(const std::string& name, const std::string& text)
{
    std::string temporaryName;
    channel_.GetTmpFileName(temporaryName);
    const std::string temporary = PathOf(ServerDirectory(), temporaryName);
    const std::string path = PathOf(ServerDirectory(), name);
    FileDescriptor file(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kAnswerMode));
    if (!file)
        Fail("open " + temporary);
    try {
        WriteAll(file.Get(), text);
        if (!file.Close())
            Fail("close " + temporary);
        if (::rename(temporary.c_str(), path.c_str()) != 0)
            Fail("rename to " + path);
    } catch (...) {
        (void)::unlink(temporary.c_str());
        throw;
    }
}

// Read while its file is there: a service that dies meanwhile leaves it to the next one. Removed
// before anybody works on it: its client stops counting, and no later scan meets it. False when it
// is gone already, because its client has given up: what nobody could remove is not served.
bool Spool::Take(TakenRequest& request)
{
    const FileDescriptor file(channel_.GetFileHandle());
    request.trouble = ReadAll(file.Get(), request.text) ? "" : std::strerror(errno);
    channel_.GetTransFile(request.name);
    const std::string path = PathOf(ClientDirectory(), request.name);
    if (::unlink(path.c_str()) == 0)
        return true;
    if (errno != ENOENT)
        Fail("unlink " + path);
    return false;
}

std::string Spool::ClientDirectory()
{
    std::string directory;
    channel_.GetRecvDir(directory);
    return directory;
}

std::string Spool::ServerDirectory()
{
    std::string directory;
    channel_.GetSendDir(directory);
    return directory;
}

std::string Spool::PathOf(const std::string& directory, std::string name)
{
    channel_.AppendFullPath(directory, name);
    return name;
}

}  // namespace one_request
