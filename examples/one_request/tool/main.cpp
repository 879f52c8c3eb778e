// qor_cli - the command-line tool of the example; see --help.
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "CIWbemUtil.h"
#include "CTraceUtility.h"
#include "QorException.h"
#include "shared/Messages.h"
#include "shared/ObjectText.h"
#include "shared/TraceSession.h"
#include "tool/Client.h"
#include "tool/CommandLine.h"
#include "tool/ExitStatus.h"
#include "tool/OperationLog.h"
#include "tool/Table.h"

namespace {

using namespace one_request;

std::string ToText(const CommandLine& commandLine)
{
    const Request request(commandLine.className, commandLine.methodName);
    for (const auto& [name, value] : commandLine.parameters)
        (void)CIWbemUtil::setStringToIWbemClassObject(request.Parameters(), name.c_str(), value);
    return request.ToText();
}

void PrintRecords(const std::string& text)
{
    for (const std::string& record : SplitRecords(text))
        std::cout << record << '\n';
}

// The reason of a request that came to nothing, for the user and for the operation log.
ExitStatus ReportFailure(const CommandLine& commandLine, const std::string& reason,
                         ExitStatus status)
{
    const std::string line = OneLine(reason);
    CTraceUtility::WriteTrace(kComponent, "CLI_FAILED", commandLine.className.c_str(),
                              commandLine.methodName.c_str(), line.c_str());
    std::cerr << "qor_cli: " << line << '\n';
    return status;
}

std::string StatusText(IWbemClassObject* result, unsigned long status)
{
    std::string message;
    (void)CIWbemUtil::getStringFromIWbemClassObject(result, "Message", &message);
    char code[32];
    (void)std::snprintf(code, sizeof code, "0x%08lX", status);
    return "the provider returned " + std::string(code) + ": " + message;
}

ExitStatus Judge(const CommandLine& commandLine, const Answer& answer)
{
    if (answer.GetOutcome() == Outcome::kRefused)
        return ReportFailure(commandLine, "refused: " + answer.Reason(), kRefused);
    if (answer.GetOutcome() == Outcome::kFailed)
        return ReportFailure(commandLine, answer.Reason(), kErrorAnswer);

    unsigned long status = 0;
    if (CIWbemUtil::getReturnValueFromIWbemClassObject(answer.Result(), &status) != 0)
        throw QorException("the answer holds no status");
    if (status != 0)
        return ReportFailure(commandLine, StatusText(answer.Result(), status), kErrorAnswer);

    CTraceUtility::WriteTrace(kComponent, "CLI_DONE", commandLine.className.c_str(),
                              commandLine.methodName.c_str());
    return kSuccess;
}

ExitStatus RunRequest(const CommandLine& commandLine)
{
    const std::string text =
        Client(commandLine.channelConfig).Ask(ToText(commandLine), commandLine.limit);
    const Answer answer = Answer::FromText(text);
    const ExitStatus status = Judge(commandLine, answer);
    if (commandLine.records)
        PrintRecords(text);
    else if (status == kSuccess)
        PrintTable(std::cout, *answer.Result());
    return status;
}

ExitStatus PrintLog(const CommandLine& commandLine)
{
    for (const std::string& record : ReadOperationLog(commandLine.component, commandLine.since))
        std::cout << record << '\n';
    return kSuccess;
}

ExitStatus Run(const CommandLine& commandLine)
{
    switch (commandLine.action) {
        case CommandLine::Action::kHelp:
            std::cout << kHelp;
            return kSuccess;
        case CommandLine::Action::kVersion:
            std::cout << "qor_cli, an example of libqor_ComLib " QOR_EXAMPLE_VERSION "\n";
            return kSuccess;
        case CommandLine::Action::kLog:
            return PrintLog(commandLine);
        case CommandLine::Action::kRequest:
            break;
    }
    const TraceSession trace(kComponent);
    try {
        return RunRequest(commandLine);
    } catch (const std::exception& error) {
        return ReportFailure(commandLine, error.what(), kTrouble);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const ExitStatus status = Run(ParseCommandLine(argc, argv));
        if (std::cout.flush())
            return status;
        std::cerr << "qor_cli: the output cannot be written\n";
        return kTrouble;
    } catch (const UsageError& error) {
        std::cerr << "qor_cli: " << error.what() << "\nTry 'qor_cli --help'.\n";
        return kUsage;
    } catch (const NoLog& error) {
        std::cerr << "qor_cli: " << error.what() << '\n';
        return kNoLog;
    } catch (const std::exception& error) {
        std::cerr << "qor_cli: " << error.what() << '\n';
        return kTrouble;
    }
}
