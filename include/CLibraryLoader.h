// CLibraryLoader.h - opens a provider or vendor library and returns its entry point.
//
//     CLibraryLoader library("som", "/opt/velmora/qor/provider/libqorp_Inventory.so");
//     if (auto create = library.GetPvdInstance()) {
//         ISomServices* service = create();    // destroy it before `library`
//     }
//
// Every step leaves a debug record of the component. Nothing is thrown.
//
// Threads: one object, one thread at a time. A stack of 64 KiB suffices, unless the library's own
// constructors need more. A cancelled thread completes the call that it is in.
#ifndef QOR_CLIBRARYLOADER_H
#define QOR_CLIBRARYLOADER_H

#include <string>

#include "QorExport.h"

/// What a provider's "create" returns; defined by the provider side.
class ISomServices;

class QOR_API CLibraryLoader
{
public:
    /// Opens the library at exactly that path with lazy binding (dlopen(3); a bare name follows the
    /// dynamic loader's own search). A library that cannot be opened gives "NG" in the debug log
    /// and null entry points. The reason is kept for the requests below; dlerror(3) no longer
    /// reports it. A null path is not opened. component: whose debug log is written.
    ///
    /// Intended: the path is opened as it is, but the debug record shows it as a printf format
    /// without arguments: numbers as 0, strings as "(null)", "%m" as the text of errno, "%c" and
    /// "%n" as nothing. Keep "%" out of paths.
    CLibraryLoader(std::string component, const char* libraryPath);

    CLibraryLoader(const CLibraryLoader&) = delete;
    CLibraryLoader& operator=(const CLibraryLoader&) = delete;

    /// Closes the library and makes its entry points invalid. Before that, destroy everything that
    /// they made.
    virtual ~CLibraryLoader();

    /// The library's "create", which makes the provider's service object; null when the library is
    /// not open or has no such symbol, with the dynamic loader's reason in the debug log at level
    /// 2. If the library could not be opened, each request writes the reason of that; for a null
    /// path, none.
    ISomServices* (*GetPvdInstance())();

    /// The library's "GetVendorFactory"; null as above.
    void* (*GetVendorInstance())(const char*, const char*);

private:
    void* FindSymbol(const char* name, const char* signature);

    std::string component_;
    void* handle_;           // null: not open
    const char* lastError_;  // of the last symbol look-up; the dynamic loader's
    std::string openError_;  // why the library could not be opened
};

#endif  // QOR_CLIBRARYLOADER_H
