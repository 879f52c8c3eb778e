#include <dbus/dbus.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "channel_spool.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/Processes.h"
#include "support/WaitUntil.h"

namespace qor::bench {
namespace {

using namespace qor::test;

// Messages on a stream: a length, then the bytes, in one call. Both ends block until all is there.

bool Put(int fd, const char* bytes, std::size_t length)
{
    std::string message(reinterpret_cast<const char*>(&length), sizeof length);
    message.append(bytes, length);
    return ::send(fd, message.data(), message.size(), 0) == static_cast<ssize_t>(message.size());
}

bool GetAll(int fd, void* bytes, std::size_t length)
{
    return ::recv(fd, bytes, length, MSG_WAITALL) == static_cast<ssize_t>(length);
}

int Get(int fd, std::vector<char>& bytes)
{
    std::size_t length = 0;
    if (!GetAll(fd, &length, sizeof length) || length > bytes.size() ||
        !GetAll(fd, bytes.data(), length))
        return -1;
    return static_cast<int>(length);
}

int ServeSocket(int fd)
{
    std::vector<char> message(kLongestRequest);
    for (int length; (length = Get(fd, message)) >= 0;) {
        if (!Put(fd, message.data(), static_cast<std::size_t>(length)))
            return 1;
    }
    return 0;
}

class UnixSocket : public Client
{
public:
    UnixSocket()
    {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            ThrowErrno("socketpair");
        near_ = std::make_unique<OwnedFd>(ends[0]);
        const OwnedFd far(ends[1]);
        server_ = std::make_unique<ChildProcess>([this, fd = far.get()] {
            near_->Reset();
            return ServeSocket(fd);
        });
    }

    int Ask(const std::string& request, std::vector<char>& answer) override
    {
        return Put(near_->get(), request.data(), request.size()) ? Get(near_->get(), answer) : -1;
    }

private:
    std::unique_ptr<OwnedFd> near_;
    std::unique_ptr<ChildProcess> server_;
};

// A bus of the benchmark's own, with one service on it.

constexpr char kBusAddress[] = "unix:path=/opt/bus";
constexpr char kBusConfig[] = "/opt/bus.conf";
constexpr char kService[] = "qor.Bench";

int RunBus()
{
    RemoveTree("/opt/bus");
    WriteFile(kBusConfig,
              "<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN'\n"
              " 'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>\n"
              "<busconfig><type>session</type><listen>unix:path=/opt/bus</listen>\n"
              "<auth>EXTERNAL</auth><policy context='default'><allow send_destination='*'/>\n"
              "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>\n");
    (void)::execlp("dbus-daemon", "dbus-daemon", "--config-file=/opt/bus.conf", "--nofork",
                   nullptr);
    return 127;
}

struct CloseConnection {
    void operator()(DBusConnection* connection) const
    {
        ::dbus_connection_close(connection);
        ::dbus_connection_unref(connection);
    }
};
using Connection = std::unique_ptr<DBusConnection, CloseConnection>;

struct Unref {
    void operator()(DBusMessage* message) const { ::dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, Unref>;

Connection ConnectToBus()
{
    Connection connection;
    (void)WaitUntil([&connection] {
        connection.reset(::dbus_connection_open_private(kBusAddress, nullptr));
        return connection != nullptr;
    });
    if (connection == nullptr || ::dbus_bus_register(connection.get(), nullptr) == FALSE)
        throw std::runtime_error("no connection to the message bus");
    ::dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    return connection;
}

void AppendBytes(DBusMessage* message, const char* bytes, int length)
{
    (void)::dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, length,
                                     DBUS_TYPE_INVALID);
}

// The bytes stay the message's.
int BytesOf(DBusMessage* message, const char*& bytes)
{
    int length = -1;
    (void)::dbus_message_get_args(message, nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes,
                                  &length, DBUS_TYPE_INVALID);
    return length;
}

int ServeBus()
{
    const Connection connection = ConnectToBus();
    (void)::dbus_bus_request_name(connection.get(), kService, 0, nullptr);
    while (::dbus_connection_read_write(connection.get(), -1) == TRUE) {
        while (const Message call{::dbus_connection_pop_message(connection.get())}) {
            const char* bytes = nullptr;
            const int length = BytesOf(call.get(), bytes);
            if (::dbus_message_get_type(call.get()) != DBUS_MESSAGE_TYPE_METHOD_CALL || length < 0)
                continue;
            const Message reply(::dbus_message_new_method_return(call.get()));
            AppendBytes(reply.get(), bytes, length);
            (void)::dbus_connection_send(connection.get(), reply.get(), nullptr);
            ::dbus_connection_flush(connection.get());
        }
    }
    return 0;
}

class Bus : public Client
{
public:
    Bus()
    {
        (void)WaitUntil([this] {
            return ::dbus_bus_name_has_owner(connection_.get(), kService, nullptr) == TRUE;
        });
    }

    int Ask(const std::string& request, std::vector<char>& answer) override
    {
        const Message call(
            ::dbus_message_new_method_call(kService, "/", "qor.Bench.Channel", "Ask"));
        AppendBytes(call.get(), request.data(), static_cast<int>(request.size()));
        const Message reply(::dbus_connection_send_with_reply_and_block(
            connection_.get(), call.get(), DBUS_TIMEOUT_USE_DEFAULT, nullptr));
        const char* bytes = nullptr;
        const int length = reply == nullptr ? -1 : BytesOf(reply.get(), bytes);
        if (length > 0)
            std::memcpy(answer.data(), bytes, static_cast<std::size_t>(length));
        return length;
    }

private:
    ChildProcess bus_{RunBus};
    ChildProcess server_{ServeBus};
    Connection connection_ = ConnectToBus();
};

}  // namespace

std::unique_ptr<Client> MakeUnixSocket()
{
    return std::make_unique<UnixSocket>();
}

std::unique_ptr<Client> MakeBus()
{
    return std::make_unique<Bus>();
}

}  // namespace qor::bench
