// Installation.h - what is looked over: the fixed paths, and the files that programs choose.
#ifndef DOCTOR_INSTALLATION_H
#define DOCTOR_INSTALLATION_H

#include <set>
#include <string>
#include <vector>

#include "CTraceUtilityCom.h"

namespace doctor {

inline constexpr char kRoot[] = "/opt/velmora/qor";
inline constexpr char kLogDirectory[] = "/opt/velmora/qor/log";

/// Of a channel without directories of its own. They are there in every installation.
inline constexpr char kClientDirectory[] = "/opt/velmora/qor/som/CS";
inline constexpr char kServerDirectory[] = "/opt/velmora/qor/som/SS";

/// Of a trace level: old logs are compressed.
inline constexpr unsigned int kCompressionBit = 64;

/// A component with settings files, and its directory.
struct Component {
    const char* name;
    std::string directory;
};

/// "um", "som", "cli", and "provider" for all providers, as far as their directories hold anything
/// but directories: the package makes som for the channel, without a service in it.
std::vector<Component> InstalledComponents();

/// The settings as every program of the component loads them. Null where one of the two files is
/// something to wait for, such as a FIFO.
const Setting_Info* LoadedSettings(const Component& component);

/// A file whose path is the choice of the library's callers.
struct ChosenFile {
    std::string path;
    bool mustExist;  ///< the user has named it; the usual ones need not be there
};

struct Installation {
    std::vector<ChosenFile> providerFiles;
    std::vector<ChosenFile> vendorFiles;
    std::vector<ChosenFile> channelFiles;

    std::string providerDirectory;  ///< of libraries that are named without a directory
    std::string vendorDirectory;
    bool load = true;  ///< whether libraries may be loaded, which runs code of theirs

    bool startedWithSigchldIgnored = false;
};

/// With the usual files and directories.
Installation UsualInstallation();

/// One request channel, as CFileTransfer reads it from its file; without making directories.
struct Channel {
    std::string file;
    std::string clientDirectory;
    std::string serverDirectory;
    int pollingInterval = 0;  ///< microseconds
};

/// A file that is missing, or no regular file, gives the defaults.
Channel ReadChannel(const std::string& file);

/// The directories of all channels that have an absolute path.
std::set<std::string> SpoolDirectories(const std::vector<Channel>& channels);

}  // namespace doctor

#endif  // DOCTOR_INSTALLATION_H
