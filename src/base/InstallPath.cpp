#include "base/InstallPath.h"

#include "base/Paths.h"

namespace qor {

const char* InstallPath(int kind)
{
    switch (kind) {
        case 0:
            return paths::kProvider;
        case 2:
            return paths::kUpdateManager;
        case 4:
            return paths::kLibraries;
        case 5:
            return paths::kCommandLine;
        case 6:
            return paths::kObjectManager;
        default:
            return paths::kUnknown;
    }
}

}  // namespace qor
