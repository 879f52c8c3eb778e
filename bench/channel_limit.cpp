#include "channel_limit.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

#include "channel_spool.h"

namespace qor::bench {
namespace {

constexpr long kTwoDays = 2 * 24 * 60 * 60;
constexpr std::size_t kStampLength = 20;
constexpr long kPollLimit = 30000000;  // microseconds
constexpr std::size_t kTracePiece = 1024;

constexpr std::string_view kSend = "int CFileTransfer::SendMessage(std::string)";

void PutDigits(char* end, long number, int count)
{
    for (; count > 0; --count, number /= 10)
        *--end = static_cast<char>('0' + number % 10);
}

// The time, `age` seconds ago.
void PutStamp(char (&stamp)[kStampLength], long age)
{
    timeval now;
    (void)::gettimeofday(&now, nullptr);
    PutDigits(stamp + 14, now.tv_sec - age, 14);
    PutDigits(stamp + kStampLength, now.tv_usec, 6);
}

// A path, or another text, on the stack.
class PathBuffer
{
public:
    PathBuffer() = default;
    explicit PathBuffer(std::string_view directory) { Add(directory).Add("/"); }

    PathBuffer& Add(std::string_view part)
    {
        std::memcpy(end_, part.data(), part.size());
        end_ += part.size();
        *end_ = '\0';
        return *this;
    }
    PathBuffer& AddNumber(std::size_t number)
    {
        end_ = std::to_chars(end_, text_ + sizeof text_ - 1, number).ptr;
        return *this;
    }
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

void LogBegin(BareLog& log, const std::string& message)
{
    PathBuffer length;
    log.Write("--FUNC--", "[ENTER] ", kSend);
    log.Write("--INFO--", "- client-send LENGTH=", length.AddNumber(message.size()).view());
    for (std::string_view rest = message; !rest.empty();) {
        const std::string_view piece = rest.substr(0, kTracePiece);
        log.Write("--INFO--", "\t", piece.substr(0, piece.find('\0')));
        rest.remove_prefix(piece.size());
    }
}

void LogEnd(BareLog& log, std::string_view path, std::size_t length)
{
    PathBuffer text;
    text.Add(" send file saved to ").Add(path).Add(" (").AddNumber(length).Add(")");
    log.Write("--INFO--", kSend, text.view());
    log.Write("--FUNC--", "[LEAVE] ", kSend);
}

// Opening shows whether the response is there.
int OpenResponse(const char* response, const std::string& name)
{
    PathBuffer request(kClientDir);
    request.Add(name);
    long budget = kPollLimit / kInterval;
    for (;;) {
        const int fd = ::open(response, O_RDONLY | O_CLOEXEC);
        if (fd >= 0 || errno != ENOENT)
            return fd;
        (void)::usleep(kInterval);
        struct stat status;
        if (::stat(request.c_str(), &status) == 0 && --budget <= 0) {
            (void)::unlink(request.c_str());
            return -1;
        }
    }
}

bool IsExpired(const char* name)
{
    char limit[kStampLength];
    PutStamp(limit, kTwoDays);
    return std::strncmp(name, limit, kStampLength) <= 0;
}

}  // namespace

int BareChannel::Send(const std::string& message)
{
    if (log_ != nullptr)
        LogBegin(*log_, message);

    PathBuffer temporary(kClientDir);
    const std::size_t directory = temporary.view().size();
    int fd;
    do {
        char stamp[kStampLength];
        PutStamp(stamp, 0);
        temporary.Cut(directory).Add({stamp, sizeof stamp}).Add(tag_).Add(".tmp");
        fd = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0770);
    } while (fd < 0 && errno == EEXIST);
    if (fd < 0)
        return -1;
    const ssize_t written = ::write(fd, message.data(), message.size());
    (void)::close(fd);
    if (written != static_cast<ssize_t>(message.size()))
        return -1;

    PathBuffer published = temporary;
    published.Cut(temporary.view().size() - 4).Add(".snd");
    currentFile_ = published.view().substr(directory);
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, published.c_str(), RENAME_NOREPLACE) !=
        0)
        return -1;

    if (log_ != nullptr)
        LogEnd(*log_, published.view(), message.size());
    return static_cast<int>(message.size());
}

// The benchmarks' responses are never empty nor longer than the buffer: one read takes them.
int BareChannel::Receive(char* buffer, int size)
{
    PathBuffer response(kServerDir);
    response.Add(currentFile_);
    const int fd = OpenResponse(response.c_str(), currentFile_);
    if (fd < 0)
        return -1;
    const ssize_t length = ::read(fd, buffer, static_cast<std::size_t>(size));
    (void)::close(fd);
    buffer[length] = '\0';
    (void)::unlink(response.c_str());
    return static_cast<int>(length);
}

bool BareChannel::Scan(const std::function<void(int, const char*)>& serve) const
{
    DIR* const stream = ::opendir(kClientDir);
    if (stream == nullptr)
        return false;
    PathBuffer path(kClientDir);
    const std::size_t directory = path.view().size();
    while (const dirent* const entry = ::readdir(stream)) {
        // The tmpfs gives the type.
        if (entry->d_type != DT_REG || IsExpired(entry->d_name) ||
            std::strstr(entry->d_name, ".snd") == nullptr)
            continue;
        path.Cut(directory).Add(entry->d_name);
        const int fd = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
        struct stat status;
        if (fd == -1)
            continue;
        if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1)
            serve(fd, entry->d_name);
        else
            (void)::close(fd);
    }
    return ::closedir(stream) == 0;
}

}  // namespace qor::bench
