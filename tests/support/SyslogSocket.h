// SyslogSocket.h - the system log of a test: a socket at /dev/log that keeps what arrives.
//
//     SyslogSocket log;
//     ...
//     EXPECT_EQ("Failed to create log directory. (2)\n", log.Messages().at(0).text);
#ifndef QOR_TEST_SYSLOGSOCKET_H
#define QOR_TEST_SYSLOGSOCKET_H

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/Descriptors.h"

namespace qor::test {

// A datagram as syslog(3) sends it: "<11>Nov 15 08:29:18 ident[4711]: text".
struct SyslogMessage {
    int priority = 0;   // facility | level, as in <syslog.h>
    std::string stamp;  // "Nov 15 08:29:18"
    std::string ident;
    int pid = 0;  // 0 when the sender gave none
    std::string text;
};

// Nothing when the datagram has another form.
std::optional<SyslogMessage> ParseSyslog(const std::string& datagram);

class SyslogSocket
{
public:
    // Binds /dev/log; another socket's name there is replaced.
    SyslogSocket();
    SyslogSocket(const SyslogSocket&) = delete;
    SyslogSocket& operator=(const SyslogSocket&) = delete;
    ~SyslogSocket();

    // All datagrams since the construction or Clear(), oldest first, byte for byte. Whatever
    // syslog(3) has sent before this call, from any process, is among them.
    std::vector<std::string> Received();

    // The same, parsed. Throws std::runtime_error on a datagram of another form.
    std::vector<SyslogMessage> Messages();

    void Clear();

private:
    void Drain();  // with mutex_ held
    void Serve();

    OwnedFd socket_;
    OwnedFd stop_;  // eventfd: Serve() is to return
    std::mutex mutex_;
    std::vector<std::string> received_;

    // A unix socket holds few unread datagrams (max_dgram_qlen, 10 on many systems), and then
    // syslog(3) blocks: this thread reads beside the test.
    std::thread reader_;
};

}  // namespace qor::test

#endif  // QOR_TEST_SYSLOGSOCKET_H
