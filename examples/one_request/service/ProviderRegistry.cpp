#include "service/ProviderRegistry.h"

#include <algorithm>
#include <memory>

#include "CFileUtility.h"
#include "CLibraryLoader.h"
#include "CStringUtil.h"
#include "CTraceException.h"
#include "ISomServices.h"
#include "QorException.h"
#include "service/Spool.h"

namespace one_request {
namespace {

constexpr int kProviderDirectory = 0;  // the kind for CFileUtility::GetInstallPath

// The definition file names libraries as "Inventory.dll", whatever the platform.
std::string LibraryPath(const CMofContents& provider)
{
    std::string name;
    CStringUtil::DllNameToSoName(provider.libName, name);
    return CFileUtility::GetInstallPath(kProviderDirectory) + "/" + name;
}

bool Offers(const CMofContents& provider, const std::string& method)
{
    const auto& names = provider.methodNames;
    return std::find(names.begin(), names.end(), method) != names.end();
}

// Passes on what a provider threw by pointer, as the library's own readers do.
[[noreturn]] void RethrowOwned(CTraceException* exception)
{
    const std::unique_ptr<CTraceException> owner(exception);
    throw QorException("%s", owner->CException::what());
}

}  // namespace

// An open library and its service object, which is gone before the library is closed.
class LoadedProvider
{
public:
    explicit LoadedProvider(const std::string& path) : library_(kComponent, path.c_str())
    {
        if (const auto create = library_.GetPvdInstance())
            service_.reset(create());
        if (!service_)
            throw QorException("\"%s\" cannot be loaded as a provider", path.c_str());
    }

    ISomServices& Service() { return *service_; }

private:
    CLibraryLoader library_;
    std::unique_ptr<ISomServices> service_;
};

ProviderRegistry::ProviderRegistry(const std::string& definitionFile) : definitions_(definitionFile)
{
    try {
        (void)definitions_.ParseContents();  // true, or throws
    } catch (CTraceException* exception) {
        RethrowOwned(exception);
    }
}

ProviderRegistry::~ProviderRegistry() = default;

int ProviderRegistry::Count()
{
    return definitions_.GetProviderCount();
}

void ProviderRegistry::Run(const Request& request, IWbemClassObject* result)
{
    const CMofContents provider = Find(request);
    try {
        Load(provider).ExecMethod(request.MethodName(), request.Parameters(), result);
    } catch (CTraceException* exception) {
        RethrowOwned(exception);
    }
}

CMofContents ProviderRegistry::Find(const Request& request)
{
    const std::string className = request.ClassName();
    const std::string methodName = request.MethodName();
    CMofContents provider;
    if (!definitions_.GetProviderInfo(className, provider))
        throw Refusal("there is no class \"" + className + "\"");
    if (!Offers(provider, methodName))
        throw Refusal("class \"" + className + "\" has no method \"" + methodName + "\"");
    return provider;
}

ISomServices& ProviderRegistry::Load(const CMofContents& provider)
{
    const std::string path = LibraryPath(provider);
    std::unique_ptr<LoadedProvider>& entry = loaded_[path];
    if (!entry)
        entry = std::make_unique<LoadedProvider>(path);
    return entry->Service();
}

}  // namespace one_request
