// ScratchFile.h - a file of ours for a command's output, removed on every way out.
#ifndef QOR_BASE_SCRATCHFILE_H
#define QOR_BASE_SCRATCHFILE_H

#include <sys/types.h>

#include <string>

namespace qor {

// Creates a file that was not there before, never through a link, and leaves it empty. False with
// errno: EEXIST when the name is taken, by a dangling link too.
bool CreateExclusively(const std::string& path, mode_t mode);

class ScratchFile
{
public:
    // Creates "/var/tmp/qortmp" + time stamp, empty, mode 0600, before any command writes to it: a
    // shell's redirection then opens a file of ours and never a planted link. Where the directory
    // lets no file be made (it is missing, or on a read-only disk), nobody can plant one either:
    // the name is kept, and the redirection of the shell fails.
    ScratchFile();
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    // Runs `command` + " > " + path through the shell. Returns what system(3) returned; -1, without
    // running it, when no name is free or something else than the directory keeps the file from
    // being made.
    int Run(const std::string& command) const;

    // Takes away what the last command has written, for the case that no shell can be started for
    // the next one: it would leave that in the file.
    void Clear() const;

    const std::string& path() const { return path_; }

private:
    std::string path_;  // empty: nothing is run
};

}  // namespace qor

#endif  // QOR_BASE_SCRATCHFILE_H
