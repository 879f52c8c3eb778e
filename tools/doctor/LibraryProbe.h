// LibraryProbe.h - opens a library as the library's loader does, in a process of its own.
//
// Opening runs the library's constructors: they may do anything, and end the process. So a child
// opens it, and leaves without running destructors; what it has started is ended with it.
#ifndef DOCTOR_LIBRARYPROBE_H
#define DOCTOR_LIBRARYPROBE_H

#include <string>

namespace doctor {

struct ProbeResult {
    enum class Outcome {
        kGood,
        kUnresolved,    ///< opens, but not when all of its symbols are asked for
        kNotLoadable,   ///< dlopen(3) fails
        kNoEntryPoint,  ///< opens, and does not export it
        kNoAnswer,      ///< ended the process, or kept it for ten seconds
        kNotTried,      ///< no process could be made
    };

    Outcome outcome;
    std::string reason;  ///< the dynamic loader's text, or how the process ended
};

/// path: handed to dlopen(3) as it is. SIGCHLD must not be ignored.
ProbeResult ProbeLibrary(const std::string& path, const char* entryPoint);

}  // namespace doctor

#endif  // DOCTOR_LIBRARYPROBE_H
