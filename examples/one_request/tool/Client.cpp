#include "tool/Client.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <vector>

#include "CTraceUtility.h"
#include "QorException.h"
#include "tool/ExitStatus.h"
#include "tool/Watchdog.h"

namespace one_request {
namespace {

constexpr int kMaxAnswer = 4 * 1024 * 1024;       // bytes
constexpr std::chrono::seconds kQuiet{2};         // a wait that needs no word
constexpr std::chrono::seconds kTakenWithin{30};  // the channel's limit, a little more by the clock

// Without the clean-up that an orderly exit makes: another thread may still be in the channel.
[[noreturn]] void ExitWithoutAnswer(const char* reason)
{
    CTraceUtility::WriteTrace(kComponent, "CLI_NO_ANSWER", reason);
    std::cerr << "qor_cli: no answer: " << reason << "; is qor_som running?\n";
    std::_Exit(kNoAnswer);
}

// For a person at a terminal: in other cases the standard error stream gets only failures.
void AnnounceWait(const std::string& requestPath, std::chrono::seconds limit)
{
    if (::isatty(STDERR_FILENO) == 0)
        return;
    const bool waits = ::access(requestPath.c_str(), F_OK) == 0;
    const auto seconds = (waits ? std::min(limit, kTakenWithin) : limit).count();
    std::cerr << "qor_cli: "
              << (waits ? "waiting for qor_som to take the request" : "qor_som is at work")
              << "; giving up after about " << seconds << " seconds\n";
}

}  // namespace

Client::Client(const std::string& configFile) : channel_(kComponent, configFile)
{
    if (channel_.Interval() <= 0)
        throw QorException("polling_interval in %s is not positive", configFile.c_str());
}

std::string Client::Ask(const std::string& request, std::chrono::seconds limit)
{
    Send(request);

    const std::string path = RequestPath();
    const Watchdog announcer(kQuiet, [&path, limit] { AnnounceWait(path, limit); });
    const Watchdog watchdog(limit, [&path] {
        (void)::unlink(path.c_str());  // gone when the service has it
        ExitWithoutAnswer("the time is over");
    });
    return Receive();
}

void Client::Send(const std::string& request)
{
    if (channel_.SendMessage(request) < 0)
        throw QorException("the request cannot be sent: %s", std::strerror(errno));
}

std::string Client::Receive()
{
    // RecvMessage writes a NUL after what it read, and before the buffer when it cannot read.
    std::vector<char> space(1 + kMaxAnswer + 1);
    char* const buffer = space.data() + 1;
    const int length = channel_.RecvMessage(buffer, kMaxAnswer, 0);
    if (length < 0)
        ExitWithoutAnswer("the request was not taken, or its answer cannot be read");
    if (length == 0)
        throw QorException("the answer is empty");
    if (length == kMaxAnswer)
        throw QorException("the answer is too long");
    return std::string(buffer, static_cast<std::size_t>(length));
}

std::string Client::RequestPath()
{
    std::string directory;
    std::string path;
    channel_.GetRecvDir(directory);
    channel_.GetTransFile(path);
    channel_.AppendFullPath(directory, path);
    return path;
}

}  // namespace one_request
