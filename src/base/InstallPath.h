// InstallPath.h - the directories of the installation, by kind.
#ifndef QOR_BASE_INSTALLPATH_H
#define QOR_BASE_INSTALLPATH_H

namespace qor {

// The directory of a kind, as CFileUtility::GetInstallPath numbers them.
const char* InstallPath(int kind);

}  // namespace qor

#endif  // QOR_BASE_INSTALLPATH_H
