// ProviderRegistry.h - which provider serves which class, and the libraries opened so far.
//
//     ProviderRegistry providers("/opt/velmora/qor/som/providers.ini");
//     providers.Run(request, answer.Result());
#ifndef ONE_REQUEST_SERVICE_PROVIDERREGISTRY_H
#define ONE_REQUEST_SERVICE_PROVIDERREGISTRY_H

#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "CMofReader.h"
#include "shared/Messages.h"

class ISomServices;

namespace one_request {

class LoadedProvider;

/// Thrown for a request that the service does not try to carry out.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class ProviderRegistry
{
public:
    /// Reads the definition file; changes to it take effect at the next start of the service. A
    /// missing file is no provider. Throws QorException for a file that lacks a required key.
    explicit ProviderRegistry(const std::string& definitionFile);
    ~ProviderRegistry();

    int Count();

    /// Has the method run by the provider of the request's class, whose library is opened at its
    /// first use and stays open. Throws Refusal for a class or method that the file does not offer,
    /// QorException when the library cannot be loaded (the next request tries again), and what the
    /// provider throws.
    void Run(const Request& request, IWbemClassObject* result);

private:
    CMofContents Find(const Request& request);
    ISomServices& Load(const CMofContents& provider);

    CMofReader definitions_;
    std::map<std::string, std::unique_ptr<LoadedProvider>> loaded_;  // by path
};

}  // namespace one_request

#endif  // ONE_REQUEST_SERVICE_PROVIDERREGISTRY_H
