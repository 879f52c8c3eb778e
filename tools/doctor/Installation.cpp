#include "Installation.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "CFileUtility.h"
#include "Files.h"
#include "winapi.h"

namespace doctor {
namespace {

// Kinds of directories for CFileUtility::GetInstallPath.
constexpr int kProviderKind = 0;
constexpr int kUpdateManagerKind = 2;
constexpr int kLibraryKind = 4;
constexpr int kCommandLineKind = 5;
constexpr int kObjectManagerKind = 6;

// size: of the text that CFileTransfer makes room for.
template <std::size_t Size>
std::string ReadSetting(const char* key, const std::string& defaultValue, const std::string& file)
{
    if (!IsRegularFile(file))
        return defaultValue;
    char text[Size + 1] = {};  // a text that fills its size is not terminated
    (void)GetPrivateProfileStringA("filetran", key, defaultValue.c_str(), text, Size, file.c_str());
    return text;
}

// True, too, for a directory that cannot be read: what is looked for there is then reported.
bool HoldsFiles(const std::string& directory)
{
    if (!IsDirectory(directory))
        return false;
    std::error_code error;
    std::filesystem::directory_iterator entry(directory, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (!entry->is_directory(error))
            return true;
    }
    return static_cast<bool>(error);
}

}  // namespace

std::vector<Component> InstalledComponents()
{
    std::vector<Component> installed;
    for (const Component& component :
         {Component{"um", CFileUtility::GetInstallPath(kUpdateManagerKind)},
          Component{"som", CFileUtility::GetInstallPath(kObjectManagerKind)},
          Component{"cli", CFileUtility::GetInstallPath(kCommandLineKind)},
          Component{"provider", CFileUtility::GetInstallPath(kProviderKind)}}) {
        if (HoldsFiles(component.directory))
            installed.push_back(component);
    }
    return installed;
}

const Setting_Info* LoadedSettings(const Component& component)
{
    std::string settings;
    std::string catalogue;
    CTraceUtilityCom::GetIniFileName(component.name, settings);
    CTraceUtilityCom::GetMsgFileName(component.name, catalogue);
    for (const std::string& path : {settings, catalogue}) {
        if (StatusOf(path) && !IsRegularFile(path))
            return nullptr;
    }
    return CTraceUtilityCom::GetSettingInfo(component.name);
}

Installation UsualInstallation()
{
    const std::string root = kRoot;
    Installation usual;
    usual.providerFiles = {{root + "/som/providers.ini", false}};
    usual.vendorFiles = {{root + "/etc/vendors.ini", false}};
    usual.channelFiles = {{root + "/som/socket.conf", false}};
    usual.providerDirectory = CFileUtility::GetInstallPath(kProviderKind);
    usual.vendorDirectory = CFileUtility::GetInstallPath(kLibraryKind);
    return usual;
}

Channel ReadChannel(const std::string& file)
{
    Channel channel;
    channel.file = file;
    channel.clientDirectory = ReadSetting<256>("clientdir", kClientDirectory, file);
    channel.serverDirectory = ReadSetting<256>("serverdir", kServerDirectory, file);
    channel.pollingInterval = static_cast<int>(
        std::strtol(ReadSetting<16>("polling_interval", "100", file).c_str(), nullptr, 10));
    return channel;
}

std::set<std::string> SpoolDirectories(const std::vector<Channel>& channels)
{
    std::set<std::string> directories;
    for (const Channel& channel : channels) {
        for (const std::string& path : {channel.clientDirectory, channel.serverDirectory}) {
            if (!path.empty() && path[0] == '/')
                directories.insert(path);
        }
    }
    return directories;
}

}  // namespace doctor
