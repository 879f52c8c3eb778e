// CommandLine.h - what qor_doctor is asked to do.
#ifndef DOCTOR_COMMANDLINE_H
#define DOCTOR_COMMANDLINE_H

#include <stdexcept>

#include "Installation.h"

namespace doctor {

struct CommandLine {
    enum class Action { kCheck, kHelp, kVersion, kList };

    Action action = Action::kCheck;
    bool json = false;
    Installation installation = UsualInstallation();
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws UsageError.
CommandLine ParseCommandLine(int argc, char** argv);

/// The text of --help.
extern const char kHelp[];

}  // namespace doctor

#endif  // DOCTOR_COMMANDLINE_H
