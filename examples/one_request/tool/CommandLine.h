// CommandLine.h - what qor_cli is asked to do.
#ifndef ONE_REQUEST_TOOL_COMMANDLINE_H
#define ONE_REQUEST_TOOL_COMMANDLINE_H

#include <chrono>
#include <map>
#include <stdexcept>
#include <string>

namespace one_request {

struct CommandLine {
    enum class Action { kHelp, kVersion, kRequest, kLog };

    Action action = Action::kRequest;

    // kRequest
    std::string className;
    std::string methodName;
    std::map<std::string, std::string> parameters;
    bool records = false;
    std::string channelConfig = "/opt/velmora/qor/som/socket.conf";
    std::chrono::seconds limit{120};

    // kLog
    std::string component;
    std::string since;  ///< a time stamp, or empty
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws UsageError.
CommandLine ParseCommandLine(int argc, char** argv);

/// The text of --help.
extern const char kHelp[];

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_COMMANDLINE_H
