// EtcFiles.h - the installation's files that the methods read.
#ifndef ONE_REQUEST_PROVIDER_ETCFILES_H
#define ONE_REQUEST_PROVIDER_ETCFILES_H

#include <string>

#include "CFileUtility.h"
#include "provider/MethodError.h"

namespace one_request {

// The first three are fixed in the library: COsInfo::makeDeviceInfo, CFileUtility::MakeVersionList.
constexpr char kDeviceScript[] = "/opt/velmora/qor/etc/lspcimn.sh";
constexpr char kDeviceList[] = "/opt/velmora/qor/etc/devices.tmp";
constexpr char kVersionFile[] = "/opt/velmora/qor/etc/qorversion.ver";
constexpr char kCatalogue[] = "/opt/velmora/qor/etc/catalogue.xml";
constexpr char kVendorFile[] = "/opt/velmora/qor/etc/vendors.ini";

/// Throws MethodError when there is no such file: the library's readers find nothing in it then,
/// and do not report it.
inline void RequireFile(const std::string& path)
{
    if (!CFileUtility::IsFileExist(path))
        throw MethodError(kStatusNotFound, "there is no file " + path);
}

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_ETCFILES_H
