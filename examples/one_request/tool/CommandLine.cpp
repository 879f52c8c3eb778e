#include "tool/CommandLine.h"

#include <getopt.h>

#include <algorithm>
#include <charconv>
#include <cstddef>

#include "shared/ObjectText.h"

namespace one_request {
namespace {

constexpr int kMaxLimit = 86400;  // seconds; a day

std::chrono::seconds ParseLimit(const std::string& text)
{
    int seconds = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, seconds);
    if (result.ec != std::errc() || result.ptr != end || seconds < 1 || seconds > kMaxLimit)
        throw UsageError("'" + text + "' is no number of seconds from 1 to 86400");
    return std::chrono::seconds(seconds);
}

// CTraceUtility::ReadTrace takes other texts for "from the beginning", which would hide a mistake.
std::string ParseTimeStamp(const std::string& text)
{
    static const std::string form = "dddd/dd/dd dd:dd:dd";
    const bool fits =
        std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char c, char expected) {
            return expected == 'd' ? c >= '0' && c <= '9' : c == expected;
        });
    if (!fits)
        throw UsageError("'" + text + "' is no time stamp like '2026/11/15 08:29:18'");
    return text;
}

void AddParameter(const std::string& argument, CommandLine& commandLine)
{
    const auto equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    if (equals == std::string::npos || !IsName(name))
        throw UsageError("'" + argument + "' is no parameter of the form name=value");
    if (!commandLine.parameters.emplace(name, argument.substr(equals + 1)).second)
        throw UsageError("parameter '" + name + "' is given twice");
}

void ParseArguments(int count, char** arguments, CommandLine& commandLine)
{
    if (count < 2)
        throw UsageError("a class and a method are needed");
    commandLine.className = arguments[0];
    commandLine.methodName = arguments[1];
    if (!IsName(commandLine.className))
        throw UsageError("'" + commandLine.className + "' is no class name");
    if (!IsName(commandLine.methodName))
        throw UsageError("'" + commandLine.methodName + "' is no method name");
    for (int i = 2; i < count; ++i)
        AddParameter(arguments[i], commandLine);
}

void ApplyOption(int option, const char* argument, CommandLine& commandLine)
{
    switch (option) {
        case 'r':
            commandLine.records = true;
            return;
        case 'c':
            commandLine.channelConfig = argument;
            return;
        case 'w':
            commandLine.limit = ParseLimit(argument);
            return;
        case 'l':
            commandLine.action = CommandLine::Action::kLog;
            commandLine.component = argument;
            return;
        case 's':
            commandLine.since = ParseTimeStamp(argument);
            return;
        default:
            throw UsageError("wrong option");  // getopt_long(3) has said which
    }
}

}  // namespace

const char kHelp[] =
    "Usage: qor_cli [OPTION]... CLASS METHOD [NAME=VALUE]...\n"
    "  or:  qor_cli --log COMPONENT [--since TIME]\n"
    "Has the object-manager service run a provider's method and prints the answer, or prints\n"
    "a component's operation log. On a terminal, a wait of more than two seconds is announced.\n"
    "\n"
    "  -r, --records        print the answer's text records instead of a table\n"
    "  -w, --wait SECONDS   wait this long for the answer (120); the service must take the\n"
    "                       request within 30 seconds in any case\n"
    "  -c, --config FILE    settings of the channel (/opt/velmora/qor/som/socket.conf)\n"
    "  -l, --log COMPONENT  print the operation log of um, cli, som or a provider\n"
    "  -s, --since TIME     from this time on, for example '2026/11/15 08:29:18'\n"
    "  -h, --help           this text\n"
    "      --version        the version\n"
    "\n"
    "Examples:\n"
    "  qor_cli Inventory Host\n"
    "  qor_cli Inventory Host Section=Memory\n"
    "  qor_cli Inventory Versions\n"
    "  qor_cli --log som\n"
    "\n"
    "Exit status:\n"
    "  0  the answer, or the log, was printed\n"
    "  1  the answer is an error: the provider failed or could not be loaded\n"
    "  2  wrong usage\n"
    "  3  the service refused the request: no such class or method\n"
    "  4  no answer in time: is the service running?\n"
    "  5  the request could not be sent, or the answer not be read or printed\n"
    "  6  there is no such log, or it may not be read\n";

CommandLine ParseCommandLine(int argc, char** argv)
{
    static const option kLong[] = {
        {"records", no_argument, nullptr, 'r'},     {"config", required_argument, nullptr, 'c'},
        {"wait", required_argument, nullptr, 'w'},  {"log", required_argument, nullptr, 'l'},
        {"since", required_argument, nullptr, 's'}, {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'V'},     {nullptr, 0, nullptr, 0}};

    CommandLine commandLine;
    for (int c; (c = ::getopt_long(argc, argv, "rc:w:l:s:h", kLong, nullptr)) != -1;) {
        if (c == 'h' || c == 'V') {
            commandLine.action =
                c == 'h' ? CommandLine::Action::kHelp : CommandLine::Action::kVersion;
            return commandLine;
        }
        ApplyOption(c, ::optarg, commandLine);
    }

    if (commandLine.action == CommandLine::Action::kRequest)
        ParseArguments(argc - ::optind, argv + ::optind, commandLine);
    else if (::optind != argc)
        throw UsageError("--log takes no class and method");
    return commandLine;
}

}  // namespace one_request
