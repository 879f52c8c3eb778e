#include "channel_limit.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <system_error>

namespace qor::bench {
namespace {

constexpr long kTwoDays = 2 * 24 * 60 * 60;
constexpr std::size_t kStampLength = 20;
constexpr long kPollLimit = 30000000;  // microseconds
constexpr long kMaxLogSize = 0x9FFFFF;
constexpr std::size_t kTracePiece = 1024;

constexpr std::string_view kSend = "int CFileTransfer::SendMessage(std::string)";

void PutDigits(char* end, long number, int count)
{
    for (; count > 0; --count, number /= 10)
        *--end = static_cast<char>('0' + number % 10);
}

std::string_view Decimal(char (&buffer)[24], std::size_t number)
{
    return {buffer, static_cast<std::size_t>(
                        std::to_chars(buffer, buffer + sizeof buffer, number).ptr - buffer)};
}

}  // namespace

PathBuffer& PathBuffer::AddStamp(long seconds, long microseconds)
{
    PutDigits(end_ + 14, seconds, 14);
    PutDigits(end_ + kStampLength, microseconds, 6);
    end_ += kStampLength;
    return *this;
}

BareLog::BareLog(const std::string& path)
    : fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666))
{
    if (fd_ < 0)
        throw std::system_error(errno, std::generic_category(), path);
    (void)std::snprintf(thread_, sizeof thread_, " ThId:0x%08x ",
                        static_cast<unsigned int>(::syscall(SYS_gettid)));
}

void BareLog::Write(std::string_view level, std::string_view head, std::string_view tail)
{
    const std::time_t now = std::time(nullptr);
    if (now != second_) {
        std::tm local{};
        (void)::localtime_r(&now, &local);
        (void)std::strftime(stamp_, sizeof stamp_, "%Y/%m/%d %H:%M:%S", &local);
        second_ = now;
    }

    char line[4096 + 64];
    char* end = line;
    const auto add = [&end](std::string_view part) {
        std::memcpy(end, part.data(), part.size());
        end += part.size();
    };
    add({stamp_, sizeof stamp_ - 1});
    add({thread_, sizeof thread_ - 1});
    add(level);
    add(" ");
    add(head);
    add(tail);
    add("\n");

    const long length = end - line;
    if (::lseek(fd_, 0, SEEK_CUR) > kMaxLogSize - length)
        (void)!::ftruncate(fd_, 0);  // in place of a new file; too rare to count
    (void)!::write(fd_, line, static_cast<std::size_t>(length));
}

void BareChannel::LogBegin(const std::string& message) const
{
    char number[24];
    log_->Write("--FUNC--", "[ENTER] ", kSend);
    log_->Write("--INFO--", "- client-send LENGTH=", Decimal(number, message.size()));
    for (std::string_view rest = message; !rest.empty();) {
        const std::string_view piece = rest.substr(0, kTracePiece);
        log_->Write("--INFO--", "\t", piece.substr(0, piece.find('\0')));
        rest.remove_prefix(piece.size());
    }
}

void BareChannel::LogEnd(std::string_view path, std::size_t length) const
{
    char number[24];
    PathBuffer text;
    text.Add(" send file saved to ").Add(path).Add(" (").Add(Decimal(number, length)).Add(")");
    log_->Write("--INFO--", kSend, text.view());
    log_->Write("--FUNC--", "[LEAVE] ", kSend);
}

int BareChannel::Send(const std::string& message)
{
    if (log_ != nullptr)
        LogBegin(message);

    PathBuffer temporary;
    int fd;
    do {
        timeval now;
        (void)::gettimeofday(&now, nullptr);
        temporary.Cut(0).Add(clientDir_).AddStamp(now.tv_sec, now.tv_usec).Add(tag_).Add(".tmp");
        fd = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0770);
    } while (fd < 0 && errno == EEXIST);
    if (fd < 0)
        return -1;
    const ssize_t written = ::write(fd, message.data(), message.size());
    (void)::close(fd);
    if (written != static_cast<ssize_t>(message.size()))
        return -1;

    PathBuffer published;
    published.Add(temporary.view().substr(0, temporary.view().size() - 4)).Add(".snd");
    currentFile_ = published.view().substr(clientDir_.size());
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, published.c_str(), RENAME_NOREPLACE) !=
        0)
        return -1;

    if (log_ != nullptr)
        LogEnd(published.view(), message.size());
    return static_cast<int>(message.size());
}

// Opening tells whether the response is there.
int BareChannel::OpenResponse(const char* response, int interval) const
{
    PathBuffer request;
    request.Add(clientDir_).Add(currentFile_);
    long budget = kPollLimit / interval;
    for (;;) {
        const int fd = ::open(response, O_RDONLY | O_CLOEXEC);
        if (fd >= 0 || errno != ENOENT)
            return fd;
        (void)::usleep(static_cast<useconds_t>(interval));
        struct stat status;
        if (::stat(request.c_str(), &status) == 0 && --budget <= 0) {
            (void)::unlink(request.c_str());
            return -1;
        }
    }
}

// The benchmarks' responses are never empty nor longer than the buffer: one read takes them.
int BareChannel::Receive(char* buffer, int size, int interval)
{
    PathBuffer response;
    response.Add(serverDir_).Add(currentFile_);
    const int fd = OpenResponse(response.c_str(), interval);
    if (fd < 0)
        return -1;
    const ssize_t length = ::read(fd, buffer, static_cast<std::size_t>(size));
    (void)::close(fd);
    buffer[length] = '\0';
    (void)::unlink(response.c_str());
    return static_cast<int>(length);
}

bool BareChannel::IsExpired(const char* name)
{
    timeval now;
    (void)::gettimeofday(&now, nullptr);
    char limit[kStampLength];
    PutDigits(limit + 14, now.tv_sec - kTwoDays, 14);
    PutDigits(limit + kStampLength, now.tv_usec, 6);
    return std::strncmp(name, limit, kStampLength) <= 0;
}

}  // namespace qor::bench
