// HostileDisk.h - what an ordinary account can put in the way of a program of root's, and how the
// disk looks before and after.
#ifndef QOR_PROOF_HOSTILEDISK_H
#define QOR_PROOF_HOSTILEDISK_H

#include <map>
#include <string>
#include <vector>

namespace qor::proof {

// Bits: a declaration names several kinds at once.
enum Kind : unsigned {
    kLinkToFile = 1,           // symbolic, to a file of root's
    kLinkToMissing = 2,        // symbolic, to a name that is free
    kLinkToDirectory = 4,      // symbolic, to a directory of root's
    kHardLink = 8,             // to a file of root's
    kFifo = 16,                // another account's
    kDirectory = 32,           // another account's, with a file in it
    kFile = 64,                // another account's, for everybody to write
    kSecretFile = 128,         // another account's, for itself alone
    kLinkToEndlessFile = 256,  // symbolic, to /dev/zero
    kProgram = 512,            // another account's, executable
    kFullLog = 1024            // another account's, as long as a log may become
};

inline constexpr unsigned kCommonKinds = kLinkToFile | kLinkToMissing | kLinkToDirectory |
                                         kHardLink | kFifo | kDirectory | kFile | kSecretFile;

const char* KindName(Kind kind);
std::vector<Kind> KindsOf(unsigned kinds);

// What an operation did beyond its own files. Bits.
enum Effect : unsigned {
    kNothing = 0,
    kVictimChanged = 1,  // a file of root's
    kVictimMade = 2,     // a file outside, root's
    kVictimRemoved = 4,  // a file of root's
    kSecretShown = 8,    // what only root may read: handed out, or in a file that everybody reads
    kWaits = 16,         // never returns: waits in open(2)
    kSpins = 32,         // never returns: busy
    kStranger = 64       // a change of some other file that is not the library's
};

std::string EffectNames(unsigned effects);

// The time at which the clock stands when an operation begins; each look at it moves it on by a
// microsecond for the first ones.
inline constexpr long kSeconds = 1794731358;
inline constexpr char kStamp[] = "00001794731358000042";          // of names made of stamps
inline constexpr char kLogStamp[] = "261115082918";               // of logs
inline constexpr char kSecret[] = "SECRET that is root's alone";  // in the files of root's

// Mounts a /tmp and a /var/tmp without sticky bit, where the kernel's protection of links, FIFOs
// and foreign files is out of force whatever the host's settings are.
void MountUnprotectedDirectories();

// Mounts a copy of /etc in its place, as far as the caller may read it: what the host changes
// meanwhile is no operation's doing.
void MountOwnSettings();

// An installation with directories that everybody may write to, files of root's outside of it on
// each file system, and a bystander of another account's in each directory.
void MakeInstallation();

// Puts something of that kind at the path, in the place of what is there.
void Plant(const std::string& path, Kind kind);

// What lies below /opt, /var/tmp, /tmp and /etc.
class Snapshot
{
public:
    Snapshot();

    // Effects of what happened between the two, but for what happened at `planted`, which is a name
    // of the library's. notes: what was not the library's.
    static unsigned Compare(const Snapshot& before, const Snapshot& after,
                            const std::string& planted, std::string& notes);

    // Whether the two differ at the path.
    static bool DifferAt(const Snapshot& before, const Snapshot& after, const std::string& path);

private:
    struct Entry {
        std::string look;    // kind, owner, mode, content; of the system's files size and times
        bool shows = false;  // everybody can read the secret there
    };
    std::map<std::string, Entry> entries_;  // by path
};

}  // namespace qor::proof

#endif  // QOR_PROOF_HOSTILEDISK_H
