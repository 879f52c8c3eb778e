#include "transfer/ChannelModel.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sstream>

#include "transfer/ChannelTest.h"

namespace qor::test {
namespace {

std::string Join(const std::string& dir, const std::string& name)
{
    return !dir.empty() && dir[dir.size() - 1] == '/' ? dir + name : dir + "/" + name;
}

bool IsThere(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

std::string StampOf(long seconds, long microseconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "%14.14lu%6.6lu", static_cast<unsigned long>(seconds),
                  static_cast<unsigned long>(microseconds));
    return text;
}

std::string MessageName(const std::string& temporaryName)
{
    return temporaryName.substr(0, temporaryName.find(".tmp")) + ".snd";
}

timeval Now()
{
    timeval now;
    (void)::gettimeofday(&now, nullptr);
    return now;
}

bool IsSame(const timeval& a, const timeval& b)
{
    return a.tv_sec == b.tv_sec && a.tv_usec == b.tv_usec;
}

void Sleep(long microseconds)
{
    const timespec span = {microseconds / 1000000, microseconds % 1000000 * 1000};
    (void)::clock_nanosleep(CLOCK_MONOTONIC, 0, &span, nullptr);
}

// Whether the clock leaves the moment during so many looks.
bool Wait(const timeval& moment, int pauses, long microseconds)
{
    for (int pause = 0; pause < pauses; ++pause) {
        if (!IsSame(moment, Now()))
            return true;
        Sleep(microseconds);
    }
    return !IsSame(moment, Now());
}

std::string Number(long number)
{
    std::stringstream text;
    text << number;
    return text.str();
}

}  // namespace

void ChannelModel::Trace(unsigned int level, const std::string& text)
{
    const std::string name = level == 1 ? "--INFO--" : level == 2 ? "**FAIL**" : "--FUNC--";
    if ((levels_ & level) != 0)
        records_.push_back(name + " " + text.c_str());
}

void ChannelModel::TracePieces(const std::string& body)
{
    for (std::size_t begin = 0; begin < body.size(); begin += 1024)
        Trace(1, "\t" + body.substr(begin, 1024));
}

std::string ChannelModel::Temporary(const timeval& moment) const
{
    return Join(clientDir_, StampOf(moment.tv_sec, moment.tv_usec) + tag_ + ".tmp");
}

int ChannelModel::Send(const std::string& message)
{
    Trace(4, "[ENTER] " + kSend);
    Trace(1, "- client-send LENGTH=" + Number(static_cast<long>(message.size())));
    TracePieces(message);

    timeval moment = {};
    int fd;
    for (;;) {
        const timeval former = moment;
        moment = Now();
        fd = ::open(Temporary(moment).c_str(), O_RDWR | O_CREAT | O_EXCL, 0770);
        if (fd != -1 || errno != EEXIST)
            break;
        if (IsSame(former, moment))
            Sleep(100);
    }
    if (fd == -1) {
        Trace(2, kSend + " file create error (" + std::strerror(errno) + ")");
        return -1;
    }
    (void)Now();  // no clock of these tests moves so far that the name would be drawn again
    const ssize_t written = ::write(fd, message.data(), message.size());
    (void)::close(fd);
    if (written != static_cast<ssize_t>(message.size()))
        return -1;  // no disk of these tests is full

    std::string published = MessageName(Temporary(moment));
    for (;;) {
        const bool moved = Wait(moment, 500, 100);
        struct stat status;
        if (::lstat(published.c_str(), &status) != 0) {
            (void)::rename(Temporary(moment).c_str(), published.c_str());
            break;
        }
        if (!moved && !Wait(moment, 300, 10000)) {
            const bool directory = S_ISDIR(status.st_mode);
            Trace(2, kSend + " " + Temporary(moment) + " rename failed (" +
                         std::strerror(directory ? EISDIR : EEXIST) + ")");
            if (directory)
                break;
            (void)::unlink(Temporary(moment).c_str());
            errno = EEXIST;
            return -1;
        }
        const timeval old = moment;
        timeval former = {};
        for (;;) {
            moment = Now();
            if (IsSame(old, moment) || ::lstat(Temporary(moment).c_str(), &status) != 0)
                break;
            if (IsSame(former, moment))
                Sleep(100);
            former = moment;
        }
        if (!IsSame(old, moment))
            (void)::rename(Temporary(old).c_str(), Temporary(moment).c_str());
        published = MessageName(Temporary(moment));
    }
    currentFile_ = published.substr(published.rfind('/') + 1);
    Trace(1, kSend + " send file saved to " + published + " (" +
                 Number(static_cast<long>(message.size())) + ")");
    Trace(4, "[LEAVE] " + kSend);
    return static_cast<int>(message.size());
}

int ChannelModel::Receive(char* buffer, int size)
{
    Trace(4, "[ENTER] " + kRecv);
    const std::string response = Join(serverDir_, currentFile_);
    const std::string request = Join(clientDir_, currentFile_);
    Trace(1, kRecv + " wait for " + response);
    if (interval_ <= 0) {
        Trace(2, kRecv + " polling interval is not positive (" + Number(interval_) + ")");
        return -1;
    }

    long budget = 30000000 / interval_;
    while (!IsThere(response)) {
        Sleep(interval_);
        if (!IsThere(request))
            continue;
        budget = budget - 1;
        if (budget <= 0) {
            Trace(2, kRecv + " client file timed out (" + request + ")");
            (void)::unlink(request.c_str());
            return -1;
        }
    }

    ssize_t length = 0;
    int error = 0;
    for (int tries = 0; tries < 10; ++tries) {
        struct stat status;
        const bool link = ::lstat(response.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
        const int fd = link ? -1 : ::open(response.c_str(), O_RDONLY);
        error = link ? ELOOP : errno;
        const bool directory = fd != -1 && ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
        if (fd == -1 || directory) {
            (void)::close(fd);
            Trace(2, kRecv + " failed to open recv file (" +
                         std::strerror(directory ? EISDIR : error) + ")");
            return -1;
        }
        if (size < status.st_size)
            Trace(2, kRecv + " data read buffer is too small (" + Number(size) + "/" +
                         Number(status.st_size) + ")");
        length = ::read(fd, buffer, static_cast<std::size_t>(size));
        error = errno;
        (void)::close(fd);
        if (length != 0)
            break;
        Sleep(100000);
    }
    if (length != 0)
        buffer[length] = '\0';
    if (length == -1)
        Trace(1, kRecv + " read data length failed (" + std::strerror(error) + ", -1)");

    Trace(1, "- client-recv LENGTH=" + Number(length) + ": " + response);
    if (length > 0)
        TracePieces(buffer);
    if (::unlink(response.c_str()) != 0)
        Trace(1, kRecv + " failed to delete file (" + std::strerror(errno) + ")");
    Trace(4, "[LEAVE] " + kRecv + ", rc=" + Number(length));
    return static_cast<int>(length);
}

bool ChannelModel::IsExpired(const char* name) const
{
    const timeval now = Now();
    return now.tv_sec >= 172800 &&
           std::strncmp(name, StampOf(now.tv_sec - 172800, now.tv_usec).c_str(), 20) <= 0;
}

void ChannelModel::DeleteExpired(const std::string& name)
{
    Trace(1, kDeleteExpired + " delete old file (" + Join(clientDir_, name) + ")");
    (void)::unlink(Join(clientDir_, name).c_str());
    if (IsThere(Join(serverDir_, name))) {
        Trace(1, kDeleteExpired + " delete old file (" + Join(serverDir_, name) + ")");
        (void)::unlink(Join(serverDir_, name).c_str());
    }
}

std::vector<std::string> ChannelModel::Scan()
{
    std::vector<std::string> served;
    DIR* const stream = ::opendir(clientDir_.c_str());
    if (stream == nullptr) {
        Trace(2,
              kOpenStream + " opendir failed (" + std::strerror(errno) + " : " + clientDir_ + ")");
        return served;
    }
    while (const dirent* const entry = ::readdir(stream)) {
        if (entry->d_type != DT_REG)
            continue;
        currentFile_ = entry->d_name;
        if (IsExpired(entry->d_name)) {
            DeleteExpired(entry->d_name);
            continue;
        }
        if (currentFile_.find(".snd") == std::string::npos)
            continue;
        const std::string path = Join(clientDir_, currentFile_);
        struct stat status;
        if (::lstat(path.c_str(), &status) != 0 || status.st_nlink > 1)
            continue;
        const int fd = ::open(path.c_str(), O_RDWR | O_NOFOLLOW);
        if (fd == -1)
            continue;
        Trace(1, kIsTransFile + " processing file (" + path + ") found (fd=" + Number(fd) + ")");
        served.push_back(currentFile_);
        (void)::close(fd);
    }
    (void)::closedir(stream);
    return served;
}

}  // namespace qor::test
