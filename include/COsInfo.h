// COsInfo.h - the host: platform, kernel, system data of the firmware, devices, login banner.
//
//     COsInfo host;
//     std::string uuid;
//     if (host.getDmiSystemUuid(uuid)) Use(host.getVersion(), uuid);
//     host.release();
//
// The answers come from standard commands, run through the shell with their output in scratch files
// of /var/tmp that are removed afterwards. If a command fails, the answer is empty or false. Fixed
// names in shared directories are used too ("/var/tmp/dmitmp", "/tmp/motd", "/var/tmp/motds"):
// docs/running-as-root.md describes how to set up a machine for them. The first two are read only
// if they are regular files of root or of the caller with one link; anything else counts as a file
// that cannot be opened. Two processes that use them at once disturb each other.
//
// Threads: one object, one thread. A cancelled thread (pthread_cancel(3)) ends where a command
// runs, and otherwise after the operation; descriptors are closed and scratch files removed.
// SIGCHLD must not be ignored: system(3) would report every command as failed.
#ifndef QOR_COSINFO_H
#define QOR_COSINFO_H

#include <cstdio>
#include <string>

#include "QorExport.h"

class QOR_API COsInfo
{
public:
    /// Runs "/bin/uname -i" and "/bin/uname -r". What fails stays empty.
    COsInfo();

    /// Leaves the cache "/var/tmp/dmitmp" where it is: see release().
    virtual ~COsInfo();

    /// The hardware platform, the first word of "uname -i".
    std::string getName();

    /// The kernel release, the first word of "uname -r".
    std::string getVersion();

    /// Whether `name` equals getName() and `version` equals getVersion().
    bool compare(std::string name, std::string version);

    /// Looks up a field, such as "Serial Number:", in the "System Information" of dmidecode(8),
    /// whose output is cached in "/var/tmp/dmitmp". Needs root if there is no cache. `key` is the
    /// beginning of the field's line: "Prod" finds "Product Name:". False leaves `value` untouched.
    ///
    /// Intended: a later match overwrites an earlier one. A field whose line ends in its colon
    /// throws std::out_of_range: catch it. A cache is never renewed, even an empty one of a failed
    /// run: call release() first to ask the firmware again.
    bool getDmiSystemInfo(std::string key, std::string& value);

    /// getDmiSystemInfo("UUID:"), with a debug record of "som" at level 32. Intended, for this and
    /// the next two: the record's label is "PRODUCT".
    bool getDmiSystemUuid(std::string& value);

    /// getDmiSystemInfo("Manufacturer:").
    bool getDmiSystemManufacture(std::string& value);

    /// getDmiSystemInfo("Product Name:").
    bool getDmiSystemProductName(std::string& value);

    /// getDmiSystemInfo("Version:"); the record's label is "VERSION".
    bool getDmiSystemVersion(std::string& value);

    /// Removes the cache "/var/tmp/dmitmp". 0, or -1 with errno.
    int release();

    /// Writes the device list "/opt/velmora/qor/etc/devices.tmp" from the output of
    /// "/opt/velmora/qor/etc/lspcimn.sh": a line "FIRST-SECOND-THIRD" per record of three words
    /// whose first begins with a digit, the second and third in upper case. False when the list
    /// cannot be made or written, with a debug record of "som"; without one when system(3) fails
    /// or no scratch file can be made for lack of room, descriptors or permission.
    ///
    /// Intended: a script that is missing or fails gives an empty list and true, as does a
    /// "/var/tmp" that is missing or read-only. Check for both first. Words are read across lines:
    /// the script must print exactly three for each record.
    bool makeDeviceInfo();

    /// add: true adds the suite's block, "/opt/velmora/qor/etc/motd.dat", to "/etc/motd", unless
    /// isAlreadyMotd finds it; false removes every block from a line "-qor..." to a line "qor-...".
    ///
    /// Intended: adding empties "/etc/motd" first (see isAlreadyMotd). Removing drops the line
    /// after the block too, a last line without line feed, and everything from a line of 128 bytes
    /// or more on. Keep the site's own text elsewhere (motd.tail, update-motd.d) or save it before.
    /// Removing leaves "/etc/motd" untouched when its scratch copy, "/tmp/motd", cannot be made or
    /// may belong to another account; what has that name is removed, unless it is a directory.
    void motd(bool add);

    /// Whether "/var/tmp/motds" contains "qor"; that file is removed.
    ///
    /// Intended: the check empties "/etc/motd", and does not search it: callers rely on the banner
    /// being replaced. Save "/etc/motd" first.
    bool isAlreadyMotd();

    /// Sends a message to the terminals of logged-in users with wall(1), and waits for a child.
    /// Begin the message with plain text: wall takes one that names a file for that file, and
    /// "-..." for options. Returns what wait(2) returned, a child's process id, or -1 if fork(2)
    /// fails.
    ///
    /// Intended: wait(2) takes any child that ends first. When wall cannot be run, the child
    /// process returns -1 from here into the caller's code: compare getpid() directly after the
    /// call, and leave the child with _exit(2). After a thread was cancelled while it waits here,
    /// the program must wait for the child.
    int wall(std::string message);

    /// Appends the content of `from` to `to`. A missing `to` is made, even if `from` cannot be
    /// opened. A file is not appended to itself. Failures are not reported.
    void copyFile(std::string from, std::string to);

    /// The line from its first letter (isalpha(3)) on; null if a line feed or the end comes first.
    const char* firstString(const char* line);

    /// As fgets(3), but replaces the line feed by a NUL.
    ///
    /// Intended: the first line feed anywhere in the `size` bytes becomes NUL, also after the end
    /// of the text and when nothing was read: initialise the whole buffer first.
    char* fgetn(char* buffer, std::size_t size, std::FILE* file);

private:
    std::string name_;
    std::string version_;
};

#endif  // QOR_COSINFO_H
