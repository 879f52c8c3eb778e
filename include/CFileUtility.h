// CFileUtility.h - where the suite's components are installed.
//
//     CFileUtility::GetInstallPath(2);    // "/opt/velmora/qor/um"
//
// Threads: no state; every function may be called from any thread.
#ifndef QOR_CFILEUTILITY_H
#define QOR_CFILEUTILITY_H

#include <string>

#include "QorExport.h"

class QOR_API CFileUtility
{
public:
    /// The install directory of a kind of component, without a final "/":
    ///
    ///     0 providers    /opt/velmora/qor/provider
    ///     2 "um"         /opt/velmora/qor/um
    ///     4 libraries    /opt/velmora/qor/lib
    ///     5 "cli"        /opt/velmora/qor/cli
    ///     6 "som"        /opt/velmora/qor/som
    ///     any other      /opt/velmora/qor/unknown
    static std::string GetInstallPath(int kind);
};

#endif  // QOR_CFILEUTILITY_H
