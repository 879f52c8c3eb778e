// channel_limit.h - the channel's messages by bare system calls: the least work that leaves the
// same files, the same results and the same debug records.
#ifndef QOR_BENCH_CHANNEL_LIMIT_H
#define QOR_BENCH_CHANNEL_LIMIT_H

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace qor::bench {

// A path on the stack.
class PathBuffer
{
public:
    PathBuffer& Add(std::string_view part)
    {
        std::memcpy(end_, part.data(), part.size());
        end_ += part.size();
        *end_ = '\0';
        return *this;
    }
    PathBuffer& AddStamp(long seconds, long microseconds);  // 20 digits

    // Keeps the first `length` bytes.
    PathBuffer& Cut(std::size_t length)
    {
        end_ = text_ + length;
        return *this;
    }

    const char* c_str() const { return text_; }
    std::string_view view() const { return {text_, static_cast<std::size_t>(end_ - text_)}; }

private:
    char text_[PATH_MAX];
    char* end_ = text_;
};

// A debug log: each record is one write(2) behind a look at the file's position, which other
// processes that append move on too. The text of the time is made once a second, the thread's id
// once.
class BareLog
{
public:
    explicit BareLog(const std::string& path);
    BareLog(const BareLog&) = delete;
    BareLog& operator=(const BareLog&) = delete;
    ~BareLog() { (void)::close(fd_); }

    // level: eight characters. The text is `head` and `tail` together.
    void Write(std::string_view level, std::string_view head, std::string_view tail = {});

private:
    int fd_;
    char thread_[sizeof " ThId:0x00000000 "];
    long second_ = -1;
    char stamp_[sizeof "2026/11/15 08:29:18"];
};

class BareChannel
{
public:
    // log: null when no record is wanted.
    BareChannel(std::string tag, std::string clientDir, std::string serverDir, BareLog* log)
        : tag_(std::move(tag)),
          clientDir_(std::move(clientDir) + "/"),
          serverDir_(std::move(serverDir) + "/"),
          log_(log)
    {
    }

    // Publishes a request in the client directory. Its length, or -1.
    int Send(const std::string& message);

    // Takes the response to the request in hand, polling as the channel does. Its length, or -1.
    int Receive(char* buffer, int size, int interval);

    // Calls `serve(descriptor, name)` for each request in the client directory.
    template <typename Serve>
    bool Scan(const Serve& serve) const;

    const std::string& CurrentFile() const { return currentFile_; }
    void SetCurrentFile(const std::string& name) { currentFile_ = name; }

private:
    static bool IsExpired(const char* name);
    void LogBegin(const std::string& message) const;
    void LogEnd(std::string_view path, std::size_t length) const;
    int OpenResponse(const char* response, int interval) const;

    std::string tag_;
    std::string clientDir_;
    std::string serverDir_;
    std::string currentFile_;
    BareLog* log_;
};

template <typename Serve>
bool BareChannel::Scan(const Serve& serve) const
{
    DIR* const stream = ::opendir(clientDir_.c_str());
    if (stream == nullptr)
        return false;
    PathBuffer path;
    path.Add(clientDir_);
    while (const dirent* const entry = ::readdir(stream)) {
        // The tmpfs tells the type.
        if (entry->d_type != DT_REG || IsExpired(entry->d_name) ||
            std::strstr(entry->d_name, ".snd") == nullptr)
            continue;
        path.Cut(clientDir_.size()).Add(entry->d_name);
        const int fd = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
        if (fd != -1)
            serve(fd, entry->d_name);
    }
    return ::closedir(stream) == 0;
}

}  // namespace qor::bench

#endif  // QOR_BENCH_CHANNEL_LIMIT_H
