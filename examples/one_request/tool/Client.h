// Client.h - sends a request through the channel and waits for its answer.
#ifndef ONE_REQUEST_TOOL_CLIENT_H
#define ONE_REQUEST_TOOL_CLIENT_H

#include <chrono>
#include <string>

#include "CFileTransfer.h"

namespace one_request {

/// The trace component of the tool, and the tag of its channel.
constexpr char kComponent[] = "cli";

class Client
{
public:
    explicit Client(const std::string& configFile);

    /// The answer's text. A wait of more than two seconds is announced on a terminal. When none
    /// comes within `limit`, or the service does not take the request within the channel's 30
    /// seconds, the request is withdrawn and the process ends with a message and exit status
    /// kNoAnswer. Throws QorException when the request cannot be sent, or the answer not be read.
    std::string Ask(const std::string& request, std::chrono::seconds limit);

private:
    void Send(const std::string& request);
    std::string Receive();
    std::string RequestPath();

    CFileTransfer channel_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_CLIENT_H
