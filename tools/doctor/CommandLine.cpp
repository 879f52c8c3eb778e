#include "CommandLine.h"

#include <getopt.h>

#include <string>
#include <vector>

namespace doctor {
namespace {

// Capital letters stand for options that have no short form.
const option kLong[] = {{"json", no_argument, nullptr, 'j'},
                        {"list", no_argument, nullptr, 'l'},
                        {"providers", required_argument, nullptr, 'P'},
                        {"vendors", required_argument, nullptr, 'V'},
                        {"channel", required_argument, nullptr, 'C'},
                        {"provider-dir", required_argument, nullptr, 'D'},
                        {"vendor-dir", required_argument, nullptr, 'E'},
                        {"no-load", no_argument, nullptr, 'N'},
                        {"help", no_argument, nullptr, 'h'},
                        {"version", no_argument, nullptr, 'R'},
                        {nullptr, 0, nullptr, 0}};

// The first file that the user names takes the place of the usual one.
void AddFile(std::vector<ChosenFile>& files, const char* path)
{
    if (!files.empty() && !files.front().mustExist)
        files.clear();
    files.push_back({path, true});
}

void Apply(int option, const char* argument, CommandLine& commandLine)
{
    Installation& installation = commandLine.installation;
    switch (option) {
        case 'j':
            commandLine.json = true;
            return;
        case 'l':
            commandLine.action = CommandLine::Action::kList;
            return;
        case 'h':
            commandLine.action = CommandLine::Action::kHelp;
            return;
        case 'R':
            commandLine.action = CommandLine::Action::kVersion;
            return;
        case 'N':
            installation.load = false;
            return;
        case 'P':
            return AddFile(installation.providerFiles, argument);
        case 'V':
            return AddFile(installation.vendorFiles, argument);
        case 'C':
            return AddFile(installation.channelFiles, argument);
        case 'D':
            installation.providerDirectory = argument;
            return;
        case 'E':
            installation.vendorDirectory = argument;
            return;
        default:
            throw UsageError("wrong option");  // getopt_long(3) has said which
    }
}

}  // namespace

const char kHelp[] =
    "Usage: qor_doctor [OPTION]...\n"
    "Looks over the installation in /opt/velmora/qor and the processes that work on it, and\n"
    "says what is wrong, what will happen and what to do. Run it as root, on the running system.\n"
    "\n"
    "It creates, changes and locks nothing. But to see whether the libraries of providers and\n"
    "vendors can be loaded it loads them, each in a process of its own, and that runs their\n"
    "constructors, which are not the doctor's code: --no-load leaves it out.\n"
    "\n"
    "  -j, --json            print one JSON object\n"
    "      --providers FILE  provider definition file (som/providers.ini, if it is there)\n"
    "      --vendors FILE    vendor factory file (etc/vendors.ini, if it is there)\n"
    "      --channel FILE    settings of the channel (som/socket.conf)\n"
    "                        Each of the three may be given more than once.\n"
    "      --provider-dir DIR, --vendor-dir DIR\n"
    "                        where libraries are that are named without a directory (provider,\n"
    "                        lib); Inventory.dll is libqorp_Inventory.so there\n"
    "      --no-load         load no library: only see whether it is there and a library\n"
    "  -l, --list            print all findings that there are: id, severity, subject\n"
    "  -h, --help            this text\n"
    "      --version         the version\n"
    "\n"
    "Colour is used on a terminal, unless NO_COLOR is set.\n"
    "\n"
    "Exit status, by the worst finding:\n"
    "  0  no findings\n"
    "  1  warnings\n"
    "  2  errors\n"
    "  3  wrong usage, or not everything could be looked at\n";

CommandLine ParseCommandLine(int argc, char** argv)
{
    CommandLine commandLine;
    for (int c; (c = ::getopt_long(argc, argv, "jlh", kLong, nullptr)) != -1;)
        Apply(c, ::optarg, commandLine);
    if (::optind != argc)
        throw UsageError(std::string("'") + argv[::optind] + "' is no option");
    return commandLine;
}

}  // namespace doctor
