// ScratchFile.h - a file of ours for a command's output, removed on every way out.
#ifndef QOR_UTIL_SCRATCHFILE_H
#define QOR_UTIL_SCRATCHFILE_H

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
    // shell's redirection then opens a file of ours and never a planted link.
    ScratchFile();
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    // False when it could not be created.
    explicit operator bool() const { return !path_.empty(); }

    // Runs `command` + " > " + path through the shell. Returns what system(3) returned; -1 without
    // a file.
    int Run(const std::string& command) const;

    // Takes away what the last command has written, for the case that no shell can be started for
    // the next one: it would leave that in the file.
    void Clear() const;

    const std::string& path() const { return path_; }

private:
    std::string path_;  // empty: not created
};

}  // namespace qor

#endif  // QOR_UTIL_SCRATCHFILE_H
