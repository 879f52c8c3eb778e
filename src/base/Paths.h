// Paths.h - the install root and every fixed path of the library. Includes nothing of ours.
#ifndef QOR_BASE_PATHS_H
#define QOR_BASE_PATHS_H

#define QOR_INSTALL_ROOT "/opt/velmora/qor"

namespace qor::paths {

constexpr char kInstallRoot[] = QOR_INSTALL_ROOT;

// Components.
constexpr char kUpdateManager[] = QOR_INSTALL_ROOT "/um";
constexpr char kObjectManager[] = QOR_INSTALL_ROOT "/som";
constexpr char kCommandLine[] = QOR_INSTALL_ROOT "/cli";
constexpr char kLibraries[] = QOR_INSTALL_ROOT "/lib";
constexpr char kUnknown[] = QOR_INSTALL_ROOT "/unknown";
constexpr char kProvider[] = QOR_INSTALL_ROOT "/provider";
constexpr char kSbin[] = QOR_INSTALL_ROOT "/sbin";
constexpr char kBin[] = QOR_INSTALL_ROOT "/bin";

// Tracing.
constexpr char kLogDirectory[] = QOR_INSTALL_ROOT "/log";
constexpr char kTraceSettingFile[] = "TraceSetting.ini";
constexpr char kTraceMessageFile[] = "TraceSettingMsg.ini";

// The channel.
constexpr char kChannelConfig[] = QOR_INSTALL_ROOT "/som/socket.conf";
constexpr char kClientDirectory[] = QOR_INSTALL_ROOT "/som/CS";
constexpr char kServerDirectory[] = QOR_INSTALL_ROOT "/som/SS";

// Configuration and host information.
constexpr char kEtcDirectory[] = QOR_INSTALL_ROOT "/etc";
constexpr char kVersionFile[] = "qorversion.ver";
constexpr char kInstallationFile[] = QOR_INSTALL_ROOT "/etc/qorinfo.ini";
constexpr char kDeviceScript[] = QOR_INSTALL_ROOT "/etc/lspcimn.sh";
constexpr char kDeviceList[] = QOR_INSTALL_ROOT "/etc/devices.tmp";
constexpr char kBannerBlock[] = QOR_INSTALL_ROOT "/etc/motd.dat";

// Outside the install root.
constexpr char kScratchPrefix[] = "/var/tmp/qortmp";
constexpr char kDmiCache[] = "/var/tmp/dmitmp";
constexpr char kBanner[] = "/etc/motd";
constexpr char kBannerScratch[] = "/tmp/motd";
constexpr char kBannerMark[] = "/var/tmp/motds";

}  // namespace qor::paths

#undef QOR_INSTALL_ROOT

#endif  // QOR_BASE_PATHS_H
