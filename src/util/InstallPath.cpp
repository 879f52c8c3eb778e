// A source file of its own, so that tracing, which needs these paths, does not depend on the file
// utilities, which trace.
#include "CFileUtility.h"

#include "util/Paths.h"

std::string CFileUtility::GetInstallPath(int kind)
{
    switch (kind) {
        case 0:
            return qor::paths::kProvider;
        case 2:
            return qor::paths::kUpdateManager;
        case 4:
            return qor::paths::kLibraries;
        case 5:
            return qor::paths::kCommandLine;
        case 6:
            return qor::paths::kObjectManager;
        default:
            return qor::paths::kUnknown;
    }
}
