// ServerInfo.h - facts of the installation.
//
//     if (CServerInfo::IsDomesticModel()) ...
//
// Threads: no state; any thread may call it.
#ifndef QOR_SERVERINFO_H
#define QOR_SERVERINFO_H

#include "QorExport.h"

class QOR_API CServerInfo
{
public:
    /// Whether "IsDomesticModel" of [common] in "/opt/velmora/qor/etc/qorinfo.ini" is exactly
    /// "true". Intended: a missing file or key is true.
    static bool IsDomesticModel();
};

#endif  // QOR_SERVERINFO_H
