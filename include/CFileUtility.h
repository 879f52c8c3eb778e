// CFileUtility.h - install paths, file tests, searches, commands, and component versions.
//
//     CFileUtility::GetInstallPath(2);                              // "/opt/velmora/qor/um"
//     if (CFileUtility::CheckFileVersion(have, want) > 0) Update();    // `want` is newer
//
// Failed searches and deletions leave a debug record of component "QorCom" at level 2.
// Threads: no state; every function may be called from any thread. A cancelled thread
// (pthread_cancel(3)) ends where RunVBS or ChangeFilePermission runs a command, and otherwise after
// the operation; descriptors are closed and scratch files removed.
#ifndef QOR_CFILEUTILITY_H
#define QOR_CFILEUTILITY_H

#include <list>
#include <string>
#include <utility>

#include "QorExport.h"

class QOR_API CFileUtility
{
public:
    /// Whether bytes 1 to 3 of the file are "ELF". Intended: byte 0 is not looked at.
    static bool IsElfFile(const char* path);

    /// Whether the path exists, as a file of any kind (stat(2)).
    static bool IsFileExist(std::string path);

    /// Intended: not implemented; throws std::logic_error always. Use GetPrivateProfileStringA.
    static std::string ReadConfigString(std::string section, std::string key, std::string file);

    /// Renames `from`. A `to` without "/" stays in the directory of `from`. True on success.
    ///
    /// Intended: when neither holds a "/", the file moves to the root directory: pass full paths.
    static bool RenName(std::string from, std::string to);

    /// Runs `command`, a blank and `arguments` through the shell and discards the output. Returns
    /// the exit status, 127 if there is no such command; -1 if a signal ended the shell, if
    /// system(3) failed, or, without running it, if no scratch file can be made for lack of room,
    /// descriptors or permission. If "/var/tmp" is missing or read-only, the shell's own failure is
    /// the status.
    ///
    /// The shell reads both texts: quote what is foreign. Of a list of commands, only the last has
    /// its output discarded. A cancellation kills only the shell: a process that it has just
    /// started continues, and may leave an empty scratch file.
    static int RunVBS(std::string command, std::string arguments);

    /// The install directory of a kind of component, without a final "/":
    ///
    ///     0 providers    /opt/velmora/qor/provider
    ///     2 "um"         /opt/velmora/qor/um
    ///     4 libraries    /opt/velmora/qor/lib
    ///     5 "cli"        /opt/velmora/qor/cli
    ///     6 "som"        /opt/velmora/qor/som
    ///     any other      /opt/velmora/qor/unknown
    static std::string GetInstallPath(int kind);

    /// Whether `name` matches `pattern`. Only the first wildcard counts, "*" before "?".
    ///
    /// Intended: "*" in front means "contains the rest" ("*log" matches "catalog.txt"); "*"
    /// anywhere else matches nothing. A run of "?" stands for as many characters, or for fewer at
    /// the end of the name ("a??" matches "ab"); a later "?" stands for itself. A first "?" beyond
    /// the end of the name throws std::out_of_range. For shell patterns use fnmatch(3).
    static bool isMatch(std::string pattern, std::string name);

    /// The name without its last "." and what follows. Intended: "" for a name without "."; a "."
    /// of a directory counts too ("x.d/README" gives "x"), so pass names without directories.
    static std::string RemoveFileExtension(std::string name);

    /// Runs "/bin/chmod 0MODE PATH" through the shell. Returns what system(3) returned, 0 on
    /// success; -1 without a scratch file, as RunVBS. The shell reads the path: quote what is
    /// foreign, or call chmod(2).
    static int ChangeFilePermission(std::string path, int mode);

    /// Unlinks every file of the directory whose name contains `extension`. False when the
    /// directory cannot be read or a file could not be unlinked; the others are gone all the same.
    ///
    /// Intended: the text may stand anywhere in the name: ".log" matches "x.log.1" too, and ""
    /// every file. Matching subdirectories cannot be unlinked and give false; "" and "." always do,
    /// because of the entries "." and "..".
    static bool DeleteAllFileByExtendName(std::string directory, std::string extension);

    /// Appends to `found` the names in the directory that isMatch accepts, "." and ".." included. A
    /// null `found` is ignored.
    ///
    /// Intended: isMatch can throw here too: "ab?" always does so, at the entry "."; "?" and "a?"
    /// never do. What was found before stays in the list. Use glob(3) for such patterns.
    static void SearchFile(std::string directory, std::string pattern,
                           std::list<std::string>* found);

    /// Compares dotted versions: positive when `b` is newer, negative when `a` is, 0 when equal. A
    /// missing number and text without a number count as 0, "2a" as 2.
    ///
    /// Intended: the result is the first difference, b's number minus a's, not just its sign.
    /// Numbers are of type long; a difference beyond int becomes the nearest int.
    static int CheckFileVersion(std::string a, std::string b);

    /// Appends the (name, version) pairs of one section of "/opt/velmora/qor/etc/qorversion.ver":
    /// "TargetNum", then "TargetName1", "Version1" and so on. A missing name or version is "".
    /// Every number up to "TargetNum" is looked up: keep it right.
    static void MakeVersionList(std::string section,
                                std::list<std::pair<std::string, std::string>>& list);

    /// The version of a file by its base name, from the first section that lists it: "Integrated",
    /// "CLI", "SOM", "UpdateManager", "QORProvider", "VendorModule". "" when none does.
    static std::string GetFileVersion(std::string path);
};

#endif  // QOR_CFILEUTILITY_H
