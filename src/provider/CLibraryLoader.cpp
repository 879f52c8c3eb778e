#include "CLibraryLoader.h"

#include <dlfcn.h>

#include "base/CancelGuard.h"
#include "base/Format.h"
#include "trace/TraceScope.h"

namespace {

constexpr char kConstructor[] = "CLibraryLoader::CLibraryLoader(std::string, const char*)";
constexpr char kDestructor[] = "virtual CLibraryLoader::~CLibraryLoader()";
constexpr char kGetPvdInstance[] = "ISomServices* (* CLibraryLoader::GetPvdInstance())()";
constexpr char kGetVendorInstance[] =
    "void* (* CLibraryLoader::GetVendorInstance())(const char*, const char*)";

constexpr std::size_t kMaxPathText = 4095;  // as much as a debug record holds

}  // namespace

CLibraryLoader::CLibraryLoader(std::string component, const char* libraryPath)
    : component_(std::move(component)), handle_(nullptr), lastError_(nullptr)
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace(component_, kConstructor);
    // Intended: the path is part of the record's format; see the header.
    trace.EnterWith([libraryPath] {
        const char* const path = libraryPath == nullptr ? "" : libraryPath;
        return " " + qor::ExpandWithoutArguments(path, kMaxPathText);
    });

    if (libraryPath != nullptr) {
        handle_ = ::dlopen(libraryPath, RTLD_LAZY);
        // dlerror(3) reports the thread's last failure, and only once: the text is kept for the
        // requests. After success the call clears an earlier failure.
        const char* const error = ::dlerror();
        if (handle_ == nullptr && error != nullptr)
            openError_ = error;
    }
    trace.Leave(handle_ != nullptr ? " OK" : " NG");
}

CLibraryLoader::~CLibraryLoader()
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace(component_, kDestructor);
    trace.Enter();
    if (handle_ != nullptr)
        (void)::dlclose(handle_);  // a library that stays loaded does no harm
    trace.Leave();
}

ISomServices* (*CLibraryLoader::GetPvdInstance())()
{
    return reinterpret_cast<ISomServices* (*)()>(FindSymbol("create", kGetPvdInstance));
}

void* (*CLibraryLoader::GetVendorInstance())(const char*, const char*)
{
    return reinterpret_cast<void* (*)(const char*, const char*)>(
        FindSymbol("GetVendorFactory", kGetVendorInstance));
}

void* CLibraryLoader::FindSymbol(const char* name, const char* signature)
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace(component_, signature);
    trace.Enter();

    if (handle_ != nullptr) {
        void* const symbol = ::dlsym(handle_, name);
        lastError_ = ::dlerror();
        if (lastError_ == nullptr) {
            trace.Leave();
            return symbol;
        }
    } else {
        lastError_ = openError_.empty() ? nullptr : openError_.c_str();
    }
    if (lastError_ != nullptr)
        trace.Write(CTraceUtility::TRACE_DBG_FAIL, lastError_);
    return nullptr;
}
