#include "support/SyslogSocket.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "support/Text.h"

namespace qor::test {
namespace {

const char kPath[] = "/dev/log";

int BindSocket()
{
    OwnedFd fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (fd.get() < 0)
        ThrowErrno("socket");

    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, kPath, sizeof kPath);
    (void)::unlink(kPath);  // usually there is none
    if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        ThrowErrno("bind /dev/log");
    if (::chmod(kPath, 0666) != 0)
        ThrowErrno("chmod /dev/log");
    return fd.Release();
}

}  // namespace

std::optional<SyslogMessage> ParseSyslog(const std::string& datagram)
{
    static const Pattern form(
        "^<([0-9]{1,3})>([A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8}) ([^:[]*)(\\[([0-9]{1,9})\\])?: ");
    const Strings parts = form.Find(datagram);
    if (parts.empty())
        return std::nullopt;

    SyslogMessage message;
    message.priority = std::stoi(parts[1]);
    message.stamp = parts[2];
    message.ident = parts[3];
    message.pid = parts[5].empty() ? 0 : std::stoi(parts[5]);
    message.text = datagram.substr(parts[0].size());
    return message;
}

SyslogSocket::SyslogSocket()
    : socket_(BindSocket()), stop_(::eventfd(0, EFD_CLOEXEC)), reader_([this] { Serve(); })
{
}

SyslogSocket::~SyslogSocket()
{
    const std::uint64_t one = 1;
    const ssize_t written = ::write(stop_.get(), &one, sizeof one);
    (void)written;  // fails only when the count overflows
    reader_.join();
    (void)::unlink(kPath);  // the test may have removed it
    ::closelog();
}

std::vector<std::string> SyslogSocket::Received()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    Drain();
    return received_;
}

std::vector<SyslogMessage> SyslogSocket::Messages()
{
    std::vector<SyslogMessage> messages;
    for (const std::string& datagram : Received()) {
        const std::optional<SyslogMessage> message = ParseSyslog(datagram);
        if (!message)
            throw std::runtime_error("not a system log message: " + datagram);
        messages.push_back(*message);
    }
    return messages;
}

void SyslogSocket::Clear()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    Drain();
    received_.clear();
}

// The socket never blocks, so that under the lock the queue is empty afterwards.
void SyslogSocket::Drain()
{
    char buffer[65536];
    for (;;) {
        const ssize_t length = ::recv(socket_.get(), buffer, sizeof buffer, 0);
        if (length < 0)
            return;
        received_.emplace_back(buffer, static_cast<std::size_t>(length));
    }
}

void SyslogSocket::Serve()
{
    pollfd events[] = {{socket_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
    for (;;) {
        if (::poll(events, 2, -1) < 0 && errno != EINTR)
            return;
        if (events[1].revents != 0)
            return;
        const std::lock_guard<std::mutex> lock(mutex_);
        Drain();
    }
}

}  // namespace qor::test
