// qor_som - the object-manager service of the example; see --help.
#include <getopt.h>

#include <exception>
#include <iostream>
#include <string>

#include "CTraceUtility.h"
#include "service/ProviderRegistry.h"
#include "service/Service.h"
#include "service/Spool.h"
#include "service/StopSignal.h"
#include "shared/Messages.h"
#include "shared/TraceSession.h"

namespace {

using namespace one_request;

constexpr char kHelp[] =
    "Usage: qor_som [OPTION]...\n"
    "Answers the requests of qor_cli until it is asked to stop (SIGTERM, SIGINT).\n"
    "\n"
    "  -c, --config FILE     settings of the channel\n"
    "                        (/opt/velmora/qor/som/socket.conf)\n"
    "  -p, --providers FILE  which provider serves which class\n"
    "                        (/opt/velmora/qor/som/providers.ini)\n"
    "  -h, --help            this text\n"
    "      --version         the version\n"
    "\n"
    "Provider libraries are loaded from /opt/velmora/qor/provider, logs are written to\n"
    "/opt/velmora/qor/log.\n"
    "\n"
    "Exit status: 0 after a stop, 1 when the service cannot start, 2 for wrong usage,\n"
    "3 when another service takes the requests of the same directory.\n";

enum ExitStatus { kStopped = 0, kCannotStart = 1, kUsage = 2, kAnotherRuns = 3 };

struct Options {
    std::string channelConfig = "/opt/velmora/qor/som/socket.conf";
    std::string definitionFile = "/opt/velmora/qor/som/providers.ini";
    bool help = false;
    bool version = false;
};

// False when the arguments are wrong; getopt_long(3) has said what is.
bool Parse(int argc, char** argv, Options& options)
{
    static const option kLong[] = {{"config", required_argument, nullptr, 'c'},
                                   {"providers", required_argument, nullptr, 'p'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {"version", no_argument, nullptr, 'V'},
                                   {nullptr, 0, nullptr, 0}};
    for (int c; (c = ::getopt_long(argc, argv, "c:p:h", kLong, nullptr)) != -1;) {
        if (c == 'c')
            options.channelConfig = ::optarg;
        else if (c == 'p')
            options.definitionFile = ::optarg;
        else if (c == 'h')
            options.help = true;
        else if (c == 'V')
            options.version = true;
        else
            return false;
    }
    return ::optind == argc;
}

void Serve(const Options& options)
{
    StopSignal stop;
    Spool spool(options.channelConfig);
    ProviderRegistry providers(options.definitionFile);
    Service service(spool, providers);

    CTraceUtility::WriteTrace(kComponent, "SOM_START", providers.Count());
    service.Run(stop);
    CTraceUtility::WriteTrace(kComponent, "SOM_STOP");
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!Parse(argc, argv, options)) {
        std::cerr << "Try 'qor_som --help'.\n";
        return kUsage;
    }
    if (options.help) {
        std::cout << kHelp;
        return kStopped;
    }
    if (options.version) {
        std::cout << "qor_som, an example of libqor_ComLib " QOR_EXAMPLE_VERSION "\n";
        return kStopped;
    }

    const TraceSession trace(kComponent);
    try {
        Serve(options);
        return kStopped;
    } catch (const SpoolTaken& error) {  // the logs are the other service's
        std::cerr << "qor_som: " << error.what() << '\n';
        return kAnotherRuns;
    } catch (const std::exception& error) {
        CTraceUtility::WriteTrace(kComponent, "SOM_CANNOT_START", OneLine(error.what()).c_str());
        std::cerr << "qor_som: " << error.what() << '\n';
        return kCannotStart;
    }
}
