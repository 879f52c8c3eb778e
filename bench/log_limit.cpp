#include "log_limit.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <stdexcept>

namespace qor::bench {
namespace {

constexpr char kDirectory[] = "/opt/velmora/qor/log";
constexpr off_t kMaxFileSize = 0x9FFFFF;
constexpr std::size_t kMaxText = 4096;
constexpr std::size_t kStamp = 19;

// The fields of fixed width, as templates.
constexpr char kDebugHead[] = "0000/00/00 00:00:00 ThId:0x00000000 --INFO-- ";
constexpr char kOperationHead[] = "0000/00/00 00:00:00 0x00000001 info    ";
constexpr std::size_t kThread = 27;  // the place of the thread's digits in kDebugHead
constexpr std::size_t kLevel = 36;   // and of its level

thread_local char t_thread[9] = "";
thread_local char t_stamp[kStamp + 1] = "";
thread_local std::time_t t_second = -1;

volatile unsigned int g_wanted = 1;

void PutStamp(char* out)
{
    const std::time_t now = std::time(nullptr);
    if (now != t_second) {
        std::tm local{};
        (void)::localtime_r(&now, &local);
        (void)std::strftime(t_stamp, sizeof t_stamp, "%Y/%m/%d %H:%M:%S", &local);
        t_second = now;
    }
    std::memcpy(out, t_stamp, kStamp);
}

void PutThread(char* out)
{
    if (t_thread[0] == '\0')
        (void)std::snprintf(t_thread, sizeof t_thread, "%08lx", ::syscall(SYS_gettid));
    std::memcpy(out, t_thread, 8);
}

// Returns the line's length.
template <std::size_t kHead>
std::size_t Compose(char* line, const char (&head)[kHead], const char* format,
                    std::va_list arguments)
{
    std::memcpy(line, head, kHead - 1);
    PutStamp(line);
    const int length = std::vsnprintf(line + kHead - 1, kMaxText, format, arguments);
    const std::size_t text = std::min(static_cast<std::size_t>(length), kMaxText - 1);
    line[kHead - 1 + text] = '\n';
    return kHead + text;
}

std::size_t ComposeDebug(char* line, const char* format, std::va_list arguments)
{
    const std::size_t length = Compose(line, kDebugHead, format, arguments);
    PutThread(line + kThread);
    return length;
}

// The oldest, by its name, of the files that begin with `mark` and are not compressed.
void FindFile(int directory, const char* mark, char* name, std::size_t size)
{
    name[0] = '\0';
    alignas(dirent64) char entries[32768];
    const std::size_t length = std::strlen(mark);
    while (true) {
        const ssize_t got = ::getdents64(directory, entries, sizeof entries);
        if (got <= 0)
            return;
        for (ssize_t at = 0; at < got;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries + at);
            if (std::strncmp(entry->d_name, mark, length) == 0 &&
                std::strstr(entry->d_name, ".gz") == nullptr &&
                (name[0] == '\0' || std::strcmp(entry->d_name, name) < 0))
                (void)std::snprintf(name, size, "%s", entry->d_name);
            at += entry->d_reclen;
        }
    }
}

}  // namespace

BareLog::BareLog(const std::string& path)
    : fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666))
{
    if (fd_ < 0)
        throw std::runtime_error("Cannot open " + path);
}

BareLog::~BareLog()
{
    (void)::close(fd_);
}

void BareLog::Append(const char* line, std::size_t length)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (::lseek(fd_, 0, SEEK_CUR) + static_cast<off_t>(length) > kMaxFileSize)
        (void)!::ftruncate(fd_, 0);
    (void)!::write(fd_, line, length);
}

void BareLog::WriteDebug(const char* format, ...)
{
    char line[sizeof kDebugHead + kMaxText];
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = ComposeDebug(line, format, arguments);
    va_end(arguments);
    Append(line, length);
}

void BareLog::Write(std::string_view level, std::string_view head, std::string_view tail)
{
    char line[sizeof kDebugHead + kMaxText];
    char* end = line;
    const auto add = [&end](std::string_view part) {
        std::memcpy(end, part.data(), part.size());
        end += part.size();
    };
    add({kDebugHead, sizeof kDebugHead - 1});
    PutStamp(line);
    PutThread(line + kThread);
    std::memcpy(line + kLevel, level.data(), level.size());
    add(head);
    add(tail);
    add("\n");
    Append(line, static_cast<std::size_t>(end - line));
}

void BareLog::WriteOperation(const char* format, ...)
{
    char line[sizeof kOperationHead + kMaxText];
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = Compose(line, kOperationHead, format, arguments);
    va_end(arguments);
    Append(line, length);
}

void WriteRejected(unsigned int level, const char* format, ...)
{
    if ((g_wanted & level) == 0)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vprintf(format, arguments);
    va_end(arguments);
}

void WriteWithoutLog(const char* mark, const char* format, ...)
{
    ::openlog("update manager", LOG_PID, LOG_USER);
    (void)::mkdir(kDirectory, 0644);
    char path[sizeof kDirectory + 1 + NAME_MAX];
    (void)std::snprintf(path, sizeof path, "%s/", kDirectory);
    const int directory = ::open(kDirectory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    FindFile(directory, mark, path + sizeof kDirectory, sizeof path - sizeof kDirectory);
    (void)::close(directory);

    char line[sizeof kDebugHead + kMaxText];
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t length = ComposeDebug(line, format, arguments);
    va_end(arguments);

    const int fd = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (::lseek(fd, 0, SEEK_END) + static_cast<off_t>(length) > kMaxFileSize)
        throw std::runtime_error("The benchmark's file is full");
    (void)!::write(fd, line, length);
    (void)::close(fd);
    ::closelog();
}

}  // namespace qor::bench
