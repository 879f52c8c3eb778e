// qor_doctor - checks an installation. See README.md.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>

#include "checks/Checks.h"
#include "CommandLine.h"
#include "Files.h"
#include "Output.h"

namespace doctor {
namespace {

enum ExitStatus { kNoFindings = 0, kWarnings = 1, kErrors = 2, kTrouble = 3 };

// NO_COLOR counts when it is set and not empty.
bool IsColourWanted()
{
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0') &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

// Ignored signals are inherited. The doctor waits for children, so it needs the default.
bool TakeBackSigchld()
{
    struct sigaction inherited = {};
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    return ::sigaction(SIGCHLD, &standard, &inherited) == 0 && inherited.sa_handler == SIG_IGN;
}

ExitStatus ExitStatusOf(const Report& report)
{
    if (!report.NotSeen().empty())
        return kTrouble;
    if (report.Count(Severity::kError) > 0)
        return kErrors;
    return report.Count(Severity::kWarning) > 0 ? kWarnings : kNoFindings;
}

ExitStatus Check(CommandLine& commandLine)
{
    if (!IsDirectory(kRoot)) {
        std::cerr << "qor_doctor: there is no installation in " << kRoot << '\n';
        return kTrouble;
    }
    commandLine.installation.startedWithSigchldIgnored = TakeBackSigchld();
    Report report;
    CheckEverything(commandLine.installation, report);
    if (commandLine.json)
        PrintJson(std::cout, report);
    else
        PrintText(std::cout, report, IsColourWanted());
    return ExitStatusOf(report);
}

ExitStatus Run(CommandLine commandLine)
{
    switch (commandLine.action) {
        case CommandLine::Action::kHelp:
            std::cout << kHelp;
            return kNoFindings;
        case CommandLine::Action::kVersion:
            std::cout << "qor_doctor " QOR_DOCTOR_VERSION "\n";
            return kNoFindings;
        case CommandLine::Action::kList:
            PrintKnownFindings(std::cout);
            return kNoFindings;
        case CommandLine::Action::kCheck:
            break;
    }
    return Check(commandLine);
}

}  // namespace
}  // namespace doctor

int main(int argc, char** argv)
{
    using namespace doctor;
    try {
        const ExitStatus status = Run(ParseCommandLine(argc, argv));
        if (std::cout.flush())
            return status;
        std::cerr << "qor_doctor: the output cannot be written\n";
    } catch (const UsageError& error) {
        std::cerr << "qor_doctor: " << error.what() << "\nTry 'qor_doctor --help'.\n";
    } catch (const std::exception& error) {
        std::cerr << "qor_doctor: " << error.what() << '\n';
    }
    return kTrouble;
}
