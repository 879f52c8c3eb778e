// ScratchFile.h - a temporary file for a command's output, always removed.
#ifndef QOR_BASE_SCRATCHFILE_H
#define QOR_BASE_SCRATCHFILE_H

#include <sys/types.h>

#include <string>

#include "base/CancelGuard.h"

namespace qor {

// Creates a file that was not there before, never through a link, and leaves it empty. False with
// errno: EEXIST when the name is taken, by a dangling link too.
bool CreateExclusively(const std::string& path, mode_t mode);

// system(3). A cancellation of the thread kills the shell and unwinds from here.
int RunCommand(const CancelGuard& guard, const std::string& command);

class ScratchFile
{
public:
    // Creates "/var/tmp/qortmp" + time stamp, empty, mode 0600, before any command writes to it:
    // the shell's redirection then opens this file and never a planted link. Where nobody can make
    // a file (the directory is missing, or on a read-only disk), nobody can plant one either: the
    // name is kept, and the shell's redirection fails.
    ScratchFile();
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    // Runs `command` + " > " + path by RunCommand. Returns what system(3) returned; -1, without
    // running it, when the constructor kept no name.
    int Run(const CancelGuard& guard, const std::string& command) const;

    // Empties the file. Otherwise, if no shell can be started for the next command, the last output
    // would be read again.
    void Clear() const;

    const std::string& path() const { return path_; }

private:
    std::string path_;  // empty: nothing is run
};

}  // namespace qor

#endif  // QOR_BASE_SCRATCHFILE_H
